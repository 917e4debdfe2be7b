// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

// Slots must not throw. What is left when one does: the signal is locked by the emitting thread for
// good, and stays usable by it.

namespace {

using signal_testing::cargo;
using signal_testing::isLockedForOthers;
using signal_testing::Trace;
using testing::ElementsAre;
using testing::IsEmpty;
using tsignal::Disconnector;
using tsignal::Signal;

struct Failure : std::runtime_error {
    Failure() : std::runtime_error("a slot failed") {}
};

/// A signal on which slots "fail" on demand. It is on the heap because it ends up locked: what
/// comes to stand in its place should not be taken for the same mutex by a thread checker.
class SignalException : public testing::Test {
protected:
    using Action = std::function<void(int depth)>;

    Disconnector connect(
        const std::string& name, Action action = [](int) {}) {
        return signal().connect(noting(name, std::move(action)));
    }

    Disconnector connectFor(
        int* object, const std::string& name, Action action = [](int) {}) {
        return signal().connect(object, noting(name, std::move(action)));
    }

    /// Lets `name` throw out of its calls after `action`.
    Disconnector connectFailing(
        const std::string& name, Action action = [](int) {}) {
        return connect(name, [action = std::move(action)](int depth) {
            action(depth);
            throw Failure();
        });
    }

    Signal<int>& signal() { return *signal_; }
    Trace& calls() { return calls_; }

    Trace emitted() {
        calls_.clear();
        signal().emit(1);
        return calls_;
    }

private:
    std::function<void(int)> noting(const std::string& name, Action action) {
        return [this, name, action = std::move(action)](int depth) {
            calls_.push_back(name + std::to_string(depth));
            action(depth);
        };
    }

    std::unique_ptr<Signal<int>> signal_ = std::make_unique<Signal<int>>();
    Trace calls_;
};

TEST_F(SignalException, LeavesTheEmissionAtOnce) {
    connect("before");
    connectFailing("failing");
    connect("after");

    EXPECT_THROW(signal().emit(1), Failure);
    EXPECT_THAT(calls(), ElementsAre("before1", "failing1"));
}

TEST_F(SignalException, LeavesTheSignalLockedByTheEmittingThread) {
    const Disconnector disconnect = connect("before");
    signal().emit(1);
    ASSERT_FALSE(isLockedForOthers(signal()));

    const Disconnector failing = connectFailing("failing");
    EXPECT_THROW(signal().emit(1), Failure);
    EXPECT_TRUE(isLockedForOthers(signal()));

    // No later use gives the lock back.
    failing();
    EXPECT_THAT(emitted(), ElementsAre("before1"));
    disconnect();
    signal().disconnectAll();
    EXPECT_TRUE(isLockedForOthers(signal()));
}

TEST_F(SignalException, TheEmittingThreadCanGoOnUsingTheSignal) {
    const Disconnector failing = connectFailing("failing");
    EXPECT_THROW(signal().emit(1), Failure);
    EXPECT_THROW(signal().emit(1), Failure);

    failing();
    const Disconnector first = connect("first");
    connect("second", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
        }
    });
    EXPECT_THAT(emitted(), ElementsAre("first1", "second1", "first2", "second2"));
    first();
    EXPECT_THAT(emitted(), ElementsAre("second1", "second2"));
}

TEST_F(SignalException, TheSlotThatWouldHaveBeenNextCanBeDisconnected) {
    connect("first");
    const Disconnector failing = connectFailing("failing");
    const Disconnector next = connect("next");
    connect("last");

    EXPECT_THROW(signal().emit(1), Failure);
    next();
    failing();
    EXPECT_THAT(emitted(), ElementsAre("first1", "last1"));
}

TEST_F(SignalException, TheSlotThatWouldHaveBeenNextCanBeDisconnectedByItsObject) {
    int object = 0;
    const Disconnector failing = connectFailing("failing");
    connectFor(&object, "next");
    connectFor(&object, "next but one");
    connect("last");

    EXPECT_THROW(signal().emit(1), Failure);
    signal().disconnect(&object);
    failing();
    EXPECT_THAT(emitted(), ElementsAre("last1"));
}

TEST_F(SignalException, AllSlotsCanBeDisconnected) {
    Trace destroyed;
    signal().connect([held = cargo([&] { destroyed.emplace_back("destroyed"); })](int) {});
    connectFailing("failing");
    connect("next");

    EXPECT_THROW(signal().emit(1), Failure);
    signal().disconnectAll();
    EXPECT_THAT(destroyed, ElementsAre("destroyed"));
    connect("added");
    EXPECT_THAT(emitted(), ElementsAre("added1"));
}

TEST_F(SignalException, OutOfNestedEmissionsLeavesNoneOfThemRunning) {
    int object = 0;
    connect("outer", [&](int depth) {
        if (depth < 3) {
            signal().emit(depth + 1);
        }
    });
    const Disconnector failing = connectFailing("failing");
    const Disconnector next = connect("next");
    connectFor(&object, "last");

    EXPECT_THROW(signal().emit(1), Failure);
    EXPECT_THAT(calls(), ElementsAre("outer1", "outer2", "outer3", "failing3"));
    next();
    failing();
    signal().disconnect(&object);
    signal().disconnectAll();
    EXPECT_THAT(emitted(), IsEmpty());
    EXPECT_TRUE(isLockedForOthers(signal()));
}

TEST_F(SignalException, CaughtByAnOuterSlotLetsTheOuterEmissionGoOn) {
    Disconnector next;
    connect("catching", [&](int depth) {
        if (depth == 1) {
            EXPECT_THROW(signal().emit(2), Failure);
            next();
        }
    });
    next = connect("next");
    connect("failing", [](int depth) {
        if (depth == 2) {
            throw Failure();
        }
    });
    connect("last");

    EXPECT_THAT(emitted(),
                ElementsAre("catching1", "catching2", "next2", "failing2", "failing1", "last1"));
    EXPECT_TRUE(isLockedForOthers(signal()));
}

TEST_F(SignalException, TheSlotsRemovedMeanwhileStayRemoved) {
    Disconnector self;
    Disconnector next;
    self = connectFailing("failing", [&](int) {
        self();
        next();
    });
    next = connect("next");
    connect("last");

    EXPECT_THROW(signal().emit(1), Failure);
    EXPECT_THAT(emitted(), ElementsAre("last1"));
}

TEST_F(SignalException, AThrowingSlotThatWasRemovedIsDestroyed) {
    Trace destroyed;
    int object = 0;
    signal().connect(
        &object, [&, held = cargo([&] { destroyed.emplace_back("destroyed"); })](int /*depth*/) {
            signal().disconnect(&object);
            destroyed.emplace_back("throws");
            throw Failure();
        });

    EXPECT_THROW(signal().emit(1), Failure);
    EXPECT_THAT(destroyed, ElementsAre("throws", "destroyed"));
}

TEST_F(SignalException, AfterDisconnectAllInTheThrowingSlotNothingIsLeft) {
    Trace destroyed;
    signal().connect([held = cargo([&] { destroyed.emplace_back("other gone"); })](int) {});
    signal().connect([&, held = cargo([&] { destroyed.emplace_back("running gone"); })](int) {
        signal().disconnectAll();
        destroyed.emplace_back("throws");
        throw Failure();
    });
    connect("never");

    EXPECT_THROW(signal().emit(1), Failure);
    ASSERT_EQ(destroyed.size(), 3U);
    EXPECT_EQ(destroyed.front(), "throws");
    connect("added");
    EXPECT_THAT(emitted(), ElementsAre("added1"));
}

TEST_F(SignalException, DisconnectAllInANestedThrowingSlotEndsTheOuterEmissions) {
    connect("outer", [&](int depth) {
        if (depth == 1) {
            EXPECT_THROW(signal().emit(2), Failure);
        } else {
            signal().disconnectAll();
            throw Failure();
        }
    });
    connect("never");

    EXPECT_THAT(emitted(), ElementsAre("outer1", "outer2"));
    EXPECT_THAT(emitted(), IsEmpty());
}

TEST_F(SignalException, OfAnEmptyCallableIsNoDifferent) {
    const Disconnector empty = signal().connect(std::function<void(int)>());
    const Disconnector next = connect("next");
    connect("last");

    EXPECT_THROW(signal().emit(1), std::bad_function_call);
    EXPECT_TRUE(isLockedForOthers(signal()));
    next();
    empty();
    EXPECT_THAT(emitted(), ElementsAre("last1"));
}

/// An argument of which only so many copies can be made.
struct ScarceArgument {
    explicit ScarceArgument(int& copiesLeft) : copiesLeft_(&copiesLeft) {}
    ScarceArgument(const ScarceArgument& other) : copiesLeft_(other.copiesLeft_) {
        if (--*copiesLeft_ < 0) {
            throw Failure();
        }
    }
    ScarceArgument(ScarceArgument&&) noexcept = default;
    ScarceArgument& operator=(const ScarceArgument&) = delete;
    ScarceArgument& operator=(ScarceArgument&&) = delete;
    ~ScarceArgument() = default;

private:
    int* copiesLeft_;
};

TEST_F(SignalException, OfAnArgumentsCopyIsNoDifferent) {
    const auto scarce = std::make_unique<Signal<ScarceArgument>>();
    Trace called;
    scarce->connect([&](const ScarceArgument&) { called.emplace_back("first"); });
    const Disconnector second =
        scarce->connect([&](const ScarceArgument&) { called.emplace_back("second"); });

    int copiesLeft = 2; // the emission's own, and the first slot's
    EXPECT_THROW(scarce->emit(ScarceArgument(copiesLeft)), Failure);
    EXPECT_THAT(called, ElementsAre("first"));
    EXPECT_TRUE(isLockedForOthers(*scarce));
    second();
    copiesLeft = 2;
    scarce->emit(ScarceArgument(copiesLeft));
    EXPECT_THAT(called, ElementsAre("first", "first"));
}

TEST_F(SignalException, LeavesASignalThatIsNeverTakenForOneWithoutListeners) {
    const auto scarce = std::make_unique<Signal<ScarceArgument>>();
    scarce->connect([](const ScarceArgument&) { throw Failure(); });
    int copiesLeft = 2;
    const ScarceArgument argument(copiesLeft);
    EXPECT_THROW(scarce->emit(argument), Failure);
    scarce->disconnectAll();

    // An emission that others would have to wait for copies its argument first.
    EXPECT_THROW(scarce->emit(argument), Failure);
    copiesLeft = 1;
    scarce->emit(argument);
    EXPECT_THROW(scarce->emit(argument), Failure);
    EXPECT_TRUE(isLockedForOthers(*scarce));
}

TEST_F(SignalException, WhileTheArgumentsArePassedInLeavesTheSignalUnlocked) {
    const auto scarce = std::make_unique<Signal<ScarceArgument>>();
    Trace called;
    scarce->connect([&](const ScarceArgument&) { called.emplace_back("never"); });
    int copiesLeft = 0;
    const ScarceArgument argument(copiesLeft);

    EXPECT_THROW(scarce->emit(argument), Failure);
    EXPECT_THAT(called, IsEmpty());
    EXPECT_FALSE(isLockedForOthers(*scarce));
}

} // namespace
