// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Playback.h>

#include <tarn_kit/devices/WakeableWait.h>

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cmath>
#include <utility>

namespace tarn::kit {

namespace {

/// How long a request to stop may go unheard.
constexpr std::chrono::milliseconds patience(50);

/// Waits for instants counted from its own beginning.
class Pacer {
public:
    explicit Pacer(Clock& clock) : clock_(clock), start_(clock.now()) {}

    /// False if a stop was requested.
    bool waitUntil(double seconds, const Playback::StopRequested& stopRequested) {
        const std::chrono::duration<double> offset(seconds);
        const Clock::Instant instant = start_ + std::chrono::duration_cast<Clock::Duration>(offset);
        if (!stopRequested) {
            wait_.until(clock_, instant);
            return true;
        }
        while (!stopRequested() && clock_.now() < instant) {
            wait_.until(clock_, std::min<Clock::Instant>(instant, clock_.now() + patience));
        }
        return !stopRequested();
    }

private:
    Clock& clock_;
    const Clock::Instant start_;
    WakeableWait wait_; // that nobody wakes
};

} // namespace

struct Playback::PrivateData {
    /// When the last frame has lasted as long as the others.
    Instant end() const {
        return take.fps() > 0 ? exact.at(std::max(0, take.timeLength())) : Instant();
    }
    void show(std::int64_t step) {
        take.setCurrentTime(static_cast<int>(exact.frameAt(shown.at(step))));
    }

    Tracks& take;
    const Rate exact;
    const Rate shown;
    const std::shared_ptr<Clock> clock;
};

Playback::Playback(Tracks& take, const Rate& exact, const Rate& shown, std::shared_ptr<Clock> clock)
    : d_(new PrivateData{take, exact, shown, std::move(clock)}) {
    assert(d_->clock != nullptr);
}

Playback::Playback(Tracks& take, const Rate& shown, std::shared_ptr<Clock> clock)
    : Playback(take, Rate(std::max(1, take.fps())), shown, std::move(clock)) {}

Playback::~Playback() = default;

std::int64_t Playback::stepCount() const {
    const Instant end = d_->end();
    const std::int64_t begun = d_->shown.frameAt(end);
    return d_->shown.at(begun) < end ? begun + 1 : begun;
}

bool Playback::run(const StopRequested& stopRequested) {
    const std::int64_t count = stepCount();
    for (std::int64_t step = 0; step < count; ++step) {
        if (stopRequested && stopRequested()) {
            return false;
        }
        d_->show(step);
    }
    return true;
}

bool Playback::runInRealTime(const StopRequested& stopRequested) {
    return runAtSpeed(1, stopRequested);
}

bool Playback::runAtSpeed(double speed, const StopRequested& stopRequested) {
    assert(speed >= 0 && std::isfinite(speed));
    if (speed == 0) {
        return run(stopRequested);
    }
    Pacer pacer(*d_->clock);
    const std::int64_t count = stepCount();
    for (std::int64_t step = 0; step < count; ++step) {
        if (!pacer.waitUntil(d_->shown.at(step).seconds() / speed, stopRequested)) {
            return false;
        }
        d_->show(step);
    }
    return pacer.waitUntil(d_->end().seconds() / speed, stopRequested);
}

} // namespace tarn::kit
