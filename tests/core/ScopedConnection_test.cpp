// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace {

using tsignal::Disconnector;
using tsignal::ScopedConnection;
using tsignal::Signal;

static_assert(std::is_default_constructible_v<ScopedConnection>);
static_assert(!std::is_copy_constructible_v<ScopedConnection>);
static_assert(!std::is_copy_assignable_v<ScopedConnection>);
static_assert(std::is_nothrow_move_constructible_v<ScopedConnection>);
static_assert(std::is_nothrow_move_assignable_v<ScopedConnection>);
static_assert(std::is_convertible_v<Disconnector, ScopedConnection>);

/// A disconnector that counts how often it is called.
Disconnector counting(int& calls) {
    return [&calls] { ++calls; };
}

TEST(ScopedConnection, DisconnectsWhenItIsDestroyed) {
    Signal<> signal;
    int calls = 0;
    {
        const ScopedConnection connection = signal.connect([&] { ++calls; });
        signal.emit();
        EXPECT_EQ(calls, 1);
    }
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, CallsItsDisconnectorOnce) {
    int calls = 0;
    {
        const ScopedConnection connection(counting(calls));
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, DisconnectsOnDemandAndOnlyOnce) {
    int calls = 0;
    {
        ScopedConnection connection(counting(calls));
        connection.disconnect();
        EXPECT_EQ(calls, 1);
        connection.disconnect();
        EXPECT_EQ(calls, 1);
    }
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, DropsItsDisconnectorWhenItDisconnects) {
    Signal<> signal;
    const auto held = std::make_shared<int>(1);
    ScopedConnection connection = signal.connect([held] {});
    EXPECT_EQ(held.use_count(), 2);

    connection.disconnect();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(ScopedConnection, ReleaseGivesTheDisconnectorBackUncalled) {
    int calls = 0;
    Disconnector released;
    {
        ScopedConnection connection(counting(calls));
        released = connection.release();
        EXPECT_FALSE(connection.release());
        connection.disconnect();
    }
    EXPECT_EQ(calls, 0);
    ASSERT_TRUE(released);
    released();
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, HoldsNothingAtFirst) {
    ScopedConnection connection;
    connection.disconnect();
    EXPECT_FALSE(connection.release());
    ScopedConnection empty{Disconnector()};
    empty.disconnect();
    EXPECT_FALSE(empty.release());
}

TEST(ScopedConnection, MovesTheConnectionIntoANewOne) {
    int calls = 0;
    {
        ScopedConnection first(counting(calls));
        {
            const ScopedConnection second(std::move(first));
            // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): empty by now
            first.disconnect();
            EXPECT_EQ(calls, 0);
        }
        EXPECT_EQ(calls, 1);
    }
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, AnAssignmentDisconnectsWhatItHeldBefore) {
    int oldCalls = 0;
    int newCalls = 0;
    {
        ScopedConnection connection(counting(oldCalls));
        ScopedConnection other(counting(newCalls));
        connection = std::move(other);
        EXPECT_EQ(oldCalls, 1);
        EXPECT_EQ(newCalls, 0);
    }
    EXPECT_EQ(oldCalls, 1);
    EXPECT_EQ(newCalls, 1);
}

TEST(ScopedConnection, AMemberIsAssignedTheResultOfConnect) {
    Signal<> signal;
    int oldCalls = 0;
    int newCalls = 0;
    ScopedConnection connection;
    connection = signal.connect([&] { ++oldCalls; });
    signal.emit();
    connection = signal.connect([&] { ++newCalls; });
    signal.emit();
    EXPECT_EQ(oldCalls, 1);
    EXPECT_EQ(newCalls, 1);

    connection = ScopedConnection();
    signal.emit();
    EXPECT_EQ(oldCalls, 1);
    EXPECT_EQ(newCalls, 1);
}

TEST(ScopedConnection, AnAssignmentToItselfChangesNothing) {
    int calls = 0;
    {
        ScopedConnection connection(counting(calls));
        ScopedConnection& same = connection;
        connection = std::move(same);
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, ASlotMayEndItsOwnConnection) {
    Signal<> signal;
    int calls = 0;
    ScopedConnection connection;
    connection = signal.connect([&] {
        connection.disconnect();
        ++calls;
    });

    signal.emit();
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(ScopedConnection, ASlotMayHoldTheLastReferenceToTheOwnerOfItsConnection) {
    struct Listener {
        ScopedConnection connection;
    };
    Signal<> signal;
    auto listener = std::make_shared<Listener>();
    Listener& reference = *listener;
    const std::weak_ptr<Listener> watched = listener;
    reference.connection = signal.connect([listener = std::move(listener)] {});
    ASSERT_FALSE(watched.expired());

    reference.connection.disconnect();
    EXPECT_TRUE(watched.expired());
    signal.emit();
}

} // namespace
