// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

// When a slot, and all that its callable holds, is destroyed; and what may happen then.

namespace {

using signal_testing::cargo;
using signal_testing::isLockedForOthers;
using signal_testing::onAnotherThread;
using signal_testing::Trace;
using testing::ElementsAre;
using testing::IsEmpty;
using tsignal::Disconnector;
using tsignal::Signal;

TEST(SignalLifetime, ASlotIsDestroyedByItsRemoval) {
    Signal<> signal;
    Trace trace;
    int object = 0;
    signal.connect(&object, [held = cargo([&] { trace.emplace_back("destroyed"); })] {});
    EXPECT_THAT(trace, IsEmpty());

    signal.disconnect(&object);
    EXPECT_THAT(trace, ElementsAre("destroyed"));
}

TEST(SignalLifetime, ASlotThatIsNotRunningIsDestroyedByItsRemovalDuringAnEmission) {
    Signal<> signal;
    Trace trace;
    int object = 0;
    signal.connect([&] {
        signal.disconnect(&object);
        trace.emplace_back("disconnected");
    });
    signal.connect(&object, [held = cargo([&] { trace.emplace_back("destroyed"); })] {});
    signal.connect([&] { trace.emplace_back("last"); });

    signal.emit();
    EXPECT_THAT(trace, ElementsAre("destroyed", "disconnected", "last"));
}

TEST(SignalLifetime, ARunningSlotIsDestroyedOnceItsCallHasReturned) {
    Signal<> signal;
    Trace trace;
    int object = 0;
    signal.connect(&object, [&, held = cargo([&] { trace.emplace_back("destroyed"); })] {
        const std::weak_ptr<void> watched = held;
        signal.disconnect(&object);
        trace.emplace_back(watched.expired() ? "gone" : "alive");
    });
    signal.connect([&] { trace.emplace_back("next"); });

    signal.emit();
    EXPECT_THAT(trace, ElementsAre("alive", "destroyed", "next"));
}

TEST(SignalLifetime, ASlotThatRunsOnTwoLevelsIsDestroyedOnceTheOuterCallHasReturned) {
    Signal<int> signal;
    Trace trace;
    int object = 0;
    signal.connect(&object, [&, held = cargo([&] { trace.emplace_back("destroyed"); })](int depth) {
        if (depth == 1) {
            signal.emit(2);
        } else {
            signal.disconnect(&object);
        }
        trace.push_back("returns " + std::to_string(depth));
    });
    signal.connect([&](int depth) { trace.push_back("next " + std::to_string(depth)); });

    signal.emit(1);
    EXPECT_THAT(trace, ElementsAre("returns 2", "next 2", "returns 1", "destroyed", "next 1"));
}

TEST(SignalLifetime, ADisconnectorHoldsItsSlot) {
    Signal<> signal;
    Trace trace;
    std::optional<Disconnector> disconnect =
        signal.connect([held = cargo([&] { trace.emplace_back("destroyed"); })] {});
    std::optional<Disconnector> copy = disconnect;

    (*disconnect)();
    disconnect.reset();
    EXPECT_THAT(trace, IsEmpty());
    copy.reset();
    EXPECT_THAT(trace, ElementsAre("destroyed"));
}

TEST(SignalLifetime, ADisconnectorDroppedByTheRunningSlotKeepsTheSlotForItsCall) {
    Signal<> signal;
    Trace trace;
    Disconnector disconnect;
    disconnect = signal.connect([&, held = cargo([&] { trace.emplace_back("destroyed"); })] {
        disconnect();
        disconnect = nullptr;
        trace.emplace_back("returns");
    });

    signal.emit();
    EXPECT_THAT(trace, ElementsAre("returns", "destroyed"));
}

TEST(SignalLifetime, DestroyingASignalDestroysItsSlotsWithoutCallingThem) {
    Trace trace;
    int object = 0;
    {
        Signal<> signal;
        signal.connect([&, held = cargo([&] { trace.emplace_back("first gone"); })] {
            trace.emplace_back("called");
        });
        signal.connect(&object, [&, held = cargo([&] { trace.emplace_back("second gone"); })] {
            trace.emplace_back("called");
        });
    }
    EXPECT_THAT(trace, testing::UnorderedElementsAre("first gone", "second gone"));
}

TEST(SignalLifetime, ADisconnectorMayBeDestroyedAfterItsSignal) {
    Trace trace;
    auto signal = std::make_unique<Signal<>>();
    Disconnector disconnect =
        signal->connect([held = cargo([&] { trace.emplace_back("destroyed"); })] {});

    signal.reset();
    EXPECT_THAT(trace, IsEmpty());
    disconnect = nullptr;
    EXPECT_THAT(trace, ElementsAre("destroyed"));
}

TEST(SignalLifetime, ARemovedSlotIsDestroyedWhenTheSignalIsUnlocked) {
    Signal<> signal;
    int object = 0;
    std::optional<bool> locked;
    signal.connect(&object, [held = cargo([&] { locked = isLockedForOthers(signal); })] {});

    signal.disconnect(&object);
    EXPECT_EQ(locked, false);
}

TEST(SignalLifetime, WhatARemovedSlotHoldsMayUseTheSignal) {
    Signal<> signal;
    Trace trace;
    int object = 0;
    int other = 0;
    signal.connect(&object, [held = cargo([&] {
                                 signal.disconnect(&other);
                                 signal.connect([&] { trace.emplace_back("added"); });
                                 signal.emit();
                             })] {});
    signal.connect(&other, [&] { trace.emplace_back("removed"); });
    signal.connect([&] { trace.emplace_back("kept"); });

    signal.disconnect(&object);
    EXPECT_THAT(trace, ElementsAre("kept", "added"));
}

TEST(SignalLifetime, WhatARemovedSlotHoldsMayRemoveItsNeighboursInTurn) {
    Signal<> signal;
    Trace trace;
    int first = 0;
    int second = 0;
    // Both belong to `first`, and each takes `second` with it when it goes.
    signal.connect(&first, [held = cargo([&] { signal.disconnect(&second); })] {});
    signal.connect(&second, [&] { trace.emplace_back("second"); });
    signal.connect(&first, [held = cargo([&] { signal.disconnect(&second); })] {});
    signal.connect(&second, [&] { trace.emplace_back("second"); });
    signal.connect([&] { trace.emplace_back("kept"); });

    signal.disconnect(&first);
    signal.emit();
    EXPECT_THAT(trace, ElementsAre("kept"));
}

TEST(SignalLifetime, WhatARemovedSlotHoldsMayUseTheSignalDuringAnEmission) {
    Signal<int> signal;
    Trace trace;
    int object = 0;
    int next = 0;
    signal.connect([&](int depth) {
        trace.push_back("first " + std::to_string(depth));
        signal.disconnect(&object);
    });
    signal.connect(&object, [held = cargo([&] {
                                 signal.emit(2);
                                 signal.disconnect(&next);
                                 signal.connect([&](int) { trace.emplace_back("added"); });
                             })](int) {});
    signal.connect(&next, [&](int depth) { trace.push_back("next " + std::to_string(depth)); });
    signal.connect([&](int depth) { trace.push_back("last " + std::to_string(depth)); });

    signal.emit(1);
    EXPECT_THAT(trace, ElementsAre("first 1", "first 2", "next 2", "last 2", "last 1", "added"));
}

TEST(SignalLifetime, WhatARunningSlotHoldsMayUseTheSignalWhenItGoes) {
    Signal<int> signal;
    Trace trace;
    int object = 0;
    int next = 0;
    signal.connect(&object, [&, held = cargo([&] {
                                    signal.emit(2);
                                    signal.disconnect(&next);
                                })](int /*depth*/) { signal.disconnect(&object); });
    signal.connect(&next, [&](int depth) { trace.push_back("next " + std::to_string(depth)); });
    signal.connect([&](int depth) { trace.push_back("last " + std::to_string(depth)); });

    signal.emit(1);
    EXPECT_THAT(trace, ElementsAre("next 2", "last 2", "last 1"));
}

TEST(SignalLifetime, WhatARemovedSlotHoldsMayWaitForAThreadThatUsesTheSignal) {
    Signal<> signal;
    Trace trace;
    int object = 0;
    const auto useElsewhere = [&] {
        ASSERT_FALSE(isLockedForOthers(signal));
        onAnotherThread([&] {
            signal.connect([&] { trace.emplace_back("called"); });
            signal.emit();
        });
    };
    signal.connect(&object, [held = cargo(useElsewhere)] {});
    signal.disconnect(&object);
    EXPECT_THAT(trace, ElementsAre("called"));

    signal.connect([held = cargo(useElsewhere)] {});
    signal.disconnectAll();
    EXPECT_THAT(trace, ElementsAre("called", "called"));
}

TEST(SignalLifetime, ARemovedSlotMayHoldTheLastReferenceToTheOwnerOfTheSignal) {
    auto owner = std::make_shared<Signal<>>();
    const std::weak_ptr<Signal<>> watched = owner;
    Signal<>& signal = *owner;
    int object = 0;
    signal.connect(&object, [owner = std::move(owner)] {});
    ASSERT_FALSE(watched.expired());

    signal.disconnect(&object);
    EXPECT_TRUE(watched.expired());
}

} // namespace
