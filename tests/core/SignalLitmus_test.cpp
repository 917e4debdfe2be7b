// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tarn/Device.h>
#include <tsignal/Signal.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>

// One thread changes a state and emits while another connects and looks at that state. What holds
// although an emission to nobody takes no lock: the slot is told, or the look sees the change.
// Misses show where the steps of both follow each other closely, hence in a release build rather
// than in others.

namespace {

using tarn::Device;
using tsignal::Disconnector;
using tsignal::Signal;

/// A state under a mutex of its own.
class GuardedState {
public:
    void change() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isChanged_ = true;
    }
    bool isChanged() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return isChanged_;
    }

private:
    std::mutex mutex_;
    bool isChanged_ = false;
};

/// An atomic state, used in the default order: sequentially consistent.
class AtomicState {
public:
    void change() { isChanged_ = true; }
    bool isChanged() const { return isChanged_; }

private:
    std::atomic<bool> isChanged_ = false;
};

/// Lets a little time pass, a step at a time: which thread comes first is to differ.
void dawdle(int steps) {
    for (std::atomic<int> step = 0; step < steps;) {
        step.store(step.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
}

/// One thread changes a state and emits while another connects and looks at that state. Returns in
/// how many rounds the latter missed the change: it was not told and did not see it.
///
/// As many rounds are run as it takes to see a miss, if there were any, but there is no long wait
/// on a busy machine. An `Encounter` is what the two meet at in one round, made of `parts`:
///  - `isChanged()` looks at the state,
///  - `change()` changes it and emits,
///  - `connect()` has `isTold` set by the emission. Only the two threads' steps order what it does.
template <class Encounter, class... Parts>
int missedChanges(const Parts&... parts) {
    using Clock = std::chrono::steady_clock;
    constexpr int fewestRounds = 100;
    constexpr int rounds = 10000;
    constexpr std::chrono::milliseconds longestTime(200);
    constexpr int longestDelay = 35;
    const Clock::time_point end = Clock::now() + longestTime;
    int missed = 0;
    bool isOver = false; // changed while the first thread waits
    std::optional<Encounter> encounter;
    signal_testing::StartLine line(2);
    signal_testing::onSeveralThreads(2, [&](int thread) {
        signal_testing::stayOnProcessor(thread);
        bool isSeen = false;
        for (int i = 0; !isOver; ++i) {
            if (thread == 0) {
                encounter.emplace(parts...);
            }
            line.cross();
            if (thread == 1) {
                isSeen = encounter->isChanged(); // so the change has a way to go
            }
            line.cross();
            if (thread == 0) {
                dawdle(i % longestDelay);
                encounter->change();
            } else {
                const Disconnector disconnect = encounter->connect(); // to drop it is a step more
                isSeen = encounter->isChanged();
            }
            line.cross();
            if (thread == 1) {
                missed += encounter->isTold || isSeen ? 0 : 1;
                isOver = i == rounds || (i >= fewestRounds && Clock::now() > end);
            }
            line.cross();
        }
    });
    return missed;
}

/// What becomes of a signal before the two threads meet at it. An emission need not know that its
/// signal was empty all along.
enum class Past { none, lastSlotHasGone, lastSlotHasGoneAndEmitted };

template <class State>
class Encounter {
public:
    explicit Encounter(Past past) {
        if (past != Past::none) {
            signal_.connect([] {})();
        }
        if (past == Past::lastSlotHasGoneAndEmitted) {
            signal_.emit();
        }
    }

    bool isChanged() { return state_.isChanged(); }
    void change() {
        state_.change();
        signal_.emit();
    }
    Disconnector connect() {
        return signal_.connect([this] { isTold = true; });
    }

    alignas(64) bool isTold = false; // guarded by the signal alone

private:
    alignas(64) Signal<> signal_;
    alignas(64) State state_;
};

/// A device that gets ready. Its state is what the other thread looks at.
class DeviceEncounter {
public:
    bool isChanged() const { return device_.isReady(); }
    void change() { device_.setState(Device::Ready); }
    Disconnector connect() {
        return device_.onStateChanged().connect([this](Device::DeviceState) { isTold = true; });
    }

    alignas(64) bool isTold = false; // guarded by the signal alone

private:
    Device device_{"glove", "left"};
};

TEST(DeviceLitmus, WhoConnectsMissesNoChangeOfItsState) {
    EXPECT_EQ(missedChanges<DeviceEncounter>(), 0);
}

class SignalLitmus : public testing::TestWithParam<Past> {};

TEST_P(SignalLitmus, WhoConnectsMissesNoChangeOfAStateUnderAMutexOfItsOwn) {
    EXPECT_EQ(missedChanges<Encounter<GuardedState>>(GetParam()), 0);
}

TEST_P(SignalLitmus, WhoConnectsMissesNoChangeOfASequentiallyConsistentState) {
    EXPECT_EQ(missedChanges<Encounter<AtomicState>>(GetParam()), 0);
}

INSTANTIATE_TEST_SUITE_P(Pasts, SignalLitmus,
                         testing::Values(Past::none, Past::lastSlotHasGone,
                                         Past::lastSlotHasGoneAndEmitted),
                         [](const testing::TestParamInfo<Past>& past) {
                             switch (past.param) {
                             case Past::lastSlotHasGone:
                                 return "LastSlotHasGone";
                             case Past::lastSlotHasGoneAndEmitted:
                                 return "LastSlotHasGoneAndEmitted";
                             default:
                                 return "NeverConnected";
                             }
                         });

} // namespace
