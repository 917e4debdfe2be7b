// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/StreamInstants.h"

#include <algorithm>
#include <chrono>

namespace tarn::capture {

void StreamInstants::hear(const link::LinkSample& sample) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sample_.captured = sample.captured;
    sample_.received = sample.received;
}

void StreamInstants::add(const Frame& frame) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sample_.index = frame.time().frameIndex();
    const bool isKnown = !moments_.empty() && moments_.back().index == sample_.index;
    if (isOpen_ && !isKnown) { // tracks share samples
        moments_.push_back(sample_);
    }
}

void StreamInstants::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isOpen_ = false;
    moments_ = {};
}

void StreamInstants::tellBy(const std::optional<kit::ClockRelation>& clock) {
    const std::lock_guard<std::mutex> lock(mutex_);
    clock_ = clock;
}

StreamInstants::Instant StreamInstants::instantOf(const Moment& moment) const {
    return clock_ ? clock_->toLocal(Instant(kit::Clock::Duration(moment.captured)))
                  : moment.received;
}

std::optional<StreamInstants::Instant> StreamInstants::first() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return moments_.empty() ? std::nullopt : std::optional(instantOf(moments_.front()));
}

std::optional<StreamInstants::Instant> StreamInstants::last() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return moments_.empty() ? std::nullopt : std::optional(instantOf(moments_.back()));
}

std::optional<unsigned> StreamInstants::indexAt(Instant instant) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto isCloser = [&](const Moment& a, const Moment& b) {
        return std::chrono::abs(instantOf(a) - instant) < std::chrono::abs(instantOf(b) - instant);
    };
    const auto closest = std::min_element(moments_.begin(), moments_.end(), isCloser);
    return closest == moments_.end() ? std::nullopt : std::optional(closest->index);
}

} // namespace tarn::capture
