// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/files/Bvh.h>
#include <tarn_view/live/LiveServer.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tarn::view {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using Tcp = asio::ip::tcp;
using Json = nlohmann::json;

/// In centimetres.
std::shared_ptr<const kit::Rig> twoJoints() {
    std::istringstream file("HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\nCHANNELS 3 Xposition Yposition "
                            "Zposition\nEnd Site\n{\nOFFSET 0 50 0\n}\n}\nMOTION\nFrames: 1\n"
                            "Frame Time: 0.02\n0 0 0\n");
    const kit::BvhTake take = kit::readBvh(file);
    take.rig->setSpace({kit::lengthUnitNamed("cm").value(), kit::Origin::Given, kit::UpAxis::Y,
                        kit::Origin::Given});
    return take.rig;
}

LiveContent content() {
    LiveContent shown;
    shown.title = "Studio </title> A";
    shown.performers.push_back({"Ann", twoJoints()});
    shown.markers.push_back({"Wand", {"tip"}, 0.001, kit::UpAxis::Z});
    shown.rate = kit::Rate(50);
    return shown;
}

/// Leaves pages time: on a busy machine one may say nothing for long.
LiveOptions patient() {
    LiveOptions options;
    options.patience = std::chrono::hours(1);
    return options;
}

kit::BodyPose bodyAt(float x) {
    kit::BodyPose body;
    body.segments = {{{x, 100, 0}, {}}, {{x, 150, 0}, {}}};
    return body;
}

/// What a request is answered.
struct Answer {
    unsigned status = 0;
    std::string body;
    http::response<http::string_body> all;
};

class LiveServers : public ::testing::Test {
protected:
    static std::string tokenOf(const LiveServer& server) {
        const std::string address = server.address();
        return address.substr(address.find('='));
    }
    static std::string hostOf(const LiveServer& server) {
        return "127.0.0.1:" + std::to_string(server.port());
    }
    static Tcp::endpoint endpointOf(const LiveServer& server) {
        return {asio::ip::make_address("127.0.0.1"), server.port()};
    }
    Answer ask(const LiveServer& server, const std::string& target, const std::string& host,
               http::verb verb = http::verb::get) {
        return ask(endpointOf(server), target, host, verb);
    }
    Answer ask(const Tcp::endpoint& endpoint, const std::string& target, const std::string& host,
               http::verb verb = http::verb::get) {
        Tcp::socket socket(context_);
        socket.connect(endpoint);
        http::request<http::empty_body> request(verb, target, 11);
        request.set(http::field::host, host);
        http::write(socket, request);
        boost::beast::flat_buffer buffer;
        Answer answer;
        http::read(socket, buffer, answer.all);
        answer.status = answer.all.result_int();
        answer.body = answer.all.body();
        return answer;
    }

    asio::io_context context_;
};

/// A page, as far as the server can tell.
class Watching {
public:
    Watching(asio::io_context& context, const LiveServer& server, const std::string& origin,
             const std::string& token)
        : socket_(context) {
        const std::string host = "127.0.0.1:" + std::to_string(server.port());
        socket_.next_layer().connect({asio::ip::make_address("127.0.0.1"), server.port()});
        socket_.set_option(
            websocket::stream_base::decorator([origin](websocket::request_type& request) {
                request.set(http::field::origin, origin);
            }));
        socket_.handshake(host, "/frames?token" + token, error_);
    }

    bool isOpen() const { return !error_; }
    /// Reads what comes and answers nothing, not even whether it is still there, until it is over.
    void sleep() {
        std::string ignored;
        asio::read(socket_.next_layer(), asio::dynamic_buffer(ignored), error_);
    }
    /// The next message: its four numbers, then positions.
    std::vector<double> read() {
        boost::beast::flat_buffer buffer;
        socket_.read(buffer, error_);
        if (error_) {
            return {};
        }
        const std::string bytes = boost::beast::buffers_to_string(buffer.data());
        std::array<double, 4> head{};
        std::memcpy(head.data(), bytes.data(), sizeof(head));
        std::vector<double> numbers(head.begin(), head.end());
        for (std::size_t at = sizeof(head); at + sizeof(float) <= bytes.size();
             at += sizeof(float)) {
            float number = 0;
            std::memcpy(&number, &bytes.at(at), sizeof(number));
            numbers.push_back(static_cast<double>(number));
        }
        return numbers;
    }
    void answer(const std::string& text) {
        socket_.text(true);
        socket_.write(asio::buffer(text), error_);
    }
    void answer(double number) { answer(std::to_string(static_cast<long>(number))); }
    boost::system::error_code error() const { return error_; }
    websocket::close_reason reason() const { return socket_.reason(); }
    std::vector<double> readAndAnswer() {
        auto message = read();
        answer(message.at(0));
        return message;
    }

private:
    websocket::stream<Tcp::socket> socket_;
    boost::system::error_code error_;
};

/// After that the page is sent nothing until it answers.
void readTwo(LiveServer& server, Watching& page) {
    for (int frame = 1; frame <= 2; ++frame) {
        server.show(0, frame, bodyAt(static_cast<float>(frame)));
        page.read();
    }
}

TEST_F(LiveServers, ServeThePageAtTheAddressThatTheyTell) {
    const LiveServer server(content(), patient());
    EXPECT_THAT(server.address(),
                MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/\\?token=[0-9a-f]{32}"));

    const Answer answer = ask(server, "/?token" + tokenOf(server), hostOf(server));

    EXPECT_EQ(answer.status, 200U);
    EXPECT_THAT(answer.body, AllOf(HasSubstr("connect-src ws://" + hostOf(server) + ";"),
                                   HasSubstr("<title>Studio &lt;/title&gt; A</title>")));
    EXPECT_EQ(answer.all["Cache-Control"], "no-store");
    EXPECT_EQ(answer.all["Referrer-Policy"], "no-referrer");
    const std::string start = "id=\"facts\">";
    const std::size_t at = answer.body.find(start) + start.size();
    const Json facts = Json::parse(answer.body.substr(at, answer.body.find("</script>", at) - at));
    EXPECT_EQ(facts["live"], true);
    EXPECT_EQ(facts["rate"], Json({50, 1}));
    EXPECT_EQ(facts["performers"][0]["nodes"].size(), 2U);
    EXPECT_EQ(facts["markers"][0]["markers"], Json({"tip"}));
}

TEST_F(LiveServers, ServeNobodyWithoutTheTokenOrUnderAnotherName) {
    const LiveServer server(content(), patient());
    const std::string target = "/?token" + tokenOf(server);
    const std::string port = std::to_string(server.port());
    EXPECT_EQ(ask(server, target, "localhost:" + port).status, 200U);
    for (const std::string& host : {"example.com:" + port, std::string("127.0.0.1"),
                                    "127.0.0.1.example.com:" + port, std::string()}) {
        EXPECT_EQ(ask(server, target, host).status, 403U) << host;
    }
    for (const std::string& wrong :
         {std::string("/"), std::string("/?token="), "/?token=" + std::string(32, '0'),
          target.substr(0, target.size() - 1), target + "0", "/?other" + tokenOf(server)}) {
        const Answer answer = ask(server, wrong, hostOf(server));
        EXPECT_EQ(answer.status, 403U) << wrong;
        EXPECT_THAT(answer.body, Not(HasSubstr(tokenOf(server))));
    }
    EXPECT_EQ(ask(server, "/other?token" + tokenOf(server), hostOf(server)).status, 404U);
    EXPECT_EQ(ask(server, target, hostOf(server), http::verb::delete_).status, 405U);
    EXPECT_NE(tokenOf(server), tokenOf(LiveServer(content())));
}

TEST_F(LiveServers, SendFramesToTheirOwnPagesAlone) {
    const LiveServer server(content(), patient());
    const std::string origin = "http://" + hostOf(server);
    EXPECT_TRUE(Watching(context_, server, origin, tokenOf(server)).isOpen());
    EXPECT_FALSE(Watching(context_, server, "http://example.com", tokenOf(server)).isOpen());
    EXPECT_FALSE(Watching(context_, server, "", tokenOf(server)).isOpen());
    EXPECT_FALSE(Watching(context_, server, origin, "=" + std::string(32, '0')).isOpen());
}

TEST_F(LiveServers, SendPositionsInMetresWithYUp) {
    LiveServer server(content(), patient());
    server.show(0, 7, bodyAt(25));
    server.show(0, 7, kit::MarkerFrame({kit::Marker::at({1000, 2000, 3000})}));
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));

    const auto message = page.read();

    ASSERT_EQ(message.size(), 4U + 9U);
    EXPECT_EQ(message[1], 7);
    const std::vector<double> places(message.begin() + 4, message.end());
    EXPECT_THAT(places, ElementsAre(0.25, 1, 0, 0.25, 1.5, 0, 2, 3, 1));
}

TEST_F(LiveServers, ShowNothingWhereThereIsNothing) {
    LiveServer server(content(), patient());
    server.show(0, 1, bodyAt(std::numeric_limits<float>::infinity()));
    server.show(0, 1, kit::MarkerFrame({kit::Marker()}));
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
    const auto message = page.read();
    ASSERT_EQ(message.size(), 4U + 9U);
    EXPECT_TRUE(std::isnan(message[4]));
    EXPECT_EQ(message[5], 1);
    EXPECT_TRUE(std::isnan(message[12]));

    server.show(0, 2, kit::BodyPose());
    page.answer(message[0]);
    EXPECT_TRUE(std::isnan(page.read().at(5))) << "a body of another rig is not seen";
}

TEST_F(LiveServers, DropWhatAPageHasNoTimeForAndSendTheNewest) {
    LiveServer server(content(), patient());
    server.show(0, 1, bodyAt(1));
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
    const auto first = page.read();
    EXPECT_EQ(first[2], 0);
    server.show(0, 2, bodyAt(2));
    const auto second = page.read();
    for (int frame = 3; frame <= 1000; ++frame) { // while the page draws
        server.show(0, frame, bodyAt(static_cast<float>(frame)));
    }

    page.answer(second[0]);
    const auto third = page.read();

    EXPECT_EQ(third[1], 1000);
    EXPECT_FLOAT_EQ(static_cast<float>(third[4]), 10);
    EXPECT_EQ(third[2], 997) << "of 1000, three were sent";
}

TEST_F(LiveServers, TellHowLongFramesTakeUntilTheyAreDrawn) {
    using Clock = std::chrono::steady_clock;
    const auto milliseconds = [](Clock::duration time) {
        return std::chrono::duration<double, std::milli>(time).count();
    };
    LiveServer server(content(), patient());
    server.show(0, 1, bodyAt(1));
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
    EXPECT_LT(page.read().at(3), 0) << "nothing was drawn yet";
    const auto before = Clock::now();
    server.show(0, 2, bodyAt(2));
    const auto shown = Clock::now();
    const auto second = page.read();
    server.show(0, 3, bodyAt(3)); // sent once the second is drawn
    const auto drawn = Clock::now();

    page.answer(second[0]);

    const double latency = page.read().at(3);
    EXPECT_GE(latency, milliseconds(drawn - shown));
    EXPECT_LE(latency, milliseconds(Clock::now() - before));
}

TEST_F(LiveServers, WaitForNoPageThatReadsNothing) {
    LiveContent large = content();
    large.markers[0].names.assign(65'535, "marker"); // more than sockets hold
    LiveServer server(large, patient());
    const auto frame = [](int number) {
        return kit::MarkerFrame(
            std::vector<kit::Marker>(65'535, kit::Marker::at({static_cast<float>(number), 0, 0})));
    };
    server.show(0, 0, frame(0));
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
    for (int number = 1; number <= 100; ++number) { // goes on, though nobody reads
        server.show(0, number, frame(number));
    }
    auto message = page.readAndAnswer();
    while (message.at(1) < 100) {
        message = page.readAndAnswer();
    }
    EXPECT_LE(message.at(0), 3) << "what it missed is not sent";
}

TEST_F(LiveServers, CountAFrameOfSeveralPerformersOnce) {
    LiveServer server(content(), patient());
    server.show(0, 1, bodyAt(1));
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
    const auto first = page.read();
    server.show(0, 1, kit::MarkerFrame({kit::Marker::at({1, 1, 1})}));
    const auto second = page.read();
    server.show(0, 2, bodyAt(2));
    server.show(0, 2, kit::MarkerFrame({kit::Marker::at({2, 2, 2})}));

    page.answer(second[0]);

    EXPECT_EQ(page.read().at(2), 0);
}

TEST_F(LiveServers, CutOffWhoAnswersWhatNobodyAsked) {
    for (const std::string& nonsense : {std::string("3"), std::string("0"), std::string("one"),
                                        std::string("-1"), std::string()}) {
        LiveServer server(content(), patient());
        Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
        readTwo(server, page);
        page.answer(nonsense);
        server.show(0, 3, bodyAt(3));
        page.read();
        EXPECT_TRUE(page.error()) << nonsense;
    }
}

TEST_F(LiveServers, CutOffWhoSaysMoreThanAnAnswer) {
    LiveServer server(content(), patient());
    Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
    readTwo(server, page);
    page.answer(std::string(32, '0') + "2");
    server.show(0, 3, bodyAt(3));
    page.read();
    EXPECT_EQ(page.error(), websocket::error::closed);
    EXPECT_EQ(page.reason().code, websocket::close_code::too_big);
}

TEST_F(LiveServers, CutOffWhoSaysNothing) {
    LiveOptions options;
    options.patience = std::chrono::milliseconds(50);
    LiveServer server(content(), options);
    Tcp::socket silent(context_);
    silent.connect(endpointOf(server));
    std::string answer;
    boost::system::error_code error;
    asio::read(silent, asio::dynamic_buffer(answer), error);
    EXPECT_EQ(error, asio::error::eof);
    EXPECT_EQ(answer, "");

    // On a busy machine even a page that wants to watch may say nothing for so long.
    constexpr int tries = 200;
    for (int i = 0; i < tries; ++i) {
        Watching page(context_, server, "http://" + hostOf(server), tokenOf(server));
        if (page.isOpen()) {
            page.sleep();
            EXPECT_EQ(page.error(), asio::error::eof);
            return;
        }
    }
    FAIL() << "no page could watch";
}

TEST_F(LiveServers, ListenOnThisMachineAloneUnlessTold) {
    const std::string other = "127.0.0.2"; // of this machine, as those that others reach are
    LiveOptions options = patient();
    EXPECT_EQ(options.address, "127.0.0.1");
    boost::system::error_code error;
    {
        const LiveServer server(content(), patient());
        Tcp::socket socket(context_);
        socket.connect({asio::ip::make_address(other), server.port()}, error);
        EXPECT_EQ(error, asio::error::connection_refused);
    }
    options.address = "0.0.0.0";
    const LiveServer server(content(), options);
    EXPECT_THAT(server.address(), HasSubstr("http://" + hostOf(server) + "/"));
    const Tcp::endpoint endpoint(asio::ip::make_address(other), server.port());
    const std::string target = "/?token" + tokenOf(server);
    EXPECT_EQ(ask(endpoint, target, other + ":" + std::to_string(server.port())).status, 200U);
    EXPECT_EQ(ask(endpoint, target, hostOf(server)).status, 403U) << "the Host is another address";
}

TEST_F(LiveServers, RefuseMorePagesThanTheyMayHave) {
    LiveOptions options = patient();
    options.mostPages = 1;
    LiveServer server(content(), options);
    server.show(0, 1, bodyAt(1));
    Watching one(context_, server, "http://" + hostOf(server), tokenOf(server));
    one.read();
    EXPECT_EQ(server.pages(), 1U);
    EXPECT_FALSE(Watching(context_, server, "http://" + hostOf(server), tokenOf(server)).isOpen());
    server.show(0, 2, bodyAt(2));
    EXPECT_EQ(one.read().at(1), 2) << "who was there first stays";
}

TEST_F(LiveServers, ServeSoManyRequestsAtOnceAndNoMore) {
    const LiveServer server(content(), patient());
    std::vector<Tcp::socket> silent;
    for (int i = 0; i < 16; ++i) {
        silent.emplace_back(context_).connect(endpointOf(server));
    }
    Tcp::socket further(context_);
    further.connect(endpointOf(server));
    std::string answer;
    boost::system::error_code error;
    asio::read(further, asio::dynamic_buffer(answer), error); // ends, though it asked nothing
    EXPECT_EQ(error, asio::error::eof);
    const std::string request =
        "GET /?token" + tokenOf(server) + " HTTP/1.1\r\nHost: " + hostOf(server) + "\r\n\r\n";
    asio::write(silent.front(), asio::buffer(request));
    asio::read(silent.front(), asio::dynamic_buffer(answer), error);
    EXPECT_THAT(answer, HasSubstr("200 OK")) << "who came in time is served";
}

TEST_F(LiveServers, RefuseRequestsThatAreTooLarge) {
    const LiveServer server(content(), patient());
    Tcp::socket socket(context_);
    socket.connect(endpointOf(server));
    const std::string request = "GET /?token" + tokenOf(server) +
                                " HTTP/1.1\r\nHost: " + hostOf(server) +
                                "\r\nX: " + std::string(8192, 'x') + "\r\n\r\n";
    boost::system::error_code error;
    asio::write(socket, asio::buffer(request), error);
    std::string answer;
    asio::read(socket, asio::dynamic_buffer(answer), error);
    EXPECT_THAT(answer, Not(HasSubstr("200")));
    EXPECT_EQ(ask(server, "/?token" + tokenOf(server), hostOf(server)).status, 200U);
}

TEST_F(LiveServers, TellPagesThatTheCaptureHasEnded) {
    auto server = std::make_unique<LiveServer>(content(), patient());
    server->show(0, 1, bodyAt(1));
    Watching page(context_, *server, "http://" + hostOf(*server), tokenOf(*server));
    page.read();
    std::thread end([&server] { server.reset(); });
    page.read();
    end.join();
    EXPECT_EQ(page.error(), websocket::error::closed);
    EXPECT_EQ(page.reason().code, websocket::close_code::normal);
}

TEST_F(LiveServers, EndThoughPagesSayNothing) {
    auto server = std::make_unique<LiveServer>(content(), patient());
    Tcp::socket silent(context_);
    silent.connect(endpointOf(*server));
    server->show(0, 1, bodyAt(1));
    Watching page(context_, *server, "http://" + hostOf(*server), tokenOf(*server));
    page.read();

    server.reset(); // the page is there, and does not answer the farewell

    EXPECT_TRUE(page.isOpen()) << "it had not gone before";
}

TEST_F(LiveServers, SayWhyTheyCannotListen) {
    const LiveServer server(content(), patient());
    LiveOptions options = patient();
    options.port = server.port();
    try {
        const LiveServer other(content(), options);
        ADD_FAILURE() << "two listen at one port";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot listen on " + hostOf(server)));
    }
    options.address = "localhost";
    EXPECT_THROW(LiveServer(content(), options), std::invalid_argument);
}

TEST_F(LiveServers, RefuseToShowWhatCannotBeShown) {
    EXPECT_THROW(LiveServer(LiveContent{}), std::invalid_argument);
    LiveContent bad = content();
    bad.performers[0].rig = nullptr;
    EXPECT_THROW(LiveServer{bad}, std::invalid_argument);
    bad = content();
    bad.markers[0].names.resize(65'536);
    EXPECT_THROW(LiveServer{bad}, std::invalid_argument);
}

using LiveServerThreads = LiveServers;

TEST_F(LiveServerThreads, MayUseOneAtOnce) {
    LiveServer server(content(), patient());
    std::vector<std::thread> threads;
    threads.emplace_back([&server] {
        for (int frame = 1; frame <= 300; ++frame) {
            server.show(0, frame, bodyAt(static_cast<float>(frame)));
        }
    });
    threads.emplace_back([&server] {
        for (int frame = 1; frame <= 300; ++frame) {
            server.show(0, frame, kit::MarkerFrame({kit::Marker::at({1, 2, 3})}));
        }
    });
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&server] {
            asio::io_context context;
            Watching page(context, server, "http://" + hostOf(server), tokenOf(server));
            double last = 0;
            while (last < 300) {
                const auto message = page.readAndAnswer();
                EXPECT_GE(message.at(1), last);
                last = message.at(1);
            }
            EXPECT_LE(server.pages(), 2U);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace tarn::view
