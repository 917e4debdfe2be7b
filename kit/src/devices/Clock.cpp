// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/Clock.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstddef>
#include <list>
#include <vector>

namespace tarn::kit {

Clock::Clock() = default;

Clock::~Clock() = default;

SteadyClock::SteadyClock() = default;

SteadyClock::~SteadyClock() = default;

Clock::Instant SteadyClock::now() const { return std::chrono::steady_clock::now(); }

bool SteadyClock::waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& woken,
                            Instant instant, const std::function<bool()>& wake) {
    return woken.wait_until(lock, instant, wake);
}

// Locks are taken in one order: the clock's, then that of a waiting thread. So a waiting thread
// lets go of its own before it enters or leaves the list, and reads the time without a lock.
struct ManualClock::PrivateData {
    struct Waiter {
        std::mutex* mutex;
        std::condition_variable* woken;
        Instant instant;
    };
    using Waiters = std::list<Waiter>;

    explicit PrivateData(Instant start) : now(start) {}

    Waiters::iterator add(const Waiter& waiter);
    void remove(Waiters::iterator waiter);
    /// The instants ahead that are waited for, the earliest first. The clock is locked.
    std::vector<Instant> ahead() const;
    /// Wakes who waits for an instant that has come. The clock is locked.
    void wakeDue() const;

    std::mutex mutex;
    std::condition_variable waiterAdded;
    std::atomic<Instant> now; ///< written with the clock locked
    Waiters waiters;
};

ManualClock::PrivateData::Waiters::iterator ManualClock::PrivateData::add(const Waiter& waiter) {
    const std::lock_guard<std::mutex> lock(mutex);
    waiterAdded.notify_all();
    return waiters.insert(waiters.end(), waiter);
}

void ManualClock::PrivateData::remove(Waiters::iterator waiter) {
    const std::lock_guard<std::mutex> lock(mutex);
    waiters.erase(waiter);
}

std::vector<Clock::Instant> ManualClock::PrivateData::ahead() const {
    std::vector<Instant> instants;
    for (const Waiter& waiter : waiters) {
        if (waiter.instant > now.load()) {
            instants.push_back(waiter.instant);
        }
    }
    std::sort(instants.begin(), instants.end());
    return instants;
}

void ManualClock::PrivateData::wakeDue() const {
    for (const Waiter& waiter : waiters) {
        if (waiter.instant <= now.load()) {
            // Locked, so that it is not just between looking at the time and falling asleep.
            const std::lock_guard<std::mutex> lock(*waiter.mutex);
            waiter.woken->notify_all();
        }
    }
}

ManualClock::ManualClock(Instant start) : d_(std::make_unique<PrivateData>(start)) {}

ManualClock::~ManualClock() = default;

Clock::Instant ManualClock::now() const { return d_->now.load(); }

bool ManualClock::waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& woken,
                            Instant instant, const std::function<bool()>& wake) {
    const auto isOver = [this, instant, &wake] { return wake() || now() >= instant; };
    if (!isOver()) {
        lock.unlock();
        const auto waiter = d_->add({lock.mutex(), &woken, instant});
        lock.lock();
        woken.wait(lock, isOver);
        lock.unlock();
        d_->remove(waiter);
        lock.lock();
    }
    return wake();
}

void ManualClock::advance(Duration duration) {
    assert(duration >= Duration::zero());
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->now = d_->now.load() + duration;
    d_->wakeDue();
}

void ManualClock::advanceTo(Instant instant) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->now = std::max(d_->now.load(), instant);
    d_->wakeDue();
}

Clock::Instant ManualClock::awaitWaiting(int threads) {
    assert(threads > 0);
    std::unique_lock<std::mutex> lock(d_->mutex);
    std::vector<Instant> ahead;
    d_->waiterAdded.wait(lock, [&] {
        ahead = d_->ahead();
        return ahead.size() >= static_cast<std::size_t>(threads);
    });
    return ahead.front();
}

} // namespace tarn::kit
