// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace tarn::kit {

/// Where a device takes its time from: the real clock, or one that is moved by hand, so that a test
/// of a device neither sleeps nor depends on how busy the machine is.
///
/// Threads: everything may be called from any thread.
class TARN_KIT_EXPORT Clock {
public:
    using Duration = std::chrono::nanoseconds;
    /// Counted from a moment of the clock's own choosing: instants of different clocks do not
    /// compare.
    using Instant = std::chrono::time_point<std::chrono::steady_clock, Duration>;

    Clock();
    virtual ~Clock();
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    /// Never less than it was before.
    virtual Instant now() const = 0;

    /// Blocks until `wake()` is true or `instant` has come, whichever is first, and returns
    /// `wake()`; returns at once when one of them is the case already. The rules are those of
    /// `std::condition_variable::wait_until`: `lock` is held on entry, on return and whenever
    /// `wake` is called, and released in between; whoever makes `wake` true does so under the mutex
    /// of `lock` and notifies `woken`.
    virtual bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& woken,
                           Instant instant, const std::function<bool()>& wake) = 0;
};

/// Real time, unaffected by changes of the system's date.
class TARN_KIT_EXPORT SteadyClock final : public Clock {
public:
    SteadyClock();
    ~SteadyClock() override;

    Instant now() const override;
    bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& woken,
                   Instant instant, const std::function<bool()>& wake) override;
};

/// Stands still until it is advanced. Must outlive the waits on it.
class TARN_KIT_EXPORT ManualClock final : public Clock {
public:
    explicit ManualClock(Instant start = Instant());
    ~ManualClock() override;

    Instant now() const override;
    bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& woken,
                   Instant instant, const std::function<bool()>& wake) override;

    /// Moves on, and wakes the threads whose instant has come; does not wait for what they do then.
    /// Must not be called with a lock held that a thread waits with.
    /// Precondition: `duration` is not negative.
    void advance(Duration duration);
    /// As `advance`, up to `instant`; does nothing when that has passed already.
    void advanceTo(Instant instant);

    /// Blocks until `threads` threads wait for instants that are still to come, and returns the
    /// earliest of these instants: whatever they do when they reach it, they do after the next
    /// `advanceTo` it. A thread that is woken by other means counts until it has left its wait.
    /// Precondition: `threads` is positive.
    Instant awaitWaiting(int threads = 1);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
