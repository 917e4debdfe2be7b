// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {

using signal_testing::cargo;
using signal_testing::isLockedForOthers;
using signal_testing::Trace;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tsignal::Disconnector;
using tsignal::Signal;

TEST(SignalDisconnectAll, RemovesEverySlot) {
    Signal<> signal;
    int calls = 0;
    int object = 0;
    signal.connect([&] { ++calls; });
    signal.connect(&object, [&] { ++calls; });

    signal.disconnectAll();
    signal.emit();
    EXPECT_EQ(calls, 0);
}

TEST(SignalDisconnectAll, IsHarmlessWithoutSlots) {
    Signal<> signal;
    signal.disconnectAll();
    signal.disconnectAll();
    signal.emit();
    EXPECT_FALSE(isLockedForOthers(signal));
}

TEST(SignalDisconnectAll, LeavesTheSignalUsable) {
    Signal<> signal;
    Trace calls;
    const auto before = signal.connect([&] { calls.emplace_back("before"); });
    signal.disconnectAll();
    signal.connect([&] { calls.emplace_back("after"); });

    before();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("after"));
}

TEST(SignalDisconnectAll, DestroysTheSlots) {
    Signal<> signal;
    Trace trace;
    const auto kept = signal.connect([held = cargo([&] { trace.emplace_back("held"); })] {});
    signal.connect([held = cargo([&] { trace.emplace_back("first"); })] {});
    signal.connect([held = cargo([&] { trace.emplace_back("second"); })] {});

    signal.disconnectAll();
    EXPECT_THAT(trace, UnorderedElementsAre("first", "second"));
}

TEST(SignalDisconnectAll, DestroysTheSlotsWhenTheSignalIsUnlocked) {
    Signal<> signal;
    Trace trace;
    std::optional<bool> locked;
    signal.connect([held = cargo([&] {
                        locked = isLockedForOthers(signal);
                        signal.connect([&] { trace.emplace_back("added"); });
                        signal.emit();
                    })] {});
    signal.connect([&] { trace.emplace_back("removed"); });

    signal.disconnectAll();
    EXPECT_EQ(locked, false);
    EXPECT_THAT(trace, ElementsAre("added"));
}

TEST(SignalDisconnectAll, FromASlotEndsTheEmissionAfterTheCurrentCall) {
    Signal<> signal;
    Trace calls;
    signal.connect([&] { calls.emplace_back("first"); });
    signal.connect([&] {
        signal.disconnectAll();
        calls.emplace_back("ends");
    });
    signal.connect([&] { calls.emplace_back("never"); });

    signal.emit();
    EXPECT_THAT(calls, ElementsAre("first", "ends"));
    EXPECT_FALSE(isLockedForOthers(signal));
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("first", "ends"));
}

TEST(SignalDisconnectAll, MayBeCalledByTheLastSlotAndTwice) {
    Signal<> signal;
    Trace calls;
    signal.connect([&] { calls.emplace_back("first"); });
    signal.connect([&] {
        signal.disconnectAll();
        signal.disconnectAll();
        calls.emplace_back("last");
    });

    signal.emit();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("first", "last"));
}

TEST(SignalDisconnectAll, FromANestedEmissionEndsAllRunningOnes) {
    Signal<int> signal;
    Trace calls;
    signal.connect([&](int depth) {
        if (depth < 3) {
            signal.emit(depth + 1);
        } else {
            signal.disconnectAll();
        }
        calls.push_back(std::to_string(depth) + " returns");
    });
    signal.connect([&](int) { calls.emplace_back("never"); });

    signal.emit(1);
    EXPECT_THAT(calls, ElementsAre("3 returns", "2 returns", "1 returns"));
    EXPECT_FALSE(isLockedForOthers(signal));
}

TEST(SignalDisconnectAll, ASlotConnectedAfterwardsWaitsForTheNextEmission) {
    Signal<int> signal;
    Trace calls;
    signal.connect([&](int depth) {
        if (depth == 1) {
            signal.emit(2);
            return;
        }
        signal.disconnectAll();
        signal.connect([&](int at) { calls.push_back("added " + std::to_string(at)); });
    });
    signal.connect([&](int) { calls.emplace_back("never"); });

    signal.emit(1);
    EXPECT_THAT(calls, IsEmpty());
    signal.emit(3);
    EXPECT_THAT(calls, ElementsAre("added 3"));
}

TEST(SignalDisconnectAll, ANestedEmissionStartedAfterwardsCallsWhatIsConnectedByThen) {
    Signal<int> signal;
    Trace calls;
    signal.connect([&](int) {
        signal.disconnectAll();
        signal.connect([&](int depth) { calls.push_back("first " + std::to_string(depth)); });
        signal.connect([&](int depth) { calls.push_back("second " + std::to_string(depth)); });
        signal.emit(2);
    });
    signal.connect([&](int) { calls.emplace_back("never"); });

    signal.emit(1);
    EXPECT_THAT(calls, ElementsAre("first 2", "second 2"));
}

TEST(SignalDisconnectAll, WhatWasRemovedCanBeDisconnectedAgain) {
    Signal<> signal;
    Trace calls;
    int object = 0;
    Disconnector disconnect;
    signal.connect([&] {
        signal.disconnectAll();
        disconnect();
        signal.disconnect(&object);
        calls.emplace_back("returns");
    });
    disconnect = signal.connect([&] { calls.emplace_back("never"); });
    signal.connect(&object, [&] { calls.emplace_back("never"); });

    signal.emit();
    EXPECT_THAT(calls, ElementsAre("returns"));
}

TEST(SignalDisconnectAll, FromASlotReleasesWhatTheSlotsHoldAfterTheOutermostEmission) {
    Signal<int> signal;
    Trace trace;
    std::optional<bool> locked;
    signal.connect([&, held = cargo([&] { trace.emplace_back("running gone"); })](int depth) {
        if (depth == 1) {
            signal.emit(2);
        } else {
            signal.disconnectAll();
        }
        trace.push_back(std::to_string(depth) + " returns");
    });
    signal.connect([held = cargo([&] {
                        locked = isLockedForOthers(signal);
                        trace.emplace_back("other gone");
                    })](int) {});

    signal.emit(1);
    ASSERT_EQ(trace.size(), 4U);
    EXPECT_EQ(trace[0], "2 returns");
    EXPECT_EQ(trace[1], "1 returns");
    EXPECT_THAT(trace,
                UnorderedElementsAre("2 returns", "1 returns", "running gone", "other gone"));
    EXPECT_EQ(locked, false);
}

TEST(SignalDisconnectAll, WhatTheSlotsHeldMayUseTheSignalAfterTheEmission) {
    Signal<int> signal;
    Trace trace;
    signal.connect([&, held = cargo([&] {
                           signal.connect(
                               [&](int value) { trace.push_back(std::to_string(value)); });
                           signal.emit(2);
                       })](int) { signal.disconnectAll(); });

    signal.emit(1);
    EXPECT_THAT(trace, ElementsAre("2"));
}

/// Something that owns a signal and lives for as long as somebody holds it.
struct Owner {
    Signal<int> signal;
};

class SignalDisconnectAllOfAnOwner : public testing::Test {
protected:
    /// Hands the last reference to the caller, to be put into a slot.
    std::shared_ptr<Owner> lastReference() { return std::move(owner_); }
    bool isGone() const { return watched_.expired(); }
    Owner& owner() const { return *owner_; }

private:
    std::shared_ptr<Owner> owner_ = std::make_shared<Owner>();
    std::weak_ptr<Owner> watched_ = owner_;
};

TEST_F(SignalDisconnectAllOfAnOwner, ASlotMayHoldTheLastReference) {
    Signal<int>& signal = owner().signal;
    signal.connect([](int) {});
    signal.connect([owner = lastReference()](int) {});

    ASSERT_FALSE(isGone());
    signal.disconnectAll();
    EXPECT_TRUE(isGone());
}

TEST_F(SignalDisconnectAllOfAnOwner, TheRunningSlotMayHoldTheLastReference) {
    Signal<int>& signal = owner().signal;
    bool goneTooEarly = true;
    signal.connect([&, owner = lastReference()](int) {
        owner->signal.disconnectAll();
        goneTooEarly = isGone();
    });

    signal.emit(1);
    EXPECT_FALSE(goneTooEarly);
    EXPECT_TRUE(isGone());
}

TEST_F(SignalDisconnectAllOfAnOwner, AnEarlierSlotMayHoldTheLastReference) {
    Signal<int>& signal = owner().signal;
    bool goneTooEarly = true;
    signal.connect([owner = lastReference()](int) {});
    signal.connect([&](int) {
        signal.disconnectAll();
        goneTooEarly = isGone();
    });

    signal.emit(1);
    EXPECT_FALSE(goneTooEarly);
    EXPECT_TRUE(isGone());
}

TEST_F(SignalDisconnectAllOfAnOwner, ALaterSlotMayHoldTheLastReference) {
    Signal<int>& signal = owner().signal;
    bool goneTooEarly = true;
    signal.connect([&](int) {
        signal.disconnectAll();
        goneTooEarly = isGone();
    });
    signal.connect([owner = lastReference()](int) {});

    signal.emit(1);
    EXPECT_FALSE(goneTooEarly);
    EXPECT_TRUE(isGone());
}

TEST_F(SignalDisconnectAllOfAnOwner, TheOwnerOutlivesAllNestedEmissions) {
    Signal<int>& signal = owner().signal;
    Trace trace;
    signal.connect([&, owner = lastReference()](int depth) {
        if (depth < 3) {
            owner->signal.emit(depth + 1);
        } else {
            owner->signal.disconnectAll();
        }
        trace.emplace_back(isGone() ? "gone" : "alive");
    });
    signal.connect([&](int) { trace.emplace_back("never"); });

    signal.emit(1);
    EXPECT_THAT(trace, ElementsAre("alive", "alive", "alive"));
    EXPECT_TRUE(isGone());
}

TEST_F(SignalDisconnectAllOfAnOwner, TheOwnerMayGoWithSlotsConnectedSince) {
    Signal<int>& signal = owner().signal;
    Trace trace;
    signal.connect([&, owner = lastReference()](int) {
        owner->signal.disconnectAll();
        owner->signal.connect([&trace, held = cargo([&] { trace.emplace_back("destroyed"); })](
                                  int) { trace.emplace_back("never"); });
    });

    signal.emit(1);
    EXPECT_TRUE(isGone());
    EXPECT_THAT(trace, ElementsAre("destroyed"));
}

} // namespace
