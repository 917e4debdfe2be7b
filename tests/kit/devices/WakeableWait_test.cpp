// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/WakeableWait.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

namespace tarn::kit {
namespace {

using namespace std::chrono_literals;
using Instant = Clock::Instant;

static_assert(!std::is_copy_constructible_v<WakeableWait>);

constexpr Instant epoch;

/// Whether it is woken by then; on a thread of its own.
std::future<bool> waiting(WakeableWait& wait, Clock& clock, std::optional<Instant> instant) {
    return std::async(std::launch::async,
                      [&wait, &clock, instant] { return wait.until(clock, instant); });
}

TEST(WakeableWait, IsOverWhenTheInstantComes) {
    ManualClock clock;
    WakeableWait wait;
    auto isWoken = waiting(wait, clock, epoch + 5ms);
    EXPECT_EQ(clock.awaitWaiting(), epoch + 5ms);
    clock.advance(5ms);
    EXPECT_FALSE(isWoken.get());
}

TEST(WakeableWait, IsOverWhenItIsWoken) {
    ManualClock clock;
    WakeableWait wait;
    auto isWoken = waiting(wait, clock, epoch + 5ms);
    clock.awaitWaiting();
    wait.wake();
    EXPECT_TRUE(isWoken.get());
    EXPECT_EQ(clock.now(), epoch);
}

TEST(WakeableWait, IsOverAtOnceAtAnInstantThatHasCome) {
    ManualClock manual(epoch + 5ms);
    SteadyClock steady;
    WakeableWait wait;
    EXPECT_FALSE(wait.until(manual, epoch + 5ms));
    EXPECT_FALSE(wait.until(steady, steady.now()));
    for (Clock* const clock : {static_cast<Clock*>(&manual), static_cast<Clock*>(&steady)}) {
        EXPECT_FALSE(wait.until(*clock, Instant::min()));
    }
}

TEST(WakeableWait, WaitsForTheWakeAloneWithoutAnInstant) {
    ManualClock clock;
    WakeableWait wait;
    auto isWoken = waiting(wait, clock, std::nullopt);
    wait.wake();
    EXPECT_TRUE(isWoken.get());
    auto isOver = std::async(std::launch::async, [&wait] { wait.untilWoken(); });
    wait.wake();
    isOver.get();
}

TEST(WakeableWait, KeepsAWakeForTheNextWaitAndSeveralForOne) {
    ManualClock clock;
    WakeableWait wait;
    wait.wake();
    wait.wake();
    wait.untilWoken();
    EXPECT_FALSE(wait.until(clock, epoch));
    wait.wake();
    EXPECT_TRUE(wait.until(clock, epoch + 5ms)); // and the clock stands
    EXPECT_FALSE(wait.until(clock, epoch));
    wait.wake();
    EXPECT_TRUE(wait.until(clock, epoch)); // which had come
    EXPECT_FALSE(wait.until(clock, epoch));
}

TEST(WakeableWaitThreads, LoseNoWake) {
    constexpr int threads = 3;
    constexpr int rounds = 2000;
    SteadyClock clock;
    WakeableWait wait;
    std::atomic<int> done{0};
    std::vector<std::thread> wakers;
    wakers.reserve(threads);
    for (int i = 0; i < threads; ++i) {
        wakers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                ++done;
                wait.wake();
            }
        });
    }
    const Instant never = clock.now() + std::chrono::hours(24);
    for (int round = 0; done < threads * rounds; ++round) { // what is lost is waited for for ever
        if (round % 2 == 0) {
            wait.untilWoken();
        } else {
            EXPECT_TRUE(wait.until(clock, never));
        }
    }
    for (std::thread& waker : wakers) {
        waker.join();
    }
}

} // namespace
} // namespace tarn::kit
