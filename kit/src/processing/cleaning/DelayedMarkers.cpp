// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/cleaning/DelayedMarkers.h"

#include <tarn_kit/session/TakeOf.h>

#include <cassert>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

DelayedMarkers::DelayedMarkers(tsignal::Signal<std::shared_ptr<Frame>>& out, double rate,
                               double delay, double memory)
    : MarkerStage(out), rate_(rate) {
    constexpr double mostFrames = 1e6;
    if (!(rate > 0) || !std::isfinite(rate)) {
        throw std::invalid_argument("the rate has to be greater than 0");
    }
    const double held = std::round(delay * rate);
    const double remembered = std::round(memory * rate);
    if (!(held >= 1) || !(remembered > held) || !(remembered <= mostFrames)) {
        throw std::invalid_argument("the delay has to be a frame at least, the memory longer than "
                                    "it, and of a million frames at most");
    }
    delay_ = static_cast<std::size_t>(held);
    memory_ = static_cast<std::size_t>(remembered);
}

void DelayedMarkers::flush() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!isClosed()) {
        letAllLeave();
    }
}

void DelayedMarkers::next(const std::shared_ptr<Frame>& frame, const MarkerFrame& /*markers*/) {
    window_.push_back(frame);
    while (window_.size() - left_ > delay_) {
        letLeave();
    }
    while (left_ > memory_) {
        window_.pop_front();
        --left_;
    }
}

void DelayedMarkers::letAllLeave() {
    while (left_ < window_.size()) {
        letLeave();
    }
    window_.clear();
    left_ = 0;
}

void DelayedMarkers::letLeave() {
    mendOldest();
    const std::shared_ptr<Frame> frame = window_[left_];
    count(markersAt(left_));
    ++left_; // before the frame goes: a slot may throw
    emit(frame);
}

std::shared_ptr<Tracks> DelayedMarkers::windowTake(std::size_t first, std::size_t end) const {
    const auto at = [this](std::size_t place) {
        return window_.begin() + static_cast<std::ptrdiff_t>(place);
    };
    return takeOf(markerDataType, {at(first), at(end)}, static_cast<int>(std::lround(rate_)));
}

void DelayedMarkers::replace(std::size_t place, std::shared_ptr<Frame> frame) {
    assert(place >= left_ && place < window_.size());
    window_[place] = std::move(frame);
}

} // namespace tarn::kit
