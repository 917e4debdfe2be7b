// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

using motion::Log;
using motion::logMoves;
using motion::logWorkRanges;
using motion::takeOfLength;
using tarn::Tracks;
using testing::ElementsAre;

namespace {

/// One of the two announcements that visit nested takes.
struct Announcement {
    std::string name;
    void (*announce)(Tracks& take, int value);
    void (*onAnnounced)(Tracks& take, std::function<void()> slot);
};

void moveTo(Tracks& take, int value) { take.setCurrentTime(value); }
void onMoved(Tracks& take, std::function<void()> slot) {
    take.onCurrentTimeChanged().connect([slot = std::move(slot)](int) { slot(); });
}
void setRangeTo(Tracks& take, int value) { take.setWorkRange(value, value); }
void onRangeSet(Tracks& take, std::function<void()> slot) {
    take.onWorkRangeChanged().connect([slot = std::move(slot)](int, int) { slot(); });
}

std::ostream& operator<<(std::ostream& out, const Announcement& a) { return out << a.name; }

/// A take with nested takes whose slots change it while it announces.
class TracksSafety : public testing::TestWithParam<Announcement> {
protected:
    void announce(int value) { GetParam().announce(take, value); }
    static void onAnnounced(Tracks& of, std::function<void()> slot) {
        GetParam().onAnnounced(of, std::move(slot));
    }
    /// A nested take that logs its name when it is visited.
    std::shared_ptr<Tracks> nestedTake(const std::string& name) {
        auto nested = takeOfLength(1000);
        onAnnounced(*nested, [this, name] { log.push_back(name); });
        return nested;
    }
    std::weak_ptr<Tracks> addNested(const std::string& name, int offset = 0) {
        const auto nested = nestedTake(name);
        take.addSubTracks(nested, offset);
        return nested;
    }

    Log log;
    Tracks take;
};

INSTANTIATE_TEST_SUITE_P(Announcements, TracksSafety,
                         testing::Values(Announcement{"CurrentTime", moveTo, onMoved},
                                         Announcement{"WorkRange", setRangeTo, onRangeSet}),
                         [](const auto& announcement) { return announcement.param.name; });

} // namespace

TEST_P(TracksSafety, ANestedTakeAddedByTheTakesSlotIsVisitedByTheRunningAnnouncement) {
    addNested("old");
    bool added = false;
    onAnnounced(take, [&] {
        if (!added) {
            added = true;
            addNested("new");
        }
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("old", "new"));
    EXPECT_EQ(take.subTracksCount(), 2);
    announce(2);
    EXPECT_THAT(log, ElementsAre("old", "new", "old", "new"));
}

TEST_P(TracksSafety, NestedTakesAddedByANestedTakesSlotAreNotVisitedByTheRunningAnnouncement) {
    const auto first = nestedTake("first");
    take.addSubTracks(first, 0);
    addNested("second");
    onAnnounced(*first, [&] {
        for (int i = 0; i < 100; ++i) { // enough to make the list of nested takes move
            addNested("new");
        }
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("first", "second"));
    EXPECT_EQ(take.subTracksCount(), 102);
}

TEST_P(TracksSafety, ANestedTakeRemovedByTheTakesSlotIsNotVisited) {
    const auto removed = addNested("removed");
    addNested("kept");
    onAnnounced(take, [&] {
        take.removeSubTracks(removed.lock());
        log.emplace_back(removed.expired() ? "gone" : "alive");
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("gone", "kept"));
}

TEST_P(TracksSafety, ANestedTakeRemovedByAnotherOneIsNotVisitedButLivesUntilTheEnd) {
    const auto first = addNested("first");
    const auto removed = addNested("removed");
    const auto last = addNested("last");
    onAnnounced(*first.lock(), [&] { take.removeSubTracks(removed.lock()); });
    onAnnounced(*last.lock(), [&] { log.emplace_back(removed.expired() ? "gone" : "alive"); });
    announce(1);
    EXPECT_THAT(log, ElementsAre("first", "last", "alive"));
    EXPECT_TRUE(removed.expired());
    EXPECT_EQ(take.subTracksCount(), 2);
}

TEST_P(TracksSafety, RemovingANestedTakeThatWasVisitedSkipsNoOther) {
    const auto removed = addNested("removed");
    const auto second = addNested("second");
    addNested("third");
    onAnnounced(*second.lock(), [&] {
        take.removeSubTracks(removed.lock());
        log.emplace_back(removed.expired() ? "gone" : "alive");
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("removed", "second", "alive", "third"));
    EXPECT_TRUE(removed.expired());
}

TEST_P(TracksSafety, ANestedTakeThatNobodyElseOwnsMayRemoveItself) {
    const auto removed = addNested("removed");
    addNested("next");
    onAnnounced(*removed.lock(), [&] {
        take.removeSubTracks(removed.lock());
        log.emplace_back(removed.expired() ? "gone" : "alive");
    });
    onAnnounced(*removed.lock(), [&] { log.emplace_back("its next slot"); });
    announce(1);
    EXPECT_THAT(log, ElementsAre("removed", "alive", "its next slot", "next"));
    EXPECT_TRUE(removed.expired());
    EXPECT_EQ(take.subTracksCount(), 1);
}

TEST_P(TracksSafety, ANestedTakeThatRemovesItselfStillVisitsItsOwnNestedTakes) {
    const auto middle = addNested("middle");
    middle.lock()->addSubTracks(nestedTake("inner"), 0);
    onAnnounced(*middle.lock(), [&] { take.removeSubTracks(middle.lock()); });
    announce(1);
    EXPECT_THAT(log, ElementsAre("middle", "inner"));
    EXPECT_TRUE(middle.expired());
}

TEST_P(TracksSafety, TheInnermostTakeMayRemoveTheOneThatHoldsIt) {
    const auto middle = addNested("middle");
    const auto inner = nestedTake("inner");
    middle.lock()->addSubTracks(inner, 0);
    middle.lock()->addSubTracks(nestedTake("inner's sibling"), 0);
    addNested("last");
    onAnnounced(*inner, [&] { take.removeSubTracks(middle.lock()); });
    announce(1);
    EXPECT_THAT(log, ElementsAre("middle", "inner", "inner's sibling", "last"));
    EXPECT_TRUE(middle.expired());
}

TEST_P(TracksSafety, ANestedTakeMayChangeItsOwnNestedTakes) {
    const auto middle = addNested("middle");
    const auto removed = nestedTake("removed");
    middle.lock()->addSubTracks(removed, 0);
    onAnnounced(*middle.lock(), [&] {
        middle.lock()->removeSubTracks(removed);
        middle.lock()->addSubTracks(nestedTake("new"), 0);
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("middle", "new"));
    EXPECT_EQ(middle.lock()->subTracksCount(), 1);
}

TEST_P(TracksSafety, AllNestedTakesMayBeRemovedAtOnce) {
    const auto first = addNested("first");
    const auto second = addNested("second");
    const auto third = addNested("third");
    onAnnounced(*first.lock(), [&] {
        while (take.subTracksCount() > 0) {
            take.removeSubTracks(take.subTracks(0));
        }
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("first"));
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(second.expired());
    EXPECT_TRUE(third.expired());
}

TEST_P(TracksSafety, ATakeThatTheTakesSlotPlacesAnewIsVisitedWhereItIsThen) {
    const auto moved = addNested("moved", 5);
    addNested("other");
    onAnnounced(take, [&] {
        const auto held = moved.lock();
        take.removeSubTracks(held);
        take.addSubTracks(held, 50);
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("other", "moved"));
    EXPECT_EQ(moved.lock()->currentTime() + moved.lock()->workRangeBegin(), 51);
}

TEST_P(TracksSafety, ATakeThatANestedTakesSlotPlacesAnewIsNotVisitedAnyMore) {
    const auto first = addNested("first");
    const auto moved = addNested("moved", 5);
    onAnnounced(*first.lock(), [&] {
        const auto held = moved.lock();
        take.removeSubTracks(held);
        take.addSubTracks(held, 50);
    });
    announce(1);
    EXPECT_THAT(log, ElementsAre("first")) << "neither where it was nor where it is";
    EXPECT_EQ(take.subTracksOffset(moved.lock()), 50);
}

TEST_P(TracksSafety, AnotherTakesNestedTakesMayChangeToo) {
    Tracks other;
    const auto shared = addNested("shared");
    const auto held = shared.lock();
    other.addSubTracks(held, 0);
    onAnnounced(take, [&] { other.removeSubTracks(held); });
    announce(1);
    EXPECT_THAT(log, ElementsAre("shared")) << "this take still has it";
}

TEST(TracksRepeat, ASlotMayMoveTheTakeAgain) {
    Log log;
    const auto nested = takeOfLength(1000);
    Tracks take;
    logMoves(take, "take", log);
    logMoves(*nested, "nested", log);
    take.addSubTracks(nested, 10);
    take.onCurrentTimeChanged().connect([&take](int t) {
        if (t == 5) {
            take.setCurrentTime(7);
        }
    });
    take.setCurrentTime(5);
    EXPECT_THAT(log, ElementsAre("take 5", "take 7", "nested 17", "nested 15"));
    EXPECT_EQ(take.currentTime(), 7);
}

TEST(TracksRepeat, ANestedTakesSlotMayMoveTheWholeTakeAgain) {
    Log log;
    const auto first = takeOfLength(1000);
    const auto second = takeOfLength(1000);
    Tracks take;
    logMoves(take, "take", log);
    logMoves(*first, "first", log);
    logMoves(*second, "second", log);
    take.addSubTracks(first, 10);
    take.addSubTracks(second, 20);
    first->onCurrentTimeChanged().connect([&take](int t) {
        if (t == 15) {
            take.setCurrentTime(7);
        }
    });
    take.setCurrentTime(5);
    EXPECT_THAT(log,
                ElementsAre("take 5", "first 15", "take 7", "first 17", "second 27", "second 25"));
}

TEST(TracksRepeat, ASlotMaySetTheWorkRangeAgain) {
    Log log;
    const auto nested = takeOfLength(0);
    Tracks take;
    logWorkRanges(take, "take", log);
    logWorkRanges(*nested, "nested", log);
    take.addSubTracks(nested, 10);
    take.onWorkRangeChanged().connect([&take](int begin, int) {
        if (begin == 2) {
            take.setWorkRange(3, 9);
        }
    });
    take.setWorkRange(2, 8);
    EXPECT_THAT(log, ElementsAre("take 2..8", "take 3..9", "nested 13..19", "nested 12..18"));
    EXPECT_EQ(take.workRangeBegin(), 3);
    EXPECT_EQ(take.workRangeEnd(), 9);
}
