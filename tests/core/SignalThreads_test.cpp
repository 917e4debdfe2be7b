// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

using signal_testing::isLockedForOthers;
using signal_testing::onAnotherThread;
using tsignal::Disconnector;
using tsignal::ScopedConnection;
using tsignal::Signal;

constexpr int threadCount = 4;
constexpr int rounds = 500;

/// Runs `work(thread number)` on several threads at once.
template <class Work>
void onSeveralThreads(Work work) {
    signal_testing::onSeveralThreads(threadCount, work);
}

TEST(SignalThreads, SlotsRunOnTheEmittingThread) {
    Signal<> signal;
    std::thread::id ranOn;
    signal.connect([&] { ranOn = std::this_thread::get_id(); });

    signal.emit();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    std::thread::id emittedOn;
    onAnotherThread([&] {
        emittedOn = std::this_thread::get_id();
        signal.emit();
    });
    EXPECT_EQ(ranOn, emittedOn);
    EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(SignalThreads, ASignalIsLockedWhileItsSlotsRun) {
    Signal<> signal;
    bool locked = false;
    signal.connect([&] { locked = isLockedForOthers(signal); });

    signal.emit();
    EXPECT_TRUE(locked);
    EXPECT_FALSE(isLockedForOthers(signal));
}

TEST(SignalThreads, AnEmissionWaitsForTheRunningOne) {
    Signal<int> signal;
    std::promise<void> aboutToEmit;
    std::vector<int> trace;
    std::thread other;
    signal.connect([&](int value) {
        trace.push_back(value);
        if (value == 1) {
            other = std::thread([&] {
                aboutToEmit.set_value();
                signal.emit(2);
            });
            aboutToEmit.get_future().wait();
        }
    });
    signal.connect([&](int value) { trace.push_back(10 * value); });

    signal.emit(1);
    other.join();
    EXPECT_THAT(trace, testing::ElementsAre(1, 10, 2, 20));
}

TEST(SignalThreads, AnEmissionWaitsForASlotThatReplacesItself) {
    Signal<> signal;
    std::promise<void> aboutToEmit;
    std::thread other;
    int calls = 0; // guarded by the signal alone
    Disconnector disconnect;
    disconnect = signal.connect([&] {
        disconnect(); // nobody is connected now, but somebody will be
        other = std::thread([&] {
            aboutToEmit.set_value();
            signal.emit();
        });
        aboutToEmit.get_future().wait();
        signal.connect([&] { ++calls; });
    });

    signal.emit();
    other.join();
    EXPECT_EQ(calls, 1);
}

TEST(SignalThreads, AnEmissionToNobodySeesWhatTheLastOneToDisconnectDid) {
    Signal<> signal;
    int written = 0;
    std::atomic<bool> isHeard = false;
    Disconnector disconnect = signal.connect([&] { isHeard = true; });

    std::thread other([&] {
        written = 1;
        disconnect();
    });
    do { // once it is not heard, the other thread has disconnected
        isHeard = false;
        signal.emit();
    } while (isHeard);
    EXPECT_EQ(written, 1);
    signal.emit();
    other.join();
}

TEST(SignalThreads, EmissionsOfOneSignalNeverOverlap) {
    Signal<> signal;
    std::atomic<int> inside = 0;
    std::atomic<int> overlaps = 0;
    int calls = 0; // guarded by the signal alone
    signal.connect([&] { overlaps += inside++ == 0 ? 0 : 1; });
    signal.connect([&] { ++calls; });
    signal.connect([&] { --inside; });

    onSeveralThreads([&](int) {
        for (int i = 0; i < rounds; ++i) {
            signal.emit();
        }
    });
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(calls, threadCount * rounds);
}

TEST(SignalThreads, ASlotMayWaitForAThreadThatUsesAnotherSignal) {
    Signal<> signal;
    Signal<> other;
    int calls = 0;
    other.connect([&] { ++calls; });
    signal.connect([&] {
        onAnotherThread([&] {
            other.connect([&] { ++calls; });
            other.emit();
        });
    });

    signal.emit();
    EXPECT_EQ(calls, 2);
}

TEST(SignalThreads, ConnectionsMadeAtOnceAreAllThere) {
    Signal<> signal;
    int calls = 0;
    std::vector<int> objects(threadCount);
    onSeveralThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            signal.connect([&] { ++calls; });
            signal.connect(&objects[static_cast<std::size_t>(thread)], [&] { ++calls; });
        }
    });
    signal.emit();
    EXPECT_EQ(calls, 2 * threadCount * rounds);

    calls = 0;
    onSeveralThreads(
        [&](int thread) { signal.disconnect(&objects[static_cast<std::size_t>(thread)]); });
    signal.emit();
    EXPECT_EQ(calls, threadCount * rounds);
}

TEST(SignalThreads, EachThreadCanConnectEmitAndDisconnectWhileTheOthersDo) {
    Signal<> signal;
    int allCalls = 0; // guarded by the signal alone
    std::vector<int> ownCalls(threadCount);
    signal.connect([&] { ++allCalls; });

    onSeveralThreads([&](int thread) {
        int& own = ownCalls[static_cast<std::size_t>(thread)];
        for (int i = 0; i < rounds; ++i) {
            int heard = 0; // written by any thread's emission until both connections end
            ScopedConnection first(signal.connect([&heard] { ++heard; }));
            signal.connect(&heard, [&heard] { ++heard; });
            signal.emit();
            signal.disconnect(&heard);
            first.disconnect();
            own += heard >= 2 ? 1 : 0;
        }
    });
    EXPECT_EQ(allCalls, threadCount * rounds);
    EXPECT_THAT(ownCalls, testing::Each(rounds));

    // None of their connections is left.
    const int before = allCalls;
    signal.emit();
    EXPECT_EQ(allCalls, before + 1);
}

TEST(SignalThreads, SlotsMayChangeTheSignalWhileOtherThreadsDo) {
    Signal<int> signal;
    int calls = 0;   // guarded by the signal alone
    int objects = 0; // its address stands for all that is connected by the slot
    signal.connect([&](int depth) {
        ++calls;
        signal.connect(&objects, [](int) {});
        if (depth == 0) {
            signal.emit(1);
        }
        signal.disconnect(&objects);
    });

    onSeveralThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            const Disconnector disconnect = signal.connect([](int) {});
            if (thread % 2 == 0) {
                signal.emit(0);
            }
            disconnect();
        }
    });
    EXPECT_EQ(calls, 2 * rounds * threadCount / 2);
}

TEST(SignalThreads, DisconnectAllMayMeetEmissionsOnOtherThreads) {
    Signal<> signal;
    std::atomic<int> alive = 0;
    onSeveralThreads([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            ++alive;
            signal.connect([held = signal_testing::cargo([&alive] { --alive; })] {});
            if (thread == 0) {
                signal.disconnectAll();
            } else {
                signal.emit();
            }
        }
    });
    signal.disconnectAll();
    EXPECT_EQ(alive, 0);
}

TEST(SignalThreads, CopiesOfADisconnectorMayBeUsedAndDroppedAtOnce) {
    Signal<> signal;
    std::atomic<int> alive = 0;
    for (int i = 0; i < rounds / 5; ++i) { // each makes its threads anew
        ++alive;
        int object = 0;
        const Disconnector disconnect =
            signal.connect(&object, [held = signal_testing::cargo([&alive] { --alive; })] {});
        std::vector<Disconnector> copies(threadCount, disconnect);
        onSeveralThreads([&](int thread) {
            const Disconnector own =
                std::exchange(copies[static_cast<std::size_t>(thread)], nullptr);
            if (thread == 0) {
                signal.disconnect(&object);
            } else if (thread % 2 == 0) {
                own();
            }
        });
        signal.disconnect(&object);
    }
    EXPECT_EQ(alive, 0);
}

TEST(SignalThreads, TheListAndTwoHoldersMayLetGoOfASlotAtOnce) {
    constexpr std::size_t signalCount = 300;
    std::vector<Signal<>> signals(signalCount);
    std::atomic<std::size_t> gone = 0;
    std::vector<Disconnector> dropped;
    std::vector<Disconnector> called;
    for (Signal<>& signal : signals) {
        dropped.push_back(signal.connect([held = signal_testing::cargo([&gone] { ++gone; })] {}));
        called.push_back(dropped.back());
    }

    signal_testing::StartLine start(3);
    signal_testing::onSeveralThreads(3, [&](int thread) {
        for (std::size_t i = 0; i < signalCount; ++i) {
            start.cross();
            if (thread == 0) {
                signals[i].disconnectAll();
            } else if (thread == 1) {
                dropped[i] = nullptr;
            } else {
                called[i]();
                called[i] = nullptr;
            }
        }
    });
    EXPECT_EQ(gone, signalCount);
}

TEST(SignalThreads, OneDisconnectorMayBeCalledAndCopiedAtOnce) {
    constexpr std::size_t signalCount = 300;
    std::vector<Signal<>> signals(signalCount);
    std::atomic<std::size_t> gone = 0;
    signal_testing::StartLine line(2);
    Disconnector shared;
    signal_testing::onSeveralThreads(2, [&](int thread) {
        for (Signal<>& signal : signals) {
            if (thread == 0) {
                shared = signal.connect([held = signal_testing::cargo([&gone] { ++gone; })] {});
            }
            line.cross();
            const Disconnector& disconnect = shared;
            if (thread == 0) {
                disconnect();
            } else {
                const Disconnector copy = disconnect;
            }
            line.cross();
        }
    });
    shared = nullptr;
    EXPECT_EQ(gone, signalCount);
}

TEST(SignalThreads, ADisconnectionWaitsForTheRunningCall) {
    Signal<> signal;
    std::promise<void> aboutToDisconnect;
    bool returned = false;
    bool returnedBefore = false;
    std::thread other;
    int object = 0;
    signal.connect(&object, [&] {
        other = std::thread([&] {
            aboutToDisconnect.set_value();
            signal.disconnect(&object);
            returnedBefore = returned;
        });
        aboutToDisconnect.get_future().wait();
        returned = true;
    });

    signal.emit();
    other.join();
    EXPECT_TRUE(returnedBefore);
}

TEST(SignalThreads, AnExceptionOutOfASlotLocksOutTheOtherThreadsOnly) {
    const auto signal = std::make_unique<Signal<int>>();
    std::vector<int> heard;
    signal->connect([&](int value) {
        if (value < 0) {
            throw std::runtime_error("a slot failed");
        }
        heard.push_back(value);
    });
    bool lockedBefore = true;
    bool lockedAfter = false;
    onAnotherThread([&] {
        signal->emit(1);
        lockedBefore = isLockedForOthers(*signal);
        EXPECT_THROW(signal->emit(-1), std::runtime_error);
        lockedAfter = isLockedForOthers(*signal);
        signal->emit(2);
    });
    EXPECT_FALSE(lockedBefore);
    EXPECT_TRUE(lockedAfter);
    EXPECT_THAT(heard, testing::ElementsAre(1, 2));
    EXPECT_TRUE(isLockedForOthers(*signal)); // for good: the thread has ended
}

} // namespace
