// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

using motion::Log;
using motion::logMoves;
using motion::logWorkRanges;
using motion::rangeText;
using motion::takeOfLength;
using tarn::Tracks;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

} // namespace

TEST(TracksSubTakes, AreKeptInTheOrderOfAdding) {
    const auto first = std::make_shared<Tracks>();
    const auto second = std::make_shared<Tracks>();
    Tracks take;
    take.addSubTracks(first, 10);
    take.addSubTracks(second, -20);
    EXPECT_EQ(take.subTracksCount(), 2);
    EXPECT_EQ(take.subTracks(0), first);
    EXPECT_EQ(take.subTracks(1), second);
    EXPECT_EQ(take.subTracks(2), nullptr);
    EXPECT_EQ(take.subTracks(intMax), nullptr);
    EXPECT_EQ(take.subTracksOffset(first), 10);
    EXPECT_EQ(take.subTracksOffset(second), -20);
}

TEST(TracksSubTakes, MayBePlacedTwiceAndAreRemovedEverywhere) {
    const auto twice = std::make_shared<Tracks>();
    const auto between = std::make_shared<Tracks>();
    Tracks take;
    take.addSubTracks(twice, 1);
    take.addSubTracks(between, 2);
    take.addSubTracks(twice, 3);
    EXPECT_EQ(take.subTracksCount(), 3);
    EXPECT_EQ(take.subTracksOffset(twice), 1) << "of the first entry";
    take.removeSubTracks(twice);
    EXPECT_EQ(take.subTracksCount(), 1);
    EXPECT_EQ(take.subTracks(0), between);
    EXPECT_EQ(take.subTracksOffset(between), 2);
    EXPECT_EQ(take.subTracksOffset(twice), 0);
    EXPECT_EQ(twice.use_count(), 1);
}

TEST(TracksSubTakes, RemovingOneThatIsNotThereChangesNothing) {
    Tracks take;
    take.addSubTracks(std::make_shared<Tracks>(), 1);
    take.removeSubTracks(std::make_shared<Tracks>());
    take.removeSubTracks(nullptr);
    EXPECT_EQ(take.subTracksCount(), 1);
    EXPECT_EQ(take.subTracksOffset(std::make_shared<Tracks>()), 0);
    EXPECT_EQ(take.subTracksOffset(nullptr), 0);
}

TEST(TracksSetCurrentTime, AnnouncesEveryCallEvenOfTheSameTime) {
    Log log;
    Tracks take;
    logMoves(take, "take", log);
    take.setCurrentTime(0);
    take.setCurrentTime(5);
    take.setCurrentTime(5);
    EXPECT_THAT(log, ElementsAre("take 0", "take 5", "take 5"));
}

TEST(TracksSetCurrentTime, StoresTheTimeBeforeAnnouncingIt) {
    Tracks take;
    int seen = -1;
    take.onCurrentTimeChanged().connect([&](int) { seen = take.currentTime(); });
    take.setCurrentTime(5);
    EXPECT_EQ(seen, 5);
}

TEST(TracksSetCurrentTime, MovesNestedTakesByTheirOffsetsAfterTheTakeItself) {
    Log log;
    const auto take = takeOfLength(0);
    const auto first = takeOfLength(100);
    const auto second = takeOfLength(100);
    logMoves(*take, "take", log);
    logMoves(*first, "first", log);
    logMoves(*second, "second", log);
    take->addSubTracks(first, 10);
    take->addSubTracks(second, -20);
    take->setCurrentTime(5);
    EXPECT_THAT(log, ElementsAre("take 5", "first 15", "second -15"));
    EXPECT_EQ(first->currentTime(), 15);
    EXPECT_EQ(second->currentTime(), -15);
}

TEST(TracksSetCurrentTime, DoesNotMoveANestedTakeToOrBeyondItsLength) {
    Log log;
    const auto nested = takeOfLength(20);
    logMoves(*nested, "nested", log);
    Tracks take;
    take.addSubTracks(nested, 10);
    take.setCurrentTime(9);
    take.setCurrentTime(10);
    take.setCurrentTime(11);
    take.setCurrentTime(intMax);
    EXPECT_THAT(log, ElementsAre("nested 19"));
    EXPECT_EQ(nested->currentTime(), 19);
}

TEST(TracksSetCurrentTime, DoesMoveANestedTakeBeforeItsBeginning) {
    const auto nested = takeOfLength(0);
    Tracks take;
    take.addSubTracks(nested, -10);
    take.setCurrentTime(9);
    EXPECT_EQ(nested->currentTime(), -1);
    take.setCurrentTime(10);
    EXPECT_EQ(nested->currentTime(), -1) << "0 is at its length";
}

TEST(TracksSetCurrentTime, MovesTakesNestedInNestedTakes) {
    Log log;
    const auto inner = takeOfLength(1000);
    const auto middle = takeOfLength(100);
    const auto last = takeOfLength(1000);
    logMoves(*inner, "inner", log);
    logMoves(*middle, "middle", log);
    logMoves(*last, "last", log);
    middle->addSubTracks(inner, 200);
    Tracks take;
    take.addSubTracks(middle, 30);
    take.addSubTracks(last, 1);
    take.setCurrentTime(4);
    EXPECT_THAT(log, ElementsAre("middle 34", "inner 234", "last 5"));
    log.clear();
    take.setCurrentTime(70);
    EXPECT_THAT(log, ElementsAre("last 71")) << "a take that is not moved moves none";
}

TEST(TracksSetCurrentTime, MovesATakeOncePerEntry) {
    Log log;
    const auto twice = takeOfLength(100);
    logMoves(*twice, "twice", log);
    Tracks take;
    take.addSubTracks(twice, 1);
    take.addSubTracks(twice, 20);
    take.setCurrentTime(5);
    EXPECT_THAT(log, ElementsAre("twice 6", "twice 25"));
}

TEST(TracksSetCurrentTime, SumsWithTheOffsetStopAtTheEndsOfTheNumberRange) {
    const auto low = takeOfLength(10);
    const auto high = takeOfLength(intMax);
    Tracks take;
    take.addSubTracks(low, intMin);
    take.addSubTracks(high, intMax);
    take.setCurrentTime(-5);
    EXPECT_EQ(low->currentTime(), intMin);
    EXPECT_EQ(high->currentTime(), intMax - 5);
    take.setCurrentTime(5);
    EXPECT_EQ(low->currentTime(), intMin + 5);
    EXPECT_EQ(high->currentTime(), intMax - 5) << "beyond its length";
    take.setCurrentTime(intMin);
    EXPECT_EQ(low->currentTime(), intMin);
    EXPECT_EQ(high->currentTime(), -1);
    take.setCurrentTime(intMax);
    EXPECT_EQ(take.currentTime(), intMax);
    EXPECT_EQ(low->currentTime(), -1);
    EXPECT_EQ(high->currentTime(), -1);
}

TEST(TracksSetWorkRange, AnnouncesARangeThatDiffers) {
    Log log;
    Tracks take;
    logWorkRanges(take, "take", log);
    take.setWorkRange(2, 8);
    EXPECT_EQ(take.workRangeBegin(), 2);
    EXPECT_EQ(take.workRangeEnd(), 8);
    take.setWorkRange(3, 8);
    take.setWorkRange(3, 9);
    take.setWorkRange(9, 3);
    EXPECT_THAT(log, ElementsAre("take 2..8", "take 3..8", "take 3..9", "take 9..3"));
    EXPECT_EQ(take.workRangeBegin(), 9);
    EXPECT_EQ(take.workRangeEnd(), 3);
}

TEST(TracksSetWorkRange, SaysNothingAboutTheRangeItHas) {
    Log log;
    Tracks take;
    logWorkRanges(take, "take", log);
    take.setWorkRange(0, 0);
    EXPECT_THAT(log, IsEmpty());
    take.setWorkRange(2, 8);
    take.setWorkRange(2, 8);
    EXPECT_THAT(log, ElementsAre("take 2..8"));
}

TEST(TracksSetWorkRange, StoresTheRangeBeforeAnnouncingIt) {
    Tracks take;
    std::string seen;
    take.onWorkRangeChanged().connect(
        [&](int, int) { seen = rangeText(take.workRangeBegin(), take.workRangeEnd()); });
    take.setWorkRange(2, 8);
    EXPECT_EQ(seen, "2..8");
}

TEST(TracksSetWorkRange, SetsTheRangeOfNestedTakesMovedByTheirOffsets) {
    Log log;
    const auto inner = takeOfLength(0);
    const auto first = takeOfLength(0);
    const auto second = takeOfLength(0);
    Tracks take;
    logWorkRanges(take, "take", log);
    logWorkRanges(*first, "first", log);
    logWorkRanges(*inner, "inner", log);
    logWorkRanges(*second, "second", log);
    first->addSubTracks(inner, 100);
    take.addSubTracks(first, 10);
    take.addSubTracks(second, -3);
    take.setWorkRange(2, 8);
    EXPECT_THAT(log, ElementsAre("take 2..8", "first 12..18", "inner 112..118", "second -1..5"));
}

TEST(TracksSetWorkRange, ReachesNestedTakesEvenWhenTheRangeIsTheSame) {
    Log log;
    const auto inner = takeOfLength(0);
    const auto nested = takeOfLength(0);
    Tracks take;
    take.setWorkRange(2, 8);
    nested->setWorkRange(12, 18);
    nested->addSubTracks(inner, 1);
    take.addSubTracks(nested, 10);
    logWorkRanges(take, "take", log);
    logWorkRanges(*nested, "nested", log);
    logWorkRanges(*inner, "inner", log);
    take.setWorkRange(2, 8);
    EXPECT_THAT(log, ElementsAre("inner 13..19"));
    nested->setWorkRange(0, 0);
    log.clear();
    take.setWorkRange(2, 8);
    EXPECT_THAT(log, ElementsAre("nested 12..18", "inner 13..19"));
}

TEST(TracksSetWorkRange, SumsWithTheOffsetStopAtTheEndsOfTheNumberRange) {
    const auto low = takeOfLength(0);
    const auto high = takeOfLength(0);
    Tracks take;
    take.addSubTracks(low, intMin);
    take.addSubTracks(high, intMax);
    take.setWorkRange(-5, 5);
    EXPECT_EQ(low->workRangeBegin(), intMin);
    EXPECT_EQ(low->workRangeEnd(), intMin + 5);
    EXPECT_EQ(high->workRangeBegin(), intMax - 5);
    EXPECT_EQ(high->workRangeEnd(), intMax);
    take.setWorkRange(intMin, intMax);
    EXPECT_EQ(low->workRangeBegin(), intMin);
    EXPECT_EQ(low->workRangeEnd(), -1);
    EXPECT_EQ(high->workRangeBegin(), -1);
    EXPECT_EQ(high->workRangeEnd(), intMax);
}

TEST(TracksLimits, ReadingTakesAnyIndexAndAnyOffset) {
    const auto frame = motion::frameAt(tarn::Time(0, 30), 1);
    for (const int offset : {intMin, -1, 0, 1, intMax}) {
        Tracks take;
        take.addTrack(motion::trackOf({frame, nullptr}, 1), offset);
        for (const int index : {intMin, intMin + 1, -1, 0, 1, intMax - 1, intMax}) {
            const auto expected = index == offset ? frame : nullptr;
            EXPECT_EQ(take.getFrame(index, 1), expected) << index << " at " << offset;
            EXPECT_EQ(take.getFrame(index)->frames().size(), expected == nullptr ? 0U : 1U);
            take.setCurrentTime(index);
            EXPECT_EQ(take.currentFrame()->frames().size(), expected == nullptr ? 0U : 1U);
            EXPECT_EQ(take.currentFrame(index), index == 1 && offset == 1 ? frame : nullptr);
        }
    }
}
