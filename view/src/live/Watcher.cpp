// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "live/Watcher.h"

#include <tarn_kit/files/Text.h>

#include <chrono>

namespace tarn::view {

namespace {

/// As many as a page may have to draw yet: one that it draws, and one that is on its way.
constexpr std::size_t mostOnTheirWay = 2;
constexpr std::size_t largestAnswer = 32;

} // namespace

void send(const std::shared_ptr<Request>& request, http::status status, std::string body,
          const char* type) {
    auto& response = request->response;
    response.result(status);
    response.version(11); // HTTP/1.1
    response.keep_alive(false);
    response.set(http::field::content_type, std::string(type) + "; charset=utf-8");
    response.set(http::field::cache_control, "no-store");
    response.set(http::field::x_frame_options, "DENY");
    response.set("Referrer-Policy", "no-referrer"); // the address has the token in it
    response.set("X-Content-Type-Options", "nosniff");
    response.body() = std::move(body);
    response.prepare_payload();
    request->stream.expires_after(request->patience);
    http::async_write(request->stream, response, [request](boost::system::error_code, std::size_t) {
        boost::system::error_code ignored;
        request->stream.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    });
}

Watcher::Watcher(const Board& board, beast::tcp_stream stream, std::chrono::milliseconds patience)
    : board_(board), patience_(patience), socket_(std::move(stream)) {}

void Watcher::start(const http::request<http::empty_body>& request, Gone gone) {
    gone_ = std::move(gone);
    boost::system::error_code ignored;
    beast::get_lowest_layer(socket_).socket().set_option(asio::ip::tcp::no_delay(true), ignored);
    beast::get_lowest_layer(socket_).expires_never(); // the socket has its own
    websocket::stream_base::timeout times{};
    times.handshake_timeout = patience_;
    times.idle_timeout = patience_;
    times.keep_alive_pings = true; // a page out of sight answers them, too
    socket_.set_option(times);
    socket_.read_message_max(largestAnswer);
    socket_.binary(true);
    socket_.auto_fragment(false);
    socket_.async_accept(request, [self = shared_from_this()](boost::system::error_code error) {
        if (error) {
            return self->leave();
        }
        self->isOpen_ = true;
        self->read();
        self->send();
    });
}

void Watcher::read() {
    socket_.async_read(
        incoming_, [self = shared_from_this()](boost::system::error_code error, std::size_t) {
            if (error) {
                return self->leave();
            }
            const std::string answer = beast::buffers_to_string(self->incoming_.data());
            self->incoming_.consume(self->incoming_.size());
            if (!self->take(answer)) {
                return self->leave();
            }
            self->send();
            self->read();
        });
}

bool Watcher::take(const std::string& answer) {
    const auto number = kit::numberIn<std::uint64_t>(answer);
    if (!number || onTheirWay_.empty() || *number < onTheirWay_.front().number ||
        *number > onTheirWay_.back().number) {
        return false;
    }
    while (!onTheirWay_.empty() && onTheirWay_.front().number <= *number) {
        using Milliseconds = std::chrono::duration<double, std::milli>;
        latency_ =
            Milliseconds(std::chrono::steady_clock::now() - onTheirWay_.front().since).count();
        onTheirWay_.pop_front();
    }
    return true;
}

void Watcher::send() {
    if (!isOpen_ || isWriting_ || onTheirWay_.size() >= mostOnTheirWay) {
        return;
    }
    shown_ = board_.newest();
    if (shown_.changes == changes_) {
        return;
    }
    if (sent_ > 0 && shown_.count > count_ + 1) {
        dropped_ += shown_.count - count_ - 1;
    }
    changes_ = shown_.changes;
    count_ = shown_.count;
    head_ = {static_cast<double>(++sent_), static_cast<double>(shown_.frame),
             static_cast<double>(dropped_), latency_};
    onTheirWay_.push_back({sent_, shown_.since});
    isWriting_ = true;
    const std::array<asio::const_buffer, 2> message{asio::buffer(head_),
                                                    asio::buffer(shown_.positions)};
    socket_.async_write(message,
                        [self = shared_from_this()](boost::system::error_code error, std::size_t) {
                            self->isWriting_ = false;
                            if (error) {
                                return self->leave();
                            }
                            self->send();
                        });
}

void Watcher::end() {
    if (!isOpen_) {
        return leave();
    }
    isOpen_ = false;
    socket_.async_close({websocket::close_code::normal, "ended"},
                        [self = shared_from_this()](boost::system::error_code) { self->leave(); });
}

void Watcher::leave() {
    isOpen_ = false;
    boost::system::error_code ignored;
    beast::get_lowest_layer(socket_).socket().close(ignored);
    if (const Gone gone = std::exchange(gone_, nullptr)) {
        gone(this);
    }
}

} // namespace tarn::view
