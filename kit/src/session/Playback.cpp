// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Playback.h>

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
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
            waitUntil(instant);
            return true;
        }
        while (!stopRequested() && clock_.now() < instant) {
            waitUntil(std::min<Clock::Instant>(instant, clock_.now() + patience));
        }
        return !stopRequested();
    }

private:
    void waitUntil(Clock::Instant instant) {
        std::unique_lock<std::mutex> lock(mutex_);
        clock_.waitUntil(lock, woken_, instant, [] { return false; });
    }

    Clock& clock_;
    const Clock::Instant start_;
    std::mutex mutex_; // what waiting on a clock takes; nobody else is there
    std::condition_variable woken_;
};

} // namespace

struct Playback::PrivateData {
    std::int64_t frameAt(std::int64_t step) const {
        return static_cast<std::int64_t>(static_cast<double>(step) * take.fps() / rate);
    }
    /// How long the take lasts, in seconds.
    double duration() const {
        return take.fps() > 0 ? static_cast<double>(take.timeLength()) / take.fps() : 0;
    }
    void show(std::int64_t step) { take.setCurrentTime(static_cast<int>(frameAt(step))); }

    Tracks& take;
    const double rate;
    const std::shared_ptr<Clock> clock;
};

Playback::Playback(Tracks& take, double rate, std::shared_ptr<Clock> clock)
    : d_(new PrivateData{take, rate, std::move(clock)}) {
    assert(rate > 0);
    assert(d_->clock != nullptr);
}

Playback::~Playback() = default;

std::int64_t Playback::stepCount() const {
    const Tracks& take = d_->take;
    if (take.timeLength() <= 0 || take.fps() <= 0) {
        return 0;
    }
    std::int64_t count = std::llround(std::ceil(take.timeLength() * d_->rate / take.fps()));
    // The quotient may be rounded up or down to a whole number; the frames decide.
    while (count > 0 && d_->frameAt(count - 1) >= take.timeLength()) {
        --count;
    }
    return count;
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
        if (!pacer.waitUntil(static_cast<double>(step) / (d_->rate * speed), stopRequested)) {
            return false;
        }
        d_->show(step);
    }
    return pacer.waitUntil(d_->duration() / speed, stopRequested);
}

} // namespace tarn::kit
