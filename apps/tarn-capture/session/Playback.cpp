// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/Playback.h"

#include <chrono>
#include <cmath>
#include <thread>

namespace tarn::capture {

namespace {

/// Waits for instants counted from its own beginning, so that being late once delays nothing after.
class Pacer {
public:
    void waitUntil(double seconds) const {
        const std::chrono::duration<double> offset(seconds);
        std::this_thread::sleep_until(
            start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(offset));
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace

Playback::Playback(Tracks& take, double rate) : take_(take), rate_(rate) {}

std::int64_t Playback::stepCount() const {
    std::int64_t count = std::llround(std::ceil(take_.timeLength() * rate_ / take_.fps()));
    // The quotient may be rounded up or down to a whole number; the frames decide.
    while (count > 0 && frameAt(count - 1) >= take_.timeLength()) {
        --count;
    }
    return count;
}

void Playback::run(bool realtime) {
    const Pacer pacer;
    const std::int64_t count = stepCount();
    for (std::int64_t step = 0; step < count; ++step) {
        if (realtime) {
            pacer.waitUntil(static_cast<double>(step) / rate_);
        }
        take_.setCurrentTime(static_cast<int>(frameAt(step)));
    }
    if (realtime) {
        pacer.waitUntil(static_cast<double>(take_.timeLength()) / take_.fps());
    }
}

std::int64_t Playback::frameAt(std::int64_t step) const {
    return static_cast<std::int64_t>(static_cast<double>(step) * take_.fps() / rate_);
}

Recorder::Recorder(Tracks& take)
    : take_(take), connection_(take.onCurrentTimeChanged().connect(this, &Recorder::record)) {}

void Recorder::record(int frame) {
    if (shown_.empty() || shown_.back().frame != frame) {
        shown_.push_back({frame, take_.currentFrame()->frame(kit::poseDataType)});
    }
}

} // namespace tarn::capture
