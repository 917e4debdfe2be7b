// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_view/live/LiveServer.h>

#include "live/Board.h"
#include "live/Guard.h"
#include "live/Watcher.h"
#include "page/Document.h"

#include <atomic>
#include <list>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tarn::view {

namespace {

using Tcp = asio::ip::tcp;

constexpr std::size_t mostRequests = 16; ///< at once, beside pages that watch
constexpr std::size_t largestRequest = 8192;
constexpr std::chrono::milliseconds pause{100};
constexpr std::chrono::seconds farewell{1};

Tcp::endpoint endpointOf(const LiveOptions& options) {
    boost::system::error_code error;
    const auto address = asio::ip::make_address(options.address, error);
    if (error) {
        throw std::invalid_argument("'" + options.address + "' is no IP address");
    }
    return {address, options.port};
}

Tcp::acceptor listening(asio::io_context& context, const LiveOptions& options) {
    const Tcp::endpoint endpoint = endpointOf(options);
    try {
        Tcp::acceptor acceptor(context, endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        if (endpoint.address().is_v6()) { // addresses of the other kind would not be known again
            acceptor.set_option(asio::ip::v6_only(true));
        }
        acceptor.bind(endpoint);
        acceptor.listen();
        return acceptor;
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen on " + withPort(options.address, options.port) +
                                 ": " + error.code().message());
    }
}

/// The address under which this machine itself reaches the server.
std::string reachable(const Tcp::endpoint& endpoint) {
    const auto address = endpoint.address();
    return !address.is_unspecified() ? address.to_string() : address.is_v6() ? "::1" : "127.0.0.1";
}

} // namespace

/// Everything but the board belongs to the server's thread once that runs.
struct LiveServer::PrivateData {
    PrivateData(const LiveContent& content, const LiveOptions& options)
        : board(content), title(content.title), mostPages(options.mostPages),
          patience(options.patience), acceptor(listening(context, options)),
          endpoint(acceptor.local_endpoint()), guard(newToken(), endpoint.port()), timer(context) {}

    void run() {
        accept();
        context.run();
    }
    void accept();
    void serve(Tcp::socket socket);
    void answer(const std::shared_ptr<Request>& request);
    void watch(const std::shared_ptr<Request>& request);
    void changed();
    void distribute();
    void end();

    std::string pageFor(const std::string& host) const {
        std::ostringstream page;
        writeDocument({title, board.facts(), "", "ws://" + host}, page);
        return page.str();
    }

    Board board;
    const std::string title;
    const std::size_t mostPages;
    const std::chrono::milliseconds patience;
    std::size_t requests = 0; ///< goes after the context, which lets go of the last
    asio::io_context context{1};
    Tcp::acceptor acceptor;
    const Tcp::endpoint endpoint;
    const Guard guard;
    asio::steady_timer timer;
    std::list<std::shared_ptr<Watcher>> watchers;
    std::atomic<std::size_t> pages{0};
    std::atomic<bool> isDistributing{false}; ///< a call of `distribute` is on its way
    bool hasEnded = false;
    std::thread thread; ///< last, since it uses all of them
};

void LiveServer::PrivateData::accept() {
    acceptor.async_accept([this](boost::system::error_code error, Tcp::socket socket) {
        if (hasEnded) {
            return;
        }
        if (error) { // no file is left for another connection, say: that passes
            timer.expires_after(pause);
            timer.async_wait([this](boost::system::error_code stopped) {
                if (!stopped) {
                    accept();
                }
            });
            return;
        }
        if (requests < mostRequests) { // else it is closed at once
            serve(std::move(socket));
        }
        accept();
    });
}

void LiveServer::PrivateData::serve(Tcp::socket socket) {
    ++requests;
    const auto request = std::shared_ptr<Request>( // gone with the last step of its connection
        new Request(std::move(socket), patience), [this](Request* done) {
            --requests;
            delete done; // NOLINT(cppcoreguidelines-owning-memory)
        });
    request->parser.header_limit(largestRequest);
    request->stream.expires_after(request->patience);
    http::async_read(request->stream, request->buffer, request->parser,
                     [this, request](boost::system::error_code error, std::size_t) {
                         if (!error && !hasEnded) {
                             answer(request);
                         }
                     });
}

void LiveServer::PrivateData::answer(const std::shared_ptr<Request>& request) {
    const auto& asked = request->parser.get();
    const auto viewOf = [](auto text) { return std::string_view(text.data(), text.size()); };
    const std::string_view host = viewOf(asked[http::field::host]);
    const std::string_view target = viewOf(asked.target());
    boost::system::error_code error;
    const auto here = request->stream.socket().local_endpoint(error).address();
    if (error || !guard.isHost(host, here.to_string(), here.is_loopback())) {
        return send(request, http::status::forbidden, "This server has another address.\n");
    }
    if (!guard.hasToken(target)) {
        return send(request, http::status::forbidden,
                    "The address lacks the token that was printed with it.\n");
    }
    if (asked.method() != http::verb::get) {
        return send(request, http::status::method_not_allowed, "Only GET is understood.\n");
    }
    if (pathOf(target) == "/frames" && websocket::is_upgrade(asked)) {
        if (!isOriginOf(viewOf(asked[http::field::origin]), host)) {
            return send(request, http::status::forbidden, "Frames go to this server's pages.\n");
        }
        if (watchers.size() >= mostPages) {
            return send(request, http::status::service_unavailable, "Too many pages watch.\n");
        }
        return watch(request);
    }
    if (pathOf(target) == "/") {
        return send(request, http::status::ok, pageFor(std::string(host)), "text/html");
    }
    send(request, http::status::not_found, "There is nothing here.\n");
}

void LiveServer::PrivateData::watch(const std::shared_ptr<Request>& request) {
    const auto watcher = std::make_shared<Watcher>(board, std::move(request->stream), patience);
    watchers.push_back(watcher);
    pages = watchers.size();
    const auto gone = [this](const Watcher* one) {
        watchers.remove_if([one](const auto& other) { return other.get() == one; });
        pages = watchers.size();
        if (hasEnded && watchers.empty()) {
            timer.cancel();
        }
    };
    watcher->start(request->parser.get(), gone);
}

void LiveServer::PrivateData::changed() {
    if (!isDistributing.exchange(true)) {
        asio::post(context, [this] { distribute(); });
    }
}

void LiveServer::PrivateData::distribute() {
    isDistributing = false; // what is shown from here on posts another
    const auto all = watchers;
    for (const auto& watcher : all) {
        watcher->send();
    }
}

void LiveServer::PrivateData::end() {
    hasEnded = true;
    boost::system::error_code ignored;
    acceptor.close(ignored);
    const auto all = watchers;
    for (const auto& watcher : all) {
        watcher->end();
    }
    timer.expires_after(watchers.empty() ? std::chrono::seconds(0) : farewell);
    timer.async_wait([this](boost::system::error_code) { context.stop(); });
}

LiveServer::LiveServer(const LiveContent& content, const LiveOptions& options)
    : d(std::make_unique<PrivateData>(content, options)) {
    d->thread = std::thread([data = d.get()] { data->run(); });
}

LiveServer::~LiveServer() {
    asio::post(d->context, [data = d.get()] { data->end(); });
    d->thread.join();
}

std::string LiveServer::address() const {
    return "http://" + withPort(reachable(d->endpoint), port()) + "/?token=" + d->guard.token();
}

std::uint16_t LiveServer::port() const { return d->endpoint.port(); }

std::size_t LiveServer::pages() const { return d->pages; }

void LiveServer::show(std::size_t performer, std::int64_t frame, const kit::BodyPose& body) {
    d->board.show(performer, frame, body);
    d->changed();
}

void LiveServer::show(std::size_t markers, std::int64_t frame,
                      const kit::MarkerFrame& frameOfMarkers) {
    d->board.show(markers, frame, frameOfMarkers);
    d->changed();
}

} // namespace tarn::view
