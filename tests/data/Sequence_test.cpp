// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Sequence.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <utility>

using motion::frameAt;
using motion::framesOf;
using motion::sequenceOf;
using tarn::Sequence;
using tarn::Time;
using testing::ElementsAre;
using testing::Pair;

namespace {

static_assert(!std::is_convertible_v<int, Sequence>);
static_assert(!std::is_copy_constructible_v<Sequence>);

} // namespace

TEST(Sequence, StartsEmptyWithTheDefaultTimeRange) {
    Sequence sequence(4);
    EXPECT_EQ(sequence.dataType(), 4);
    EXPECT_EQ(sequence.frameCount(), 0);
    EXPECT_EQ(sequence.getFrame(0), nullptr);
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(), Time()));
}

TEST(Sequence, SharesItsFramesAndReleasesThemWhenItGoes) {
    const auto frame = frameAt(Time(1, 30));
    {
        Sequence sequence(1);
        sequence.addFrame(frame);
        EXPECT_EQ(sequence.getFrame(0), frame);
        EXPECT_EQ(frame.use_count(), 2);
    }
    EXPECT_EQ(frame.use_count(), 1);
}

TEST(Sequence, RefusesFramesOfAnotherDataType) {
    Sequence sequence(1);
    EXPECT_FALSE(sequence.addFrame(frameAt(Time(1, 30), 2)));
    EXPECT_EQ(sequence.frameCount(), 0);
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(), Time()));
    EXPECT_TRUE(sequence.addFrame(frameAt(Time(5, 30))));
    EXPECT_FALSE(sequence.addFrame(frameAt(Time(9, 30), -1)));
    EXPECT_EQ(sequence.frameCount(), 1);
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(5, 30), Time(5, 30)));
}

TEST(Sequence, KeepsTheOrderOfAddingAndDuplicates) {
    const auto late = frameAt(Time(9, 30));
    const auto early = frameAt(Time(2, 30));
    const auto middle = frameAt(Time(5, 30));
    const auto sequence = sequenceOf({late, early, late, middle});
    EXPECT_THAT(framesOf(*sequence), ElementsAre(late, early, late, middle));
}

TEST(Sequence, HasNoFrameAtOrBeyondItsCount) {
    const auto frame = frameAt(Time(1, 30));
    const auto sequence = sequenceOf({frame});
    EXPECT_EQ(sequence->getFrame(0), frame);
    EXPECT_EQ(sequence->getFrame(1), nullptr);
    EXPECT_EQ(sequence->getFrame(1000000), nullptr);
}

TEST(SequenceRange, TheFirstFrameSetsBothEnds) {
    const auto sequence = sequenceOf({frameAt(Time(7, 30))});
    EXPECT_THAT(sequence->getTimeRange(), Pair(Time(7, 30), Time(7, 30)));
}

TEST(SequenceRange, WidensToEarlierAndToLaterFrames) {
    Sequence sequence(1);
    sequence.addFrame(frameAt(Time(7, 30)));
    sequence.addFrame(frameAt(Time(5, 30)));
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(5, 30), Time(7, 30)));
    sequence.addFrame(frameAt(Time(9, 30)));
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(5, 30), Time(9, 30)));
    sequence.addFrame(frameAt(Time(6, 30)));
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(5, 30), Time(9, 30)));
}

TEST(SequenceRange, ComparesRatesBySeconds) {
    Sequence sequence(1);
    sequence.addFrame(frameAt(Time(10, 30)));
    sequence.addFrame(frameAt(Time(15, 60)));
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(15, 60), Time(10, 30)));
    sequence.addFrame(frameAt(Time(9, 24)));
    EXPECT_THAT(sequence.getTimeRange(), Pair(Time(15, 60), Time(9, 24)));
}

TEST(SequenceRange, KeepsTheFirstOfTimesOfTheSameSecond) {
    const auto sequence = sequenceOf({frameAt(Time(1, 30)), frameAt(Time(2, 60))});
    EXPECT_THAT(sequence->getTimeRange(), Pair(Time(1, 30), Time(1, 30)));
}

TEST(SequenceRange, IsNotTouchedByLaterChangesOfAFramesTime) {
    const auto frame = frameAt(Time(7, 30));
    const auto sequence = sequenceOf({frame, frameAt(Time(8, 30))});
    frame->setTime(Time(100, 30));
    EXPECT_THAT(sequence->getTimeRange(), Pair(Time(7, 30), Time(8, 30)));
    sequence->sortByTime();
    EXPECT_THAT(sequence->getTimeRange(), Pair(Time(7, 30), Time(8, 30)));
}

TEST(SequenceRange, DoesNotWidenToATimeThatCannotBeCompared) {
    const auto sequence = sequenceOf({frameAt(Time(7, 30)), frameAt(Time())});
    EXPECT_EQ(sequence->frameCount(), 2);
    EXPECT_THAT(sequence->getTimeRange(), Pair(Time(7, 30), Time(7, 30)));
}

TEST(SequenceFind, FindsTheFirstFrameOfExactlyThatTime) {
    const auto wanted = frameAt(Time(2, 60));
    const auto sequence =
        sequenceOf({frameAt(Time(0, 30)), frameAt(Time(1, 30)), wanted, frameAt(Time(2, 60))});
    EXPECT_EQ(sequence->findFrame(Time(2, 60)), wanted);
}

TEST(SequenceFind, DoesNotFindTheSameSecondAtAnotherRate) {
    const auto sequence = sequenceOf({frameAt(Time(1, 30))});
    EXPECT_EQ(sequence->findFrame(Time(2, 60)), nullptr);
    EXPECT_EQ(sequence->findFirstFrame(Time(2, 60)), nullptr);
    EXPECT_NE(sequence->findFrame(Time(1, 30)), nullptr);
    EXPECT_NE(sequence->findFirstFrame(Time(1, 30)), nullptr);
}

TEST(SequenceFind, FindsNothingBetweenFrames) {
    const auto sequence = sequenceOf({frameAt(Time(1, 30)), frameAt(Time(3, 30))});
    EXPECT_EQ(sequence->findFrame(Time(2, 30)), nullptr);
}

TEST(SequenceFind, FirstFrameIsTheOneAtOrAfterTheTime) {
    const auto one = frameAt(Time(1, 30));
    const auto three = frameAt(Time(3, 30));
    const auto five = frameAt(Time(5, 30));
    const auto sequence = sequenceOf({one, three, five});
    EXPECT_EQ(sequence->findFirstFrame(Time(1, 30)), one);
    EXPECT_EQ(sequence->findFirstFrame(Time(2, 30)), three);
    EXPECT_EQ(sequence->findFirstFrame(Time(3, 30)), three);
    EXPECT_EQ(sequence->findFirstFrame(Time(5, 30)), five);
}

TEST(SequenceFind, FirstFrameSkipsTheSameSecondAtAnotherRate) {
    const auto later = frameAt(Time(3, 60));
    const auto sequence = sequenceOf({frameAt(Time(1, 30)), later});
    EXPECT_EQ(sequence->findFirstFrame(Time(2, 60)), later);
}

TEST(SequenceFind, FirstFrameGoesByStoredOrderUntilSorted) {
    const auto nine = frameAt(Time(9, 30));
    const auto five = frameAt(Time(5, 30));
    const auto one = frameAt(Time(1, 30));
    const auto sequence = sequenceOf({nine, five, one});
    EXPECT_EQ(sequence->findFirstFrame(Time(4, 30)), nine);
    sequence->sortByTime();
    EXPECT_EQ(sequence->findFirstFrame(Time(4, 30)), five);
}

TEST(SequenceFind, FindsNothingOutsideTheRange) {
    const auto sequence = sequenceOf({frameAt(Time(5, 30)), frameAt(Time(9, 30))});
    EXPECT_EQ(sequence->findFrame(Time(4, 30)), nullptr);
    EXPECT_EQ(sequence->findFrame(Time(10, 30)), nullptr);
    EXPECT_EQ(sequence->findFirstFrame(Time(10, 30)), nullptr);
}

TEST(SequenceFind, FirstFrameFindsNothingForATimeBeforeTheRange) {
    const auto sequence = sequenceOf({frameAt(Time(5, 30)), frameAt(Time(9, 30))});
    EXPECT_EQ(sequence->findFirstFrame(Time(4, 30)), nullptr);
    EXPECT_EQ(sequence->findFirstFrame(Time(0, 30)), nullptr);
}

TEST(SequenceFind, LooksAtTheRangeBeforeTheFrames) {
    const auto moved = frameAt(Time(5, 30));
    const auto sequence = sequenceOf({moved, frameAt(Time(9, 30))});
    moved->setTime(Time(1, 30));
    EXPECT_EQ(sequence->findFrame(Time(1, 30)), nullptr) << "the range still begins at 5";
    moved->setTime(Time(20, 30));
    EXPECT_EQ(sequence->findFrame(Time(20, 30)), nullptr) << "the range still ends at 9";
    EXPECT_EQ(sequence->findFirstFrame(Time(20, 30)), nullptr);
}

TEST(SequenceFind, ReadsTheFramesPresentTimes) {
    const auto moved = frameAt(Time(5, 30));
    const auto last = frameAt(Time(9, 30));
    const auto sequence = sequenceOf({moved, last});
    moved->setTime(Time(7, 30));
    EXPECT_EQ(sequence->findFrame(Time(5, 30)), nullptr);
    EXPECT_EQ(sequence->findFrame(Time(7, 30)), moved);
    EXPECT_EQ(sequence->findFirstFrame(Time(6, 30)), moved);
    moved->setTime(Time(5, 30));
    last->setTime(Time(5, 30));
    EXPECT_EQ(sequence->findFirstFrame(Time(9, 30)), nullptr)
        << "in range, yet no frame left there";
}

TEST(SequenceFind, AnEmptySequenceHasNothing) {
    Sequence sequence(1);
    EXPECT_EQ(sequence.findFrame(Time()), nullptr);
    EXPECT_EQ(sequence.findFirstFrame(Time()), nullptr);
    EXPECT_EQ(sequence.findFrame(Time(1, 30)), nullptr);
    EXPECT_EQ(sequence.findFirstFrame(Time(1, 30)), nullptr);
}

TEST(SequenceFind, FindsATimeThatCannotBeComparedByItsFields) {
    const auto timeless = frameAt(Time());
    const auto sequence = sequenceOf({frameAt(Time(5, 30)), timeless});
    EXPECT_EQ(sequence->findFrame(Time()), timeless);
    EXPECT_EQ(sequence->findFirstFrame(Time()), timeless);
}

#ifndef NDEBUG
TEST(SequenceDeathTest, NoFrameAndNegativePositionsAreTheCallersErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Sequence sequence(1);
    EXPECT_DEATH(sequence.addFrame(nullptr), "Assertion");
    EXPECT_DEATH(sequence.getFrame(-1), "Assertion");
}
#endif
