// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>

// One thread changes a state and emits while another connects and looks at that state. What holds
// although an emission to nobody takes no lock: the slot is told, or the look sees the change.

namespace {

using tsignal::Disconnector;
using tsignal::Signal;

// As many rounds as it takes to see a miss, if there were any, but no long wait on a busy machine.
constexpr int fewestRounds = 500;
constexpr int rounds = 10000;
constexpr std::chrono::milliseconds longestTime(200);
constexpr int longestDelay = 20;

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

/// What becomes of a signal before the two threads meet at it. An emission need not know that its
/// signal was empty all along.
enum class Past { none, lastSlotHasGone, lastSlotHasGoneAndEmitted };

template <class State>
struct Encounter {
    explicit Encounter(Past past) {
        if (past != Past::none) {
            signal.connect([] {})();
        }
        if (past == Past::lastSlotHasGoneAndEmitted) {
            signal.emit();
        }
    }

    alignas(64) Signal<> signal;
    alignas(64) State state;
    alignas(64) bool isTold = false; // guarded by the signal alone
    bool isSeen = false;
};

/// In how many of the rounds the connecting thread missed the change.
template <class State>
int missedChanges(Past past) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + longestTime;
    int missed = 0;
    bool isOver = false; // changed while the second thread waits
    std::optional<Encounter<State>> encounter;
    signal_testing::StartLine line(2);
    signal_testing::onSeveralThreads(2, [&](int thread) {
        signal_testing::stayOnProcessor(thread);
        for (int i = 0; !isOver; ++i) {
            if (thread == 0) {
                encounter.emplace(past);
            }
            line.cross();
            if (thread == 1) {
                encounter->isSeen = encounter->state.isChanged(); // so the change has a way to go
            }
            line.cross();
            if (thread == 0) {
                dawdle(i % longestDelay);
                encounter->state.change();
                encounter->signal.emit();
            } else {
                const Disconnector disconnect =
                    encounter->signal.connect([&told = encounter->isTold] { told = true; });
                encounter->isSeen = encounter->state.isChanged();
            }
            line.cross();
            if (thread == 0) {
                missed += encounter->isTold || encounter->isSeen ? 0 : 1;
                isOver = i == rounds || (i >= fewestRounds && Clock::now() > end);
            }
            line.cross();
        }
    });
    return missed;
}

class SignalLitmus : public testing::TestWithParam<Past> {};

TEST_P(SignalLitmus, WhoConnectsMissesNoChangeOfAStateUnderAMutexOfItsOwn) {
    EXPECT_EQ(missedChanges<GuardedState>(GetParam()), 0);
}

TEST_P(SignalLitmus, WhoConnectsMissesNoChangeOfASequentiallyConsistentState) {
    EXPECT_EQ(missedChanges<AtomicState>(GetParam()), 0);
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
