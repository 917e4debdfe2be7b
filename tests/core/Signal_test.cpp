// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"
#include "support/VirtualTable.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace {

using signal_testing::isLockedForOthers;
using signal_testing::Trace;
using testing::ElementsAre;
using testing::IsEmpty;
using tsignal::FunctorSlot;
using tsignal::ISlot;
using tsignal::ObjectFunctorSlot;
using tsignal::Signal;

struct Base {
    int value = 0;
};
struct Derived : Base {};

template <class S>
constexpr bool isPinned = std::is_default_constructible_v<S> && !std::is_copy_constructible_v<S> &&
                          !std::is_copy_assignable_v<S> && !std::is_move_constructible_v<S> &&
                          !std::is_move_assignable_v<S>;

static_assert(isPinned<Signal<>>);
static_assert(isPinned<Signal<int>>);
static_assert(isPinned<Signal<std::string, float>>);
static_assert(isPinned<Signal<const Base&>>);

template <class Slot>
constexpr bool isSlotInterface = std::is_abstract_v<Slot> && !std::has_virtual_destructor_v<Slot>;

static_assert(isSlotInterface<ISlot<>>);
static_assert(isSlotInterface<ISlot<int>>);
static_assert(std::is_base_of_v<ISlot<int>, FunctorSlot<void, int>>);
static_assert(std::is_base_of_v<ISlot<int>, ObjectFunctorSlot<Base, bool, int>>);
static_assert(!std::is_destructible_v<ISlot<int>>,
              "only a slot of concrete type is ever destroyed");
static_assert(std::is_same_v<tsignal::Disconnector, std::function<void()>>);

// Signals and slots cross the library's boundary, so their layout is part of the binary interface.
#ifdef TARN_KNOWN_VIRTUAL_TABLE
static_assert(sizeof(Signal<>) == 72);
static_assert(sizeof(Signal<int>) == 72);
static_assert(sizeof(Signal<int, int>) == 72);
static_assert(sizeof(Signal<std::string, std::string>) == 72);
static_assert(sizeof(Signal<const Base&>) == 72);
static_assert(sizeof(Signal<std::shared_ptr<Base>>) == 72);
static_assert(sizeof(ISlot<int>) == sizeof(void*));
static_assert(sizeof(FunctorSlot<void, int>) == sizeof(void*) + sizeof(std::function<void(int)>));
static_assert(sizeof(ObjectFunctorSlot<Base, void, int>) ==
              2 * sizeof(void*) + sizeof(std::function<void(int)>));

TEST(Signal, TheOperationsOfASlotKeepTheirPlacesInTheTable) {
    EXPECT_EQ(tarn::testing::tableIndex(&ISlot<int>::call), 0U);
    EXPECT_EQ(tarn::testing::tableIndex(&ISlot<int>::matchesFunctor), 1U);
    EXPECT_EQ(tarn::testing::tableIndex(&ISlot<int>::matches), 2U);
    EXPECT_EQ(tarn::testing::tableIndex(&ISlot<int>::matchesObject), 3U);
}
#endif

TEST(Signal, EmittingWithoutSlotsDoesNothing) {
    Signal<int> signal;
    signal.emit(1);
    EXPECT_FALSE(isLockedForOthers(signal));

    Trace calls;
    signal.connect([&](int value) { calls.push_back(std::to_string(value)); });
    signal.emit(2);
    EXPECT_THAT(calls, ElementsAre("2"));
}

TEST(Signal, SlotsAreCalledInTheOrderInWhichTheyWereConnected) {
    Signal<> signal;
    Trace calls;
    Base object;
    signal.connect([&] { calls.emplace_back("first"); });
    signal.connect(&object, [&] { calls.emplace_back("second"); });
    signal.connect([&] { calls.emplace_back("third"); });

    signal.emit();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("first", "second", "third", "first", "second", "third"));
}

TEST(Signal, EveryOperationLeavesTheSignalUnlocked) {
    Signal<> signal;
    Base object;
    const auto disconnect = signal.connect([] {});
    EXPECT_FALSE(isLockedForOthers(signal));
    signal.connect(&object, [] {});
    EXPECT_FALSE(isLockedForOthers(signal));
    signal.emit();
    EXPECT_FALSE(isLockedForOthers(signal));
    signal.disconnect(&object);
    EXPECT_FALSE(isLockedForOthers(signal));
    disconnect();
    EXPECT_FALSE(isLockedForOthers(signal));
    signal.disconnectAll();
    EXPECT_FALSE(isLockedForOthers(signal));
}

TEST(Signal, ACallableConnectedTwiceIsCalledTwiceInConnectionOrder) {
    Signal<> signal;
    Trace calls;
    const std::function<void()> twice = [&] { calls.emplace_back("twice"); };
    signal.connect(twice);
    signal.connect([&] { calls.emplace_back("other"); });
    signal.connect(twice);

    signal.emit();
    EXPECT_THAT(calls, ElementsAre("twice", "other", "twice"));
}

TEST(Signal, ACallableConnectedTwiceHasTwoIndependentDisconnectors) {
    Signal<> signal;
    Trace calls;
    const std::function<void()> twice = [&] { calls.emplace_back("twice"); };
    const auto disconnectFirst = signal.connect(twice);
    signal.connect([&] { calls.emplace_back("other"); });
    const auto disconnectSecond = signal.connect(twice);

    disconnectFirst();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("other", "twice"));
    calls.clear();
    disconnectSecond();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("other"));
}

TEST(Signal, ADisconnectorRemovesExactlyItsConnection) {
    Signal<> signal;
    Trace calls;
    Base object;
    signal.connect(&object, [&] { calls.emplace_back("first"); });
    const auto disconnect = signal.connect(&object, [&] { calls.emplace_back("second"); });
    signal.connect(&object, [&] { calls.emplace_back("third"); });

    disconnect();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("first", "third"));
}

TEST(Signal, ADisconnectorInvokedTwiceIsHarmless) {
    Signal<> signal;
    Trace calls;
    const auto disconnect = signal.connect([&] { calls.emplace_back("removed"); });
    const auto copy = disconnect;
    signal.connect([&] { calls.emplace_back("kept"); });

    disconnect();
    disconnect();
    copy();
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("kept"));
}

TEST(Signal, ADroppedDisconnectorLeavesTheConnection) {
    Signal<> signal;
    int calls = 0;
    {
        const auto dropped = signal.connect([&] { ++calls; });
    }
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, AReconnectedCallableGoesToTheEnd) {
    Signal<> signal;
    Trace calls;
    const std::function<void()> first = [&] { calls.emplace_back("first"); };
    const auto disconnect = signal.connect(first);
    signal.connect([&] { calls.emplace_back("second"); });

    disconnect();
    signal.connect(first);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("second", "first"));
}

TEST(Signal, DisconnectingAnObjectRemovesAllItsSlotsDuplicatesIncluded) {
    Signal<> signal;
    Trace calls;
    Base object;
    Base other;
    const std::function<void()> twice = [&] { calls.emplace_back("removed"); };
    signal.connect(&object, twice);
    signal.connect([&] { calls.emplace_back("no object"); });
    signal.connect(&object, twice);
    signal.connect(&other, [&] { calls.emplace_back("other object"); });
    signal.connect(&object, [&] { calls.emplace_back("removed too"); });

    signal.disconnect(&object);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("no object", "other object"));
}

TEST(Signal, DisconnectingLeavesTheCallablesThatMerelyUseTheObject) {
    Signal<> signal;
    Base object;
    signal.connect([&object] { ++object.value; });

    signal.disconnect(&object);
    signal.emit();
    EXPECT_EQ(object.value, 1);
}

TEST(Signal, DisconnectingMatchesTheExactPointerType) {
    Signal<> signal;
    Trace calls;
    Derived object;
    Base* const asBase = &object;
    const Derived* const asConst = &object;
    void* const asVoid = &object;
    signal.connect(&object, [&] { calls.emplace_back("Derived*"); });
    signal.connect(asBase, [&] { calls.emplace_back("Base*"); });
    signal.connect(asConst, [&] { calls.emplace_back("const Derived*"); });
    signal.connect(asVoid, [&] { calls.emplace_back("void*"); });

    signal.disconnect(asBase);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("Derived*", "const Derived*", "void*"));
    calls.clear();
    signal.disconnect(asConst);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("Derived*", "void*"));
    calls.clear();
    signal.disconnect(asVoid);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("Derived*"));
    calls.clear();
    signal.disconnect(&object);
    signal.emit();
    EXPECT_THAT(calls, IsEmpty());
}

TEST(Signal, ANullObjectIsFoundByItsTypeLikeAnyOther) {
    Signal<> signal;
    Trace calls;
    Base object;
    Base* const noBase = nullptr;
    Derived* const noDerived = nullptr;
    signal.connect(noBase, [&] { calls.emplace_back("null Base*"); });
    signal.connect(noDerived, [&] { calls.emplace_back("null Derived*"); });
    signal.connect(&object, [&] { calls.emplace_back("object"); });
    signal.connect([&] { calls.emplace_back("no object"); });

    signal.disconnect(noBase);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("null Derived*", "object", "no object"));
}

TEST(Signal, DisconnectingAnUnknownObjectChangesNothing) {
    Signal<> signal;
    int calls = 0;
    Base object;
    Base unknown;
    signal.disconnect(&unknown);
    signal.connect(&object, [&] { ++calls; });

    signal.disconnect(&unknown);
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, ADestroyedObjectKeepsItsConnection) {
    Signal<> signal;
    int calls = 0;
    std::optional<Base> object(std::in_place);
    signal.connect(&*object, [&] { ++calls; });

    object.reset();
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, ASlotWithoutAnObjectMatchesNothing) {
    Base object;
    const std::function<void(int)> functor = [](int) {};
    FunctorSlot<void, int> slot(functor);
    EXPECT_FALSE(slot.matchesFunctor(functor));
    EXPECT_FALSE(slot.matches(&object, functor));
    EXPECT_FALSE(slot.matchesObject(&object));
    EXPECT_FALSE(slot.matchesObject(std::any()));
}

TEST(Signal, ASlotWithAnObjectMatchesThatPointerAlone) {
    Derived object;
    Derived other;
    const std::function<void(int)> functor = [](int) {};
    ObjectFunctorSlot<Derived, void, int> slot(&object, functor);
    EXPECT_TRUE(slot.matchesObject(&object));
    EXPECT_FALSE(slot.matchesObject(&other));
    EXPECT_FALSE(slot.matchesObject(static_cast<Derived*>(nullptr)));
    EXPECT_FALSE(slot.matchesObject(static_cast<Base*>(&object)));
    EXPECT_FALSE(slot.matchesObject(static_cast<const Derived*>(&object)));
    EXPECT_FALSE(slot.matchesObject(static_cast<void*>(&object)));
    EXPECT_FALSE(slot.matchesObject(object));
    EXPECT_FALSE(slot.matchesObject(std::any()));

    EXPECT_FALSE(slot.matchesFunctor(functor));
    EXPECT_FALSE(slot.matches(&object, functor));
}

TEST(Signal, ASlotCallsItsCallableAndDiscardsWhatItReturns) {
    Base object;
    int sum = 0;
    const std::function<int(int)> functor = [&sum](int value) { return sum += value; };
    FunctorSlot<int, int> bare(functor);
    ObjectFunctorSlot<Base, int, int> tagged(&object, functor);
    static_assert(std::is_void_v<decltype(bare.call(1))>);

    bare.call(1);
    static_cast<ISlot<int>&>(tagged).call(10);
    EXPECT_EQ(sum, 11);
}

} // namespace
