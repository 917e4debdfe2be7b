// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

// What a slot may do to the signal that is calling it. Nested emissions: SignalNesting_test.cpp.

namespace {

using signal_testing::Trace;
using testing::ElementsAre;
using tsignal::Disconnector;
using tsignal::Signal;

/// Slots that note their names, then do what the test says.
class SignalEmission : public testing::Test {
protected:
    Disconnector connect(
        const std::string& name, std::function<void()> action = [] {}) {
        return signal_.connect(noting(name, std::move(action)));
    }

    Disconnector connectFor(
        int* object, const std::string& name, std::function<void()> action = [] {}) {
        return signal_.connect(object, noting(name, std::move(action)));
    }

    /// The names of the slots that one emission calls.
    Trace emitted() {
        calls_.clear();
        signal_.emit();
        return calls_;
    }

    Signal<>& signal() { return signal_; }

private:
    std::function<void()> noting(const std::string& name, std::function<void()> action) {
        return [this, name, action = std::move(action)] {
            calls_.push_back(name);
            action();
            calls_.push_back(name + " done");
        };
    }

    Signal<> signal_;
    Trace calls_;
};

TEST_F(SignalEmission, ASlotThatDisconnectsItselfFinishesItsCall) {
    Disconnector disconnect;
    connect("first");
    disconnect = connect("self", [&] { disconnect(); });
    connect("last");

    EXPECT_THAT(emitted(),
                ElementsAre("first", "first done", "self", "self done", "last", "last done"));
    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotThatDisconnectsItsObjectFinishesItsCall) {
    int object = 0;
    connectFor(&object, "self", [&] { signal().disconnect(&object); });
    connectFor(&object, "same object");
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("self", "self done", "last", "last done"));
    EXPECT_THAT(emitted(), ElementsAre("last", "last done"));
}

TEST_F(SignalEmission, TheOnlySlotMayDisconnectItself) {
    Disconnector disconnect;
    disconnect = connect("only", [&] { disconnect(); });

    EXPECT_THAT(emitted(), ElementsAre("only", "only done"));
    EXPECT_THAT(emitted(), ElementsAre());
}

TEST_F(SignalEmission, EverySlotMayDisconnectItself) {
    Disconnector first;
    Disconnector second;
    Disconnector third;
    first = connect("1", [&] { first(); });
    second = connect("2", [&] { second(); });
    third = connect("3", [&] { third(); });

    EXPECT_THAT(emitted(), ElementsAre("1", "1 done", "2", "2 done", "3", "3 done"));
    EXPECT_THAT(emitted(), ElementsAre());
}

TEST_F(SignalEmission, ASlotMayDisconnectItselfTwice) {
    Disconnector disconnect;
    disconnect = connect("self", [&] {
        disconnect();
        disconnect();
    });
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("self", "self done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotThatDisconnectsTheNextOneKeepsItFromBeingCalled) {
    Disconnector next;
    connect("first", [&] { next(); });
    next = connect("next");
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "last", "last done"));
    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotThatDisconnectsTheLastOneEndsTheEmission) {
    Disconnector last;
    connect("first", [&] { last(); });
    last = connect("last");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done"));
}

TEST_F(SignalEmission, ASlotMayDisconnectItselfAndTheNextOne) {
    Disconnector self;
    Disconnector next;
    self = connect("self", [&] {
        self();
        next();
    });
    next = connect("next");
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("self", "self done", "last", "last done"));
    EXPECT_THAT(emitted(), ElementsAre("last", "last done"));
}

TEST_F(SignalEmission, ASlotMayDisconnectTheNextSeveral) {
    Disconnector second;
    Disconnector third;
    connect("first", [&] {
        second();
        third();
    });
    second = connect("second");
    third = connect("third");
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotMayDisconnectTheNextSeveralBackToFront) {
    Disconnector second;
    Disconnector third;
    connect("first", [&] {
        third();
        second();
    });
    second = connect("second");
    third = connect("third");
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotMayDisconnectTheNextSeveralByTheirObject) {
    int object = 0;
    connect("first", [&] { signal().disconnect(&object); });
    connectFor(&object, "second");
    connectFor(&object, "third");
    connect("fourth");
    connectFor(&object, "fifth");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "fourth", "fourth done"));
}

TEST_F(SignalEmission, ASlotThatDisconnectsOneFurtherDownKeepsThatOneFromBeingCalled) {
    Disconnector third;
    connect("first", [&] { third(); });
    connect("second");
    third = connect("third");
    connect("last");

    EXPECT_THAT(emitted(),
                ElementsAre("first", "first done", "second", "second done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotThatDisconnectsAnEarlierOneDisturbsNothing) {
    Disconnector first;
    Disconnector second;
    first = connect("first");
    second = connect("second");
    connect("third", [&] {
        second();
        first();
    });
    connect("last");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "second", "second done", "third",
                                       "third done", "last", "last done"));
    EXPECT_THAT(emitted(), ElementsAre("third", "third done", "last", "last done"));
}

TEST_F(SignalEmission, ASlotConnectedBeforeTheLastOneRanIsCalledByTheSameEmission) {
    Disconnector added;
    connect("first", [&] {
        if (!added) {
            added = connect("added");
        }
    });
    connect("second");

    EXPECT_THAT(emitted(),
                ElementsAre("first", "first done", "second", "second done", "added", "added done"));
}

TEST_F(SignalEmission, ASlotConnectedByTheLastOneWaitsForTheNextEmission) {
    Disconnector added;
    connect("first");
    connect("last", [&] {
        if (!added) {
            added = connect("added");
        }
    });

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "last", "last done"));
    EXPECT_THAT(emitted(),
                ElementsAre("first", "first done", "last", "last done", "added", "added done"));
}

TEST_F(SignalEmission, ASlotThatAlwaysConnectsAnotherDoesNotKeepTheEmissionGoing) {
    connect("only", [&] { connect("added"); });

    EXPECT_THAT(emitted(), ElementsAre("only", "only done"));
    EXPECT_THAT(emitted(),
                ElementsAre("only", "only done", "added", "added done", "added", "added done"));
}

TEST_F(SignalEmission, ASlotConnectedMeanwhileMayItselfBeTheLast) {
    Disconnector added;
    Disconnector addedByIt;
    connect("first", [&] {
        if (!added) {
            added = connect("added", [&] { addedByIt = connect("added by it"); });
        }
    });
    connect("second");

    EXPECT_THAT(emitted(),
                ElementsAre("first", "first done", "second", "second done", "added", "added done"));
}

TEST_F(SignalEmission, ASlotConnectedAfterTheRestWasDisconnectedWaitsForTheNextEmission) {
    Disconnector second;
    connect("first", [&] {
        second();
        second = connect("added");
    });
    second = connect("second");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done"));
}

TEST_F(SignalEmission, ASlotConnectedBeforeTheRestWasDisconnectedIsCalled) {
    Disconnector second;
    connect("first", [&] {
        const Disconnector added = connect("added");
        second();
        second = added;
    });
    second = connect("second");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "added", "added done"));
}

TEST_F(SignalEmission, ASlotConnectedAndDisconnectedMeanwhileIsNotCalled) {
    connect("first", [&] { connect("added")(); });
    connect("second");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "second", "second done"));
}

TEST_F(SignalEmission, ASlotThatReplacesItselfRunsOncePerEmission) {
    Disconnector self;
    std::function<void()> replace = [&] {
        self();
        self = connect("self", replace);
    };
    self = connect("self", replace);

    EXPECT_THAT(emitted(), ElementsAre("self", "self done"));
    EXPECT_THAT(emitted(), ElementsAre("self", "self done"));
}

TEST_F(SignalEmission, ChangesToAnotherSignalDoNotConcernTheEmission) {
    Signal<> other;
    Trace heard;
    Disconnector next = other.connect([&] { heard.emplace_back("next"); });
    other.connect([&] { heard.emplace_back("last"); });
    connect("first", [&] {
        next();
        other.emit();
        other.disconnectAll();
    });
    connect("second");

    EXPECT_THAT(emitted(), ElementsAre("first", "first done", "second", "second done"));
    EXPECT_THAT(heard, ElementsAre("last"));
}

} // namespace
