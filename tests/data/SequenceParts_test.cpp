// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Sequence.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <utility>

using motion::frameAt;
using motion::FramePtr;
using motion::Frames;
using motion::framesOf;
using motion::sequenceOf;
using tarn::Sequence;
using tarn::Time;
using testing::ElementsAre;
using testing::Pair;

namespace {

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

/// Frames 0 to count - 1 at 30 fps.
Frames frameRun(unsigned count) {
    Frames frames;
    for (unsigned i = 0; i < count; ++i) {
        frames.push_back(frameAt(Time(i, 30)));
    }
    return frames;
}

bool isComparable(const FramePtr& frame) { return !std::isnan(frame->time().toSecond()); }

bool isEarlier(const FramePtr& a, const FramePtr& b) { return a->time() < b->time(); }

/// Frames of many rates in random order, some at infinity and some without any time.
Frames shuffledFrames(std::mt19937& random, int count) {
    constexpr std::array<unsigned, 7> rates = {0, 24, 25, 30, 50, 60, 120};
    std::uniform_int_distribution<std::size_t> rate(0, rates.size() - 1);
    std::uniform_int_distribution<unsigned> index(0, 400);
    std::bernoulli_distribution timeless(0.1);
    Frames frames;
    for (int i = 0; i < count; ++i) {
        frames.push_back(
            frameAt(timeless(random) ? Time() : Time(index(random), rates[rate(random)])));
    }
    return frames;
}

} // namespace

TEST(SequenceParts, BetweenTwoTimesBothBoundsAreIncluded) {
    const Frames frames = frameRun(10);
    const auto part = sequenceOf(frames)->subSequence(Time(3, 30), Time(5, 30));
    ASSERT_NE(part, nullptr);
    EXPECT_THAT(framesOf(*part), ElementsAre(frames[3], frames[4], frames[5]));
    EXPECT_THAT(part->getTimeRange(), Pair(Time(3, 30), Time(5, 30)));
    EXPECT_EQ(part->dataType(), 1);
}

TEST(SequenceParts, ABoundAtAnotherRateLeavesItsOwnSecondOut) {
    const Frames frames = frameRun(10);
    const auto part = sequenceOf(frames)->subSequence(Time(6, 60), Time(10, 60));
    ASSERT_NE(part, nullptr);
    EXPECT_THAT(framesOf(*part), ElementsAre(frames[4]));
}

TEST(SequenceParts, KeepTheStoredOrder) {
    const auto nine = frameAt(Time(9, 30), 7);
    const auto two = frameAt(Time(2, 30), 7);
    const auto five = frameAt(Time(5, 30), 7);
    const auto sequence = sequenceOf({nine, two, five}, 7);
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(3, 30), Time(9, 30))),
                ElementsAre(nine, five));
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(3, 30))), ElementsAre(nine, five));
    EXPECT_THAT(framesOf(*sequence->subSequence(1)), ElementsAre(two, five));
    EXPECT_THAT(framesOf(*sequence->subSequence(0, 1)), ElementsAre(nine, two));
    EXPECT_EQ(sequence->subSequence(Time(3, 30), Time(9, 30))->dataType(), 7);
    EXPECT_EQ(sequence->subSequence(Time(3, 30))->dataType(), 7);
    EXPECT_EQ(sequence->subSequence(1)->dataType(), 7);
    EXPECT_EQ(sequence->subSequence(0, 1)->dataType(), 7);
}

TEST(SequenceParts, HaveARangeOfTheirOwn) {
    const auto sequence =
        sequenceOf({frameAt(Time(9, 30)), frameAt(Time(2, 30)), frameAt(Time(5, 30))});
    EXPECT_THAT(sequence->subSequence(Time(3, 30), Time(6, 30))->getTimeRange(),
                Pair(Time(5, 30), Time(5, 30)));
    EXPECT_THAT(sequence->subSequence(Time(3, 30))->getTimeRange(), Pair(Time(5, 30), Time(9, 30)));
    EXPECT_THAT(sequence->subSequence(1)->getTimeRange(), Pair(Time(2, 30), Time(5, 30)));
    EXPECT_THAT(sequence->subSequence(2, 2)->getTimeRange(), Pair(Time(5, 30), Time(5, 30)));
    EXPECT_THAT(sequence->getTimeRange(), Pair(Time(2, 30), Time(9, 30)));
}

TEST(SequenceParts, BetweenTimesMissTheSequenceOnlyOutsideItsRange) {
    const auto sequence = sequenceOf({frameAt(Time(5, 30)), frameAt(Time(9, 30))});
    EXPECT_EQ(sequence->subSequence(Time(10, 30), Time(20, 30)), nullptr);
    EXPECT_EQ(sequence->subSequence(Time(0, 30), Time(4, 30)), nullptr);
    EXPECT_EQ(sequence->subSequence(Time(19, 60), Time(20, 30)), nullptr);
    EXPECT_EQ(sequence->subSequence(Time(0, 30), Time(9, 60)), nullptr);
    const auto gap = sequence->subSequence(Time(6, 30), Time(8, 30));
    ASSERT_NE(gap, nullptr);
    EXPECT_EQ(gap->frameCount(), 0);
    EXPECT_THAT(gap->getTimeRange(), Pair(Time(), Time()));
    const auto backwards = sequence->subSequence(Time(9, 30), Time(5, 30));
    ASSERT_NE(backwards, nullptr);
    EXPECT_EQ(backwards->frameCount(), 0);
}

TEST(SequenceParts, BetweenTimesReachToTheVeryEndsOfTheRange) {
    const auto five = frameAt(Time(5, 30));
    const auto nine = frameAt(Time(9, 30));
    const auto sequence = sequenceOf({five, nine});
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(9, 30), Time(20, 30))), ElementsAre(nine));
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(0, 30), Time(5, 30))), ElementsAre(five));
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(0, 30), Time(99, 30))),
                ElementsAre(five, nine));
    const auto sameSecond = sequence->subSequence(Time(18, 60), Time(20, 60));
    ASSERT_NE(sameSecond, nullptr) << "not later than the range's end";
    EXPECT_EQ(sameSecond->frameCount(), 0);
}

TEST(SequenceParts, FromATimeOn) {
    const Frames frames = frameRun(6);
    const auto sequence = sequenceOf(frames);
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(4, 30))), ElementsAre(frames[4], frames[5]));
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(7, 60))), ElementsAre(frames[4], frames[5]));
    EXPECT_THAT(framesOf(*sequence->subSequence(Time(8, 60))), ElementsAre(frames[5]));
    EXPECT_EQ(sequence->subSequence(Time(0, 30))->frameCount(), 6);
    EXPECT_EQ(sequence->subSequence(Time(6, 30)), nullptr);
    EXPECT_EQ(sequence->subSequence(Time(11, 60)), nullptr);
}

TEST(SequenceParts, FromATimeOnIsEmptyWhereTheFramesHaveMovedAway) {
    const auto frame = frameAt(Time(5, 30));
    const auto sequence = sequenceOf({frame});
    frame->setTime(Time(1, 30));
    const auto part = sequence->subSequence(Time(5, 30));
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(part->frameCount(), 0);
}

TEST(SequenceParts, FromAPositionOn) {
    const Frames frames = frameRun(4);
    const auto sequence = sequenceOf(frames);
    EXPECT_THAT(framesOf(*sequence->subSequence(0)),
                ElementsAre(frames[0], frames[1], frames[2], frames[3]));
    EXPECT_THAT(framesOf(*sequence->subSequence(3)), ElementsAre(frames[3]));
    EXPECT_EQ(sequence->subSequence(4), nullptr);
    EXPECT_EQ(sequence->subSequence(-1), nullptr);
    EXPECT_EQ(sequence->subSequence(intMax), nullptr);
    EXPECT_EQ(sequence->subSequence(intMin), nullptr);
}

TEST(SequenceParts, BetweenTwoPositionsBothAreIncluded) {
    const Frames frames = frameRun(16);
    const auto sequence = sequenceOf(frames);
    EXPECT_EQ(sequence->subSequence(10, 15)->frameCount(), 6);
    EXPECT_THAT(framesOf(*sequence->subSequence(2, 4)),
                ElementsAre(frames[2], frames[3], frames[4]));
    EXPECT_THAT(framesOf(*sequence->subSequence(2, 2)), ElementsAre(frames[2]));
    EXPECT_EQ(framesOf(*sequence->subSequence(0, 15)), frames);
}

TEST(SequenceParts, PositionsOutsideTheSequenceGiveNoPart) {
    const auto sequence = sequenceOf(frameRun(5));
    EXPECT_EQ(sequence->subSequence(-1, 2), nullptr);
    EXPECT_EQ(sequence->subSequence(intMin, 2), nullptr);
    EXPECT_EQ(sequence->subSequence(2, 5), nullptr);
    EXPECT_EQ(sequence->subSequence(2, intMax), nullptr);
    EXPECT_EQ(sequence->subSequence(7, 6), nullptr);
}

TEST(SequenceParts, PositionsInReverseGiveAnEmptyPart) {
    const auto sequence = sequenceOf(frameRun(5));
    for (const auto& [first, last] : {std::pair(3, 2), std::pair(0, -1), std::pair(1, intMin),
                                      std::pair(99, 4), std::pair(intMax, 0)}) {
        const auto part = sequence->subSequence(first, last);
        ASSERT_NE(part, nullptr) << first << ", " << last;
        EXPECT_EQ(part->frameCount(), 0);
        EXPECT_EQ(part->dataType(), 1);
    }
}

TEST(SequenceParts, ShareTheFramesAndNothingElse) {
    const auto frame = frameAt(Time(1, 30));
    const auto sequence = sequenceOf({frame});
    const auto part = sequence->subSequence(0, 0);
    EXPECT_EQ(frame.use_count(), 3);
    part->addFrame(frameAt(Time(2, 30)));
    EXPECT_EQ(sequence->frameCount(), 1);
}

TEST(SequenceParts, OfAnEmptySequence) {
    Sequence empty(3);
    EXPECT_EQ(empty.subSequence(0), nullptr);
    EXPECT_EQ(empty.subSequence(0, 0), nullptr);
    ASSERT_NE(empty.subSequence(0, -1), nullptr);
    EXPECT_EQ(empty.subSequence(0, -1)->frameCount(), 0);
    // The default range is not a number: nothing is later or earlier than it.
    ASSERT_NE(empty.subSequence(Time()), nullptr);
    EXPECT_EQ(empty.subSequence(Time())->frameCount(), 0);
    EXPECT_EQ(empty.subSequence(Time())->dataType(), 3);
    ASSERT_NE(empty.subSequence(Time(5, 30)), nullptr);
    ASSERT_NE(empty.subSequence(Time(), Time()), nullptr);
    EXPECT_EQ(empty.subSequence(Time(), Time())->frameCount(), 0);
}

TEST(SequenceSort, OrdersTheFramesByTime) {
    const auto nine = frameAt(Time(9, 30));
    const auto two = frameAt(Time(2, 30));
    const auto five = frameAt(Time(5, 30));
    const auto sequence = sequenceOf({nine, two, five});
    sequence->sortByTime();
    EXPECT_THAT(framesOf(*sequence), ElementsAre(two, five, nine));
}

TEST(SequenceSort, ComparesRatesBySeconds) {
    const auto half = frameAt(Time(15, 30));
    const auto quarter = frameAt(Time(30, 120));
    const auto third = frameAt(Time(8, 24));
    const auto infinite = frameAt(Time(1, 0));
    const auto sequence = sequenceOf({infinite, half, quarter, third});
    sequence->sortByTime();
    EXPECT_THAT(framesOf(*sequence), ElementsAre(quarter, third, half, infinite));
}

TEST(SequenceSort, AnEmptySequenceStaysEmpty) {
    Sequence sequence(1);
    sequence.sortByTime();
    EXPECT_EQ(sequence.frameCount(), 0);
}

TEST(SequenceSort, GoesByTheFramesPresentTimes) {
    const auto moved = frameAt(Time(1, 30));
    const auto fixed = frameAt(Time(2, 30));
    const auto sequence = sequenceOf({moved, fixed});
    moved->setTime(Time(3, 30));
    sequence->sortByTime();
    EXPECT_THAT(framesOf(*sequence), ElementsAre(fixed, moved));
}

TEST(SequenceSort, PutsFramesThatCannotBeComparedBehindAllOthers) {
    const auto timeless = frameAt(Time());
    const auto infinite = frameAt(Time(1, 0));
    const auto five = frameAt(Time(5, 30));
    const auto two = frameAt(Time(2, 30));
    const auto sequence = sequenceOf({five, timeless, infinite, two});
    sequence->sortByTime();
    EXPECT_THAT(framesOf(*sequence), ElementsAre(two, five, infinite, timeless));
}

TEST(SequenceSort, KeepsEveryFrameAndOrdersAllThatCompareWhateverTheTimesAre) {
    std::mt19937 random(20240611);
    for (const int count : {2, 3, 15, 16, 17, 33, 100, 1000, 5000}) {
        const Frames frames = shuffledFrames(random, count);
        const auto sequence = sequenceOf(frames);
        sequence->sortByTime();
        const Frames sorted = framesOf(*sequence);
        EXPECT_EQ(std::set<FramePtr>(sorted.begin(), sorted.end()),
                  std::set<FramePtr>(frames.begin(), frames.end()));
        EXPECT_EQ(sorted.size(), frames.size());
        Frames comparable;
        std::copy_if(sorted.begin(), sorted.end(), std::back_inserter(comparable), isComparable);
        EXPECT_TRUE(std::is_sorted(comparable.begin(), comparable.end(), isEarlier)) << count;
        EXPECT_TRUE(std::is_partitioned(sorted.begin(), sorted.end(), isComparable)) << count;
    }
}

TEST(SequenceSort, SurvivesThousandsOfFramesWithoutATime) {
    Frames frames;
    for (int i = 0; i < 4000; ++i) {
        frames.push_back(frameAt(i % 3 == 0 ? Time(static_cast<unsigned>(4000 - i), 60) : Time()));
    }
    const auto sequence = sequenceOf(frames);
    sequence->sortByTime();
    EXPECT_EQ(sequence->frameCount(), 4000);
    const Frames sorted = framesOf(*sequence);
    EXPECT_EQ(std::count_if(sorted.begin(), sorted.end(), isComparable), 1334);
    EXPECT_TRUE(std::is_sorted(sorted.begin(), std::next(sorted.begin(), 1334), isEarlier));
}
