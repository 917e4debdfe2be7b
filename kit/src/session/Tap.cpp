// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Tap.h>

#include "session/Lifeline.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarn::kit {

namespace {

void require(bool hasPort, int port) {
    if (!hasPort) {
        throw std::invalid_argument("the receiving node has no such input port: " +
                                    std::to_string(port));
    }
}

} // namespace

struct Tap::PrivateData {
    PrivateData(Object& sourceObject, StreamNode& sinkNode)
        : source(sourceObject, [this](Object&) { forget(); }),
          sink(sinkNode, [this](Object&) { close(); }) {}

    void open() {
        if (!disconnect && source && sink) {
            disconnect = connect();
        }
    }

    void close() {
        if (const auto end = std::exchange(disconnect, nullptr)) {
            end();
        }
    }

    /// The source's signal is gone, and the connection with it.
    void forget() { disconnect = nullptr; }

    // What the sink is tied to; it goes with the tap, and the tie with it.
    tsignal::Signal<std::shared_ptr<Frame>> frames;
    tsignal::Signal<std::shared_ptr<Sequence>> sequences;

    std::function<tsignal::Disconnector()> connect;
    tsignal::Disconnector disconnect; ///< empty while the tap is closed
    Lifeline source;
    Lifeline sink;
};

Tap::Tap(Object& source, tsignal::Signal<std::shared_ptr<Frame>>& signal, StreamNode& sink,
         int port)
    : d_(std::make_unique<PrivateData>(source, sink)) {
    require(sink.tieToIFramePort(port, d_->frames), port);
    auto& relay = d_->frames;
    d_->connect = [&signal, &relay] {
        return signal.connect([&relay](const std::shared_ptr<Frame>& frame) { relay.emit(frame); });
    };
    d_->open();
}

Tap::Tap(Object& source, tsignal::Signal<std::shared_ptr<Sequence>>& signal, StreamNode& sink,
         int port)
    : d_(std::make_unique<PrivateData>(source, sink)) {
    require(sink.tieToISequencePort(port, d_->sequences), port);
    auto& relay = d_->sequences;
    d_->connect = [&signal, &relay] {
        return signal.connect(
            [&relay](const std::shared_ptr<Sequence>& sequence) { relay.emit(sequence); });
    };
    d_->open();
}

Tap::Tap(Tap&& other) noexcept = default;

Tap& Tap::operator=(Tap&& other) noexcept {
    if (this != &other) {
        close();
        d_ = std::move(other.d_);
    }
    return *this;
}

Tap::~Tap() { close(); }

bool Tap::isOpen() const noexcept { return d_ != nullptr && d_->disconnect; }

void Tap::open() {
    if (d_ != nullptr) {
        d_->open();
    }
}

void Tap::close() {
    if (d_ != nullptr) {
        d_->close();
    }
}

} // namespace tarn::kit
