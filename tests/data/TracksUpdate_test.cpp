// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

using motion::Log;
using motion::logMoves;
using motion::rangeText;
using motion::takeOfLength;
using tarn::Tracks;
using testing::ElementsAre;

namespace {

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

/// A take that logs what an update announces.
class TracksUpdate : public testing::Test {
protected:
    TracksUpdate() {
        take.onWillUpdateTracks().connect(
            [this](int begin, int end) { log.push_back("will " + rangeText(begin, end)); });
        take.onTracksUpdated().connect(
            [this](int begin, int end) { log.push_back("updated " + rangeText(begin, end)); });
        logMoves(take, "moved", log);
    }

    Log log;
    Tracks take;
};

} // namespace

TEST_F(TracksUpdate, BeginningAnnouncesTheRangeAndNothingElse) {
    take.beginUpdateTracks(2, 8);
    EXPECT_THAT(log, ElementsAre("will 2..8"));
    EXPECT_EQ(take.tracksVersion(), 0);
}

TEST_F(TracksUpdate, EndingAnnouncesTheRangeThatWasBegun) {
    take.beginUpdateTracks(2, 8);
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("will 2..8", "updated 2..8"));
}

TEST_F(TracksUpdate, EndingWithoutABeginningUsesTheRangeFromZeroToZero) {
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("updated 0..0", "moved 0"));
    EXPECT_EQ(take.tracksVersion(), 1);
}

TEST_F(TracksUpdate, TheRangeStaysForTheNextEnding) {
    take.beginUpdateTracks(2, 8);
    take.endUpdateTracks();
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("will 2..8", "updated 2..8", "updated 2..8"));
}

TEST_F(TracksUpdate, OfTwoBeginningsTheSecondCounts) {
    take.beginUpdateTracks(2, 8);
    take.beginUpdateTracks(3, 4);
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("will 2..8", "will 3..4", "updated 3..4"));
}

TEST_F(TracksUpdate, TheFormerRangeIsInForceWhileTheNewOneIsAnnounced) {
    take.beginUpdateTracks(1, 5);
    log.clear();
    take.onWillUpdateTracks().connect([this](int, int) { take.endUpdateTracks(); });
    take.beginUpdateTracks(7, 9);
    EXPECT_THAT(log, ElementsAre("will 7..9", "updated 1..5"));
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("will 7..9", "updated 1..5", "updated 7..9"));
}

TEST_F(TracksUpdate, EveryEndingCountsTheVersionUp) {
    take.setTracksVersion(41);
    take.endUpdateTracks();
    EXPECT_EQ(take.tracksVersion(), 42);
    take.endUpdateTracks();
    EXPECT_EQ(take.tracksVersion(), 43);
    take.setTracksVersion(0);
    take.endUpdateTracks();
    EXPECT_EQ(take.tracksVersion(), 1);
}

TEST_F(TracksUpdate, TheVersionIsCountedUpBeforeTheUpdateIsAnnounced) {
    int announced = -1;
    take.onTracksUpdated().connect([&](int, int) { announced = take.tracksVersion(); });
    take.endUpdateTracks();
    EXPECT_EQ(announced, 1);
}

TEST_F(TracksUpdate, ACurrentTimeInTheRangeIsAnnouncedAfterTheUpdate) {
    take.setCurrentTime(5);
    take.beginUpdateTracks(2, 8);
    log.clear();
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("updated 2..8", "moved 5"));
}

TEST_F(TracksUpdate, BothEndsOfTheRangeBelongToIt) {
    for (const int inside : {2, 8}) {
        take.setCurrentTime(inside);
        take.beginUpdateTracks(2, 8);
        log.clear();
        take.endUpdateTracks();
        EXPECT_THAT(log, ElementsAre("updated 2..8", "moved " + std::to_string(inside)));
    }
    for (const int outside : {1, 9, -5}) {
        take.setCurrentTime(outside);
        take.beginUpdateTracks(2, 8);
        log.clear();
        take.endUpdateTracks();
        EXPECT_THAT(log, ElementsAre("updated 2..8")) << outside;
    }
}

TEST_F(TracksUpdate, NothingLiesInARangeThatRunsBackwards) {
    take.setCurrentTime(5);
    take.beginUpdateTracks(8, 2);
    log.clear();
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("updated 8..2"));
}

TEST_F(TracksUpdate, TheCurrentTimeIsReadAfterTheUpdateWasAnnounced) {
    take.setCurrentTime(50);
    take.onTracksUpdated().connect([this](int, int) { take.setCurrentTime(3); });
    take.beginUpdateTracks(2, 8);
    log.clear();
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("updated 2..8", "moved 3", "moved 3"));
}

TEST_F(TracksUpdate, ACurrentTimeThatLeavesTheRangeDuringTheAnnouncementIsNotAnnouncedAgain) {
    take.setCurrentTime(5);
    take.onTracksUpdated().connect([this](int, int) { take.setCurrentTime(50); });
    take.beginUpdateTracks(2, 8);
    log.clear();
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("updated 2..8", "moved 50"));
}

TEST_F(TracksUpdate, DoesNotReachNestedTakes) {
    const auto nested = takeOfLength(100);
    logMoves(*nested, "nested", log);
    take.addSubTracks(nested, 3);
    take.beginUpdateTracks(0, 10);
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("will 0..10", "updated 0..10", "moved 0"));
    EXPECT_EQ(nested->tracksVersion(), 0);
    EXPECT_EQ(nested->currentTime(), 0);
}

TEST_F(TracksUpdate, TakesTheWidestRange) {
    take.setCurrentTime(intMin);
    take.beginUpdateTracks(intMin, intMax);
    log.clear();
    take.endUpdateTracks();
    EXPECT_THAT(log, ElementsAre("updated " + rangeText(intMin, intMax),
                                 "moved " + std::to_string(intMin)));
}

TEST_F(TracksUpdate, TheVersionWrapsAfterTheHighestNumber) {
    take.setTracksVersion(intMax);
    take.endUpdateTracks();
    EXPECT_EQ(take.tracksVersion(), intMin);
}
