// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "live/Board.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tarn::view {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

/// A request on its way, and its answer.
struct Request {
    Request(asio::ip::tcp::socket socket, std::chrono::milliseconds time)
        : stream(std::move(socket)), patience(time) {}

    beast::tcp_stream stream;
    const std::chrono::milliseconds patience; ///< with whom it comes from
    beast::flat_buffer buffer{16384};
    http::request_parser<http::empty_body> parser;
    http::response<http::string_body> response;
};

/// Answers a request, and closes its connection.
void send(const std::shared_ptr<Request>& request, http::status status, std::string body,
          const char* type = "text/plain");

/// A page that watches: it is sent the newest of the board, and the next only when it has drawn
/// those before. All on the server's thread.
///
/// A message is four doubles (its number, the number of the frame, how many frames the page was not
/// sent since it watches, and how many milliseconds the last frame took from being shown until that
/// it was drawn was heard of; negative while that is not known), and the board's positions as
/// floats; lowest bytes first. The page answers with the number of the last message that it has
/// drawn, as text.
class Watcher : public std::enable_shared_from_this<Watcher> {
public:
    using Gone = std::function<void(const Watcher*)>;

    Watcher(const Board& board, beast::tcp_stream stream, std::chrono::milliseconds patience);

    /// Takes up the connection that `request` asks for. `gone` is called once, when it is over.
    void start(const http::request<http::empty_body>& request, Gone gone);
    /// Sends the newest, if that is new and it is time.
    void send();
    /// Tells the page that nothing more will come.
    void end();

private:
    struct Sent {
        std::uint64_t number;
        Board::Instant since;
    };

    void read();
    /// Whether that can be an answer to what was sent.
    bool take(const std::string& answer);
    void leave();

    const Board& board_;
    const std::chrono::milliseconds patience_;
    websocket::stream<beast::tcp_stream> socket_;
    Gone gone_;
    beast::flat_buffer incoming_;
    bool isOpen_ = false;
    bool isWriting_ = false;
    std::uint64_t changes_ = 0; ///< of the board, when it was last sent
    std::uint64_t count_ = 0;   ///< of its frames then
    std::uint64_t sent_ = 0;    ///< messages
    std::uint64_t dropped_ = 0;
    double latency_ = -1;
    std::deque<Sent> onTheirWay_;
    std::array<double, 4> head_{};
    Board::Shown shown_; ///< what is being sent
};

} // namespace tarn::view
