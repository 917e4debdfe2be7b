// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

using motion::frameAt;
using motion::framesOf;
using motion::takeOfLength;
using motion::trackOf;
using tarn::Time;
using tarn::Tracks;
using testing::Each;
using testing::ElementsAre;
using testing::IsNull;

namespace {

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

} // namespace

TEST(TracksSetFrame, MakesAMissingTrackAsLongAsTheTake) {
    const auto frame = frameAt(Time(2, 30), 4);
    const auto take = takeOfLength(5);
    take->addTrack(trackOf({nullptr}, 1), 3);
    take->setFrame(2, 4, frame);
    ASSERT_EQ(take->trackCount(), 2);
    const auto made = take->getTrack(1);
    EXPECT_EQ(made->dataType(), 4);
    EXPECT_EQ(take->trackOffset(made), 0);
    EXPECT_THAT(framesOf(*made), ElementsAre(nullptr, nullptr, frame, nullptr, nullptr));
    EXPECT_EQ(take->getFrame(2, 4), frame);
}

TEST(TracksSetFrame, UsesTheTrackThatIsThere) {
    const auto first = frameAt(Time(0, 30), 4);
    const auto second = frameAt(Time(1, 30), 4);
    const auto take = takeOfLength(2);
    take->setFrame(0, 4, first);
    take->setFrame(1, 4, second);
    ASSERT_EQ(take->trackCount(), 1);
    EXPECT_THAT(framesOf(*take->getTrack(0)), ElementsAre(first, second));
}

TEST(TracksSetFrame, ReplacesAndEmptiesSlots) {
    const auto take = takeOfLength(1);
    const auto replacement = frameAt(Time(0, 30), 4);
    take->setFrame(0, 4, frameAt(Time(0, 30), 4));
    take->setFrame(0, 4, replacement);
    EXPECT_EQ(take->getFrame(0, 4), replacement);
    take->setFrame(0, 4, nullptr);
    EXPECT_EQ(take->getFrame(0, 4), nullptr);
}

TEST(TracksSetFrame, AddsTheOffsetThatGetFrameSubtracts) {
    const auto frame = frameAt(Time(0, 30), 4);
    Tracks take;
    const auto track = trackOf({nullptr, nullptr, nullptr, nullptr}, 4);
    take.addTrack(track, 2);
    take.setFrame(1, 4, frame);
    EXPECT_THAT(framesOf(*track), ElementsAre(nullptr, nullptr, nullptr, frame));
    EXPECT_EQ(take.getFrame(1, 4), nullptr);
    EXPECT_EQ(take.getFrame(5, 4), frame);
}

TEST(TracksSetFrame, ANegativeOffsetNeedsALaterIndex) {
    const auto frame = frameAt(Time(0, 30), 4);
    Tracks take;
    const auto track = trackOf({nullptr, nullptr}, 4);
    take.addTrack(track, -3);
    take.setFrame(4, 4, frame);
    EXPECT_THAT(framesOf(*track), ElementsAre(nullptr, frame));
    take.removeTrack(track);
    take.addTrack(track, 3);
    take.setFrame(-3, 4, frame);
    EXPECT_THAT(framesOf(*track), ElementsAre(frame, frame)) << "a negative index, a valid slot";
}

TEST(TracksSetFrame, GoesByTheFirstEntryOfTheDataType) {
    const auto frame = frameAt(Time(0, 30), 4);
    const auto track = trackOf({nullptr, nullptr, nullptr}, 4);
    const auto other = trackOf({nullptr, nullptr, nullptr}, 4);
    Tracks take;
    take.addTrack(track, 1);
    take.addTrack(other, 0);
    take.addTrack(track, 0);
    take.setFrame(1, 4, frame);
    EXPECT_THAT(framesOf(*track), ElementsAre(nullptr, nullptr, frame));
    EXPECT_THAT(framesOf(*other), Each(IsNull()));
}

TEST(TracksSetFrame, DoesNotCompareTheFramesDataType) {
    const auto foreign = frameAt(Time(0, 30), 9);
    const auto take = takeOfLength(1);
    take->setFrame(0, 4, foreign);
    EXPECT_EQ(take->getFrame(0, 4), foreign);
    EXPECT_EQ(take->getTrack(0)->dataType(), 4);
}

TEST(TracksSetFrame, LeavesLengthCountAndTimesAlone) {
    const auto take = takeOfLength(3);
    take->setFrame(1, 4, frameAt(Time(9, 60), 4));
    EXPECT_EQ(take->timeLength(), 3);
    EXPECT_EQ(take->frameCount(), 0);
    EXPECT_EQ(take->getTime(1), Time());
}

#ifdef NDEBUG
TEST(TracksSetFrame, IgnoresSlotsThatTheTrackDoesNotHave) {
    const auto frame = frameAt(Time(0, 30), 4);
    Tracks take;
    const auto track = trackOf({nullptr, nullptr}, 4);
    take.addTrack(track, 1);
    for (const int index : {-2, 1, 2, intMin, intMax}) {
        take.setFrame(index, 4, frame);
        EXPECT_THAT(framesOf(*track), Each(IsNull())) << index;
    }
    EXPECT_EQ(frame.use_count(), 1);
}

TEST(TracksSetFrame, StillMakesTheTrackInATakeWithoutLength) {
    Tracks take;
    take.setFrame(0, 4, frameAt(Time(0, 30), 4));
    ASSERT_EQ(take.trackCount(), 1);
    EXPECT_EQ(take.getTrack(0)->dataType(), 4);
    EXPECT_EQ(take.getTrack(0)->frameCount(), 0);
}

TEST(TracksSetFrame, SumsOfIndexAndOffsetDoNotWrapIntoTheTrack) {
    Tracks take;
    const auto high = trackOf({nullptr, nullptr}, 4);
    const auto low = trackOf({nullptr, nullptr}, 5);
    take.addTrack(high, intMax);
    take.addTrack(low, intMin);
    take.setFrame(intMax, 4, frameAt(Time(0, 30), 4));
    take.setFrame(intMin, 5, frameAt(Time(0, 30), 5));
    EXPECT_THAT(framesOf(*high), Each(IsNull()));
    EXPECT_THAT(framesOf(*low), Each(IsNull()));
}
#else
TEST(TracksSetFrameDeathTest, SlotsThatTheTrackDoesNotHaveAreTheCallersErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Tracks take;
    take.addTrack(trackOf({nullptr, nullptr}, 4), 1);
    take.addTrack(trackOf({nullptr, nullptr}, 5), intMax);
    take.addTrack(trackOf({nullptr, nullptr}, 6), intMin);
    EXPECT_DEATH(take.setFrame(-2, 4, nullptr), "Assertion");
    EXPECT_DEATH(take.setFrame(1, 4, nullptr), "Assertion");
    EXPECT_DEATH(take.setFrame(intMax, 5, nullptr), "Assertion");
    EXPECT_DEATH(take.setFrame(intMin, 6, nullptr), "Assertion");
    EXPECT_DEATH(take.setFrame(0, 7, nullptr), "Assertion") << "made with no slots";
}

TEST(TracksDeathTest, NoTrackNoNestedTakeAndNegativePositionsAreTheCallersErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Tracks take;
    EXPECT_DEATH(take.addTrack(nullptr, 0), "Assertion");
    EXPECT_DEATH(take.addSubTracks(nullptr, 0), "Assertion");
    EXPECT_DEATH(take.subTracks(-1), "Assertion");
}
#endif
