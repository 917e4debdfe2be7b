// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using signal_testing::cargo;
using signal_testing::isLockedForOthers;
using signal_testing::onAnotherThread;
using signal_testing::Trace;
using testing::ElementsAre;
using testing::IsEmpty;
using tsignal::ScopedConnection;
using tsignal::Signal;

TEST(SignalEmitAndDisconnect, CallsEverySlotOnceAndIsDoneThen) {
    Signal<int> signal;
    Trace trace;
    signal.connect([&](int value) { trace.push_back("first " + std::to_string(value)); });
    signal.connect([&](int value) { trace.push_back("second " + std::to_string(value)); });

    signal.emitAndDisconnectAll([&] { trace.emplace_back("done"); }, 4);
    EXPECT_THAT(trace, ElementsAre("first 4", "second 4", "done"));
    trace.clear();
    signal.emitAndDisconnectAll([&] { trace.emplace_back("done"); }, 5);
    EXPECT_THAT(trace, ElementsAre("done"));
    EXPECT_FALSE(isLockedForOthers(signal));
}

TEST(SignalEmitAndDisconnect, ASlotConnectedWhenItIsDoneIsCalledByTheNextEmission) {
    Signal<> signal;
    Trace trace;
    const auto connect = [&] { signal.connect([&] { trace.emplace_back("called"); }); };
    signal.emitAndDisconnectAll(connect); // without slots
    signal.emit();
    EXPECT_THAT(trace, ElementsAre("called"));
    signal.emitAndDisconnectAll(connect); // with one
    signal.emit();
    EXPECT_THAT(trace, ElementsAre("called", "called", "called"));
}

TEST(SignalEmitAndDisconnect, IsLockedUntilItIsDoneAndReleasesTheSlotsAfterwards) {
    Signal<> signal;
    Trace trace;
    signal.connect([&, held = cargo([&] {
                           trace.emplace_back(isLockedForOthers(signal) ? "held" : "released");
                       })] { trace.emplace_back("called"); });

    signal.emitAndDisconnectAll(
        [&] { trace.emplace_back(isLockedForOthers(signal) ? "locked" : "open"); });
    EXPECT_THAT(trace, ElementsAre("called", "locked", "released"));
}

TEST(SignalEmitAndDisconnect, MayTakeTheOwnerOfTheSignalWithIt) {
    auto signal = std::make_shared<Signal<>>();
    const std::weak_ptr<Signal<>> watched = signal;
    signal->connect([held = signal] {});
    signal->connect([held = signal] { held->disconnectAll(); });
    Signal<>& last = *std::exchange(signal, nullptr);

    last.emitAndDisconnectAll([] {});
    EXPECT_TRUE(watched.expired());
}

TEST(SignalEmitAndDisconnect, DropsWhatTheLastSlotConnects) {
    Signal<> signal;
    Trace trace;
    signal.connect([&] {
        trace.emplace_back("first");
        signal.connect([&] { trace.emplace_back("second"); });
    });
    signal.emitAndDisconnectAll([] {});
    signal.emit();
    EXPECT_THAT(trace, ElementsAre("first"));
}

TEST(SignalEmitAndDisconnect, EndsTheEmissionThatItIsStartedFrom) {
    Signal<int> signal;
    Trace trace;
    signal.connect([&](int depth) {
        trace.push_back("first " + std::to_string(depth));
        if (depth == 0) {
            signal.emitAndDisconnectAll([] {}, 1);
            trace.emplace_back("back");
        }
    });
    signal.connect([&](int depth) { trace.push_back("second " + std::to_string(depth)); });

    signal.emit(0);
    EXPECT_THAT(trace, ElementsAre("first 0", "first 1", "second 1", "back"));
    EXPECT_FALSE(isLockedForOthers(signal));
}

TEST(SignalEmitAndDisconnect, KeepsTheSlotsBehindOneThatThrows) {
    // Not on the stack: a lock left behind there is, to a sanitizer, the lock of whatever comes to
    // lie there next.
    const auto signal = std::make_unique<Signal<>>();
    Trace trace;
    int rounds = 0;
    signal->connect([&] {
        if (rounds++ == 0) {
            throw std::runtime_error("broken slot");
        }
    });
    signal->connect([&] { trace.emplace_back("second"); });

    EXPECT_THROW(signal->emitAndDisconnectAll([&] { trace.emplace_back("done"); }),
                 std::runtime_error);
    EXPECT_THAT(trace, IsEmpty());
    signal->emitAndDisconnectAll([&] { trace.emplace_back("done"); });
    EXPECT_THAT(trace, ElementsAre("second", "done"));
}

TEST(SignalEmitAndDisconnect, LeavesASlotOfAnotherThreadForTheNextEmission) {
    Signal<> signal;
    Trace trace;
    // Another thread gets in as soon as the signal is unlocked, which is when this is released.
    signal.connect([held = cargo([&] {
                        onAnotherThread(
                            [&] { signal.connect([&] { trace.emplace_back("new"); }); });
                    })] {});
    signal.emitAndDisconnectAll([] {});
    EXPECT_THAT(trace, IsEmpty());
    signal.emit();
    EXPECT_THAT(trace, ElementsAre("new"));
}

TEST(SignalDestruction, LetsASlotHoldAConnectionOfTheSameSignal) {
    auto signal = std::make_unique<Signal<>>();
    int calls = 0;
    auto other = std::make_shared<ScopedConnection>(signal->connect([&] { ++calls; }));
    signal->connect([other] {});
    signal->connect([] {});
    other.reset();

    signal->emit();
    signal.reset(); // the slot goes, its connection goes, and finds nothing to disconnect
    EXPECT_EQ(calls, 1);
}

} // namespace
