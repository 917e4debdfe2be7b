// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/StreamNews.h"

#include <cstddef>
#include <utility>

namespace tarn::link {

namespace {

constexpr std::size_t mostEvents = 200;

} // namespace

StreamNews::StreamNews(const kit::Clock& clock, Listeners listeners)
    : clock_(clock), event_(std::move(listeners.event)),
      states_(Device::Lost, std::move(listeners.state)) {}

void StreamNews::tell(LinkEvent::Kind kind, std::string text) {
    tellNow({kind, {}, -1, 0, 1, std::move(text)});
}

void StreamNews::tell(LinkEvent::Kind kind, std::string text, std::size_t track,
                      std::uint64_t first, std::uint64_t count) {
    tell({kind, {}, static_cast<int>(track), first, count, std::move(text)});
}

void StreamNews::refuse(const std::string& why, int track) {
    ++refused_;
    tell({LinkEvent::Kind::Refused, {}, track, 0, 1, why});
}

void StreamNews::tell(LinkEvent event) {
    if (toldRate_.takes(RateLimit::Steady::now())) {
        tellNow(std::move(event));
    }
}

void StreamNews::tellNow(LinkEvent event) {
    event.at = clock_.now();
    events_.push_back(event);
    if (events_.size() > mostEvents) {
        events_.pop_front();
    }
    event_(event);
}

void StreamNews::clear() {
    events_.clear();
    refused_ = 0;
}

} // namespace tarn::link
