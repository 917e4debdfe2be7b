// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/Clock.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

namespace tarn::kit {
namespace {

using namespace std::chrono_literals;
using Instant = Clock::Instant;

static_assert(!std::is_copy_constructible_v<ManualClock>);
static_assert(!std::is_copy_constructible_v<SteadyClock>);

constexpr Instant epoch;

/// Something to wait with.
struct Bell {
    std::mutex mutex;
    std::condition_variable rung;
    bool isRung = false;

    void ring() {
        const std::lock_guard<std::mutex> lock(mutex);
        isRung = true;
        rung.notify_all();
    }
    /// What the clock's wait returns.
    bool wait(Clock& clock, Instant instant) {
        std::unique_lock<std::mutex> lock(mutex);
        const bool woken = clock.waitUntil(lock, rung, instant, [this] { return isRung; });
        EXPECT_TRUE(lock.owns_lock());
        return woken;
    }
};

/// A thread that waits for an instant.
class Waiting {
public:
    Waiting(Clock& clock, Instant instant)
        : thread_([this, &clock, instant] { woken_ = bell_.wait(clock, instant); }) {}
    void ring() { bell_.ring(); }
    /// Whether it was woken by the bell, once it is back.
    bool join() {
        thread_.join();
        return woken_;
    }

private:
    Bell bell_;
    bool woken_ = false;
    std::thread thread_;
};

TEST(SteadyClock, TellsTheTimeOfTheSystemsSteadyClock) {
    const SteadyClock clock;
    const Instant before = std::chrono::steady_clock::now();
    const Instant now = clock.now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, Instant(std::chrono::steady_clock::now()));
}

TEST(SteadyClock, WaitsUntilTheInstantAndNotLess) {
    SteadyClock clock;
    Bell bell;
    const Instant instant = clock.now() + 2ms;
    EXPECT_FALSE(bell.wait(clock, instant));
    EXPECT_GE(clock.now(), instant);
}

TEST(SteadyClock, DoesNotWaitForWhatIsThereAlready) {
    SteadyClock clock;
    Bell bell;
    EXPECT_FALSE(bell.wait(clock, clock.now() - 1h));
    EXPECT_FALSE(bell.wait(clock, epoch));
    bell.ring();
    EXPECT_TRUE(bell.wait(clock, clock.now() + 1h));
    EXPECT_TRUE(bell.wait(clock, clock.now() - 1h));
}

TEST(SteadyClock, IsWokenBeforeTheInstant) {
    SteadyClock clock;
    Waiting waiting(clock, clock.now() + 24h);
    waiting.ring();
    EXPECT_TRUE(waiting.join());
}

TEST(ManualClock, StartsWhereItIsTold) {
    EXPECT_EQ(ManualClock().now(), epoch);
    EXPECT_EQ(ManualClock(epoch + 5s).now(), epoch + 5s);
}

TEST(ManualClock, MovesByWhatItIsAdvanced) {
    ManualClock clock;
    clock.advance(3ns);
    clock.advance(0ns);
    clock.advance(1s);
    EXPECT_EQ(clock.now(), epoch + 1s + 3ns);
}

TEST(ManualClock, MovesToAnInstantButNeverBack) {
    ManualClock clock(epoch + 5s);
    clock.advanceTo(epoch + 7s);
    EXPECT_EQ(clock.now(), epoch + 7s);
    clock.advanceTo(epoch + 6s);
    EXPECT_EQ(clock.now(), epoch + 7s);
}

TEST(ManualClock, DoesNotWaitForWhatIsThereAlready) {
    ManualClock clock(epoch + 5s);
    Bell bell;
    EXPECT_FALSE(bell.wait(clock, epoch + 5s));
    EXPECT_FALSE(bell.wait(clock, epoch));
    bell.ring();
    EXPECT_TRUE(bell.wait(clock, epoch + 6s));
    EXPECT_TRUE(bell.wait(clock, epoch));
}

TEST(ManualClock, KeepsAThreadWaitingUntilTheInstantHasCome) {
    ManualClock clock;
    Waiting waiting(clock, epoch + 10ms);
    EXPECT_EQ(clock.awaitWaiting(), epoch + 10ms);
    clock.advance(10ms - 1ns);
    EXPECT_EQ(clock.awaitWaiting(), epoch + 10ms);
    clock.advance(1ns);
    EXPECT_FALSE(waiting.join());
}

TEST(ManualClock, WakesAThreadWhoseInstantItJumpsOver) {
    ManualClock clock;
    Waiting waiting(clock, epoch + 10ms);
    clock.awaitWaiting();
    clock.advanceTo(epoch + 1h);
    EXPECT_FALSE(waiting.join());
}

TEST(ManualClock, LetsAThreadBeWokenBeforeTheInstant) {
    ManualClock clock;
    Waiting waiting(clock, epoch + 10ms);
    clock.awaitWaiting();
    waiting.ring();
    EXPECT_TRUE(waiting.join());
    EXPECT_EQ(clock.now(), epoch);
}

TEST(ManualClock, WakesEachThreadAtItsInstant) {
    ManualClock clock;
    Waiting third(clock, epoch + 3s);
    Waiting first(clock, epoch + 1s);
    Waiting second(clock, epoch + 2s);
    EXPECT_EQ(clock.awaitWaiting(3), epoch + 1s);
    clock.advance(1s);
    EXPECT_FALSE(first.join());
    EXPECT_EQ(clock.awaitWaiting(2), epoch + 2s);
    clock.advance(2s);
    EXPECT_FALSE(second.join());
    EXPECT_FALSE(third.join());
}

TEST(ManualClock, LosesNoWakeUpWhenThreadsComeAndGo) {
    constexpr int threadCount = 3;
    constexpr int waitsPerThread = 300;
    ManualClock clock;
    std::atomic<int> running{threadCount};
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&clock, &running] {
            Bell bell;
            for (int wait = 0; wait < waitsPerThread; ++wait) {
                const Instant instant = clock.now() + 1ns;
                EXPECT_FALSE(bell.wait(clock, instant));
                EXPECT_GE(clock.now(), instant);
            }
            --running;
        });
    }
    while (running > 0) {
        clock.advance(1ns);
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

#ifndef NDEBUG
TEST(ManualClockDeathTest, DoesNotGoBack) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ManualClock clock;
    EXPECT_DEATH(clock.advance(-1ns), "duration");
}

TEST(ManualClockDeathTest, AwaitsAtLeastOneThread) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ManualClock clock;
    EXPECT_DEATH(clock.awaitWaiting(0), "threads");
}
#endif

} // namespace
} // namespace tarn::kit
