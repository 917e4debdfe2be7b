// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Track.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

using motion::frameAt;
using motion::Frames;
using motion::framesOf;
using motion::sequenceOf;
using motion::trackOf;
using tarn::Sequence;
using tarn::Time;
using tarn::Track;
using testing::Each;
using testing::ElementsAre;
using testing::IsNull;

namespace {

static_assert(!std::is_convertible_v<int, Track>);
static_assert(!std::is_copy_constructible_v<Track>);

/// `count` different frames; their times run backwards, since a track does not look at them.
Frames someFrames(unsigned count) {
    Frames frames;
    for (unsigned i = 0; i < count; ++i) {
        frames.push_back(frameAt(Time(100 - i, 30)));
    }
    return frames;
}

} // namespace

TEST(Track, StartsWithoutSlots) {
    const Track track(-3);
    EXPECT_EQ(track.dataType(), -3);
    EXPECT_EQ(track.frameCount(), 0);
}

TEST(Track, NewSlotsAreEmpty) {
    Track track(1);
    track.setFrameCount(3);
    EXPECT_EQ(track.frameCount(), 3);
    EXPECT_THAT(framesOf(track), Each(IsNull()));
}

TEST(Track, GrowingKeepsTheSlotsThatWereThere) {
    const auto frame = frameAt(Time(1, 30));
    const auto track = trackOf({nullptr, frame});
    track->setFrameCount(4);
    EXPECT_THAT(framesOf(*track), ElementsAre(nullptr, frame, nullptr, nullptr));
}

TEST(Track, ShrinkingReleasesTheSlotsBeyondTheCount) {
    const auto kept = frameAt(Time(1, 30));
    const auto dropped = frameAt(Time(2, 30));
    const auto track = trackOf({kept, dropped});
    EXPECT_EQ(dropped.use_count(), 2);
    track->setFrameCount(1);
    EXPECT_EQ(dropped.use_count(), 1);
    EXPECT_THAT(framesOf(*track), ElementsAre(kept));
    track->setFrameCount(2);
    EXPECT_THAT(framesOf(*track), ElementsAre(kept, nullptr));
    track->setFrameCount(0);
    EXPECT_EQ(kept.use_count(), 1);
    EXPECT_EQ(track->frameCount(), 0);
}

TEST(Track, ReplacesASlotAndReleasesWhatWasThere) {
    const auto first = frameAt(Time(1, 30));
    const auto second = frameAt(Time(1, 30));
    const auto track = trackOf({nullptr, first, nullptr});
    track->setFrame(1, second);
    EXPECT_EQ(track->getFrame(1), second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 2);
    track->setFrame(1, nullptr);
    EXPECT_EQ(track->getFrame(1), nullptr);
    EXPECT_EQ(second.use_count(), 1);
}

TEST(Track, ReleasesItsFramesWhenItGoes) {
    const auto frame = frameAt(Time(1, 30));
    auto track = trackOf({frame});
    track.reset();
    EXPECT_EQ(frame.use_count(), 1);
}

TEST(Track, TakesFramesOfAnyDataType) {
    const auto foreign = frameAt(Time(1, 30), 99);
    const auto track = trackOf({nullptr}, 1);
    track->setFrame(0, foreign);
    EXPECT_EQ(track->getFrame(0), foreign);
    EXPECT_EQ(track->dataType(), 1);
}

TEST(Track, TakesOverASequenceInItsOwnOrder) {
    const Frames frames = someFrames(4);
    const auto track = trackOf({frameAt(Time(1, 30))});
    track->setSequence(sequenceOf(frames));
    EXPECT_EQ(framesOf(*track), frames);
}

TEST(Track, ShrinksToTheSequenceItTakesOver) {
    const Frames former = someFrames(5);
    const Frames frames = someFrames(2);
    const auto track = trackOf(former);
    track->setSequence(sequenceOf(frames));
    EXPECT_EQ(framesOf(*track), frames);
    EXPECT_EQ(former[0].use_count(), 1);
    EXPECT_EQ(former[4].use_count(), 1);
}

TEST(Track, TakesOverASequenceOfAnotherDataType) {
    const auto frame = frameAt(Time(1, 30), 8);
    Track track(1);
    track.setSequence(sequenceOf({frame}, 8));
    EXPECT_THAT(framesOf(track), ElementsAre(frame));
    EXPECT_EQ(track.dataType(), 1);
}

TEST(Track, AnEmptySequenceLeavesNoSlots) {
    const auto track = trackOf(someFrames(3));
    track->setSequence(std::make_shared<Sequence>(1));
    EXPECT_EQ(track->frameCount(), 0);
}

TEST(Track, SharesTheFramesOfASequenceButNotItsLaterChanges) {
    const Frames frames = someFrames(2);
    const auto sequence = sequenceOf(frames);
    Track track(1);
    track.setSequence(sequence);
    sequence->addFrame(frameAt(Time(1, 30)));
    sequence->sortByTime();
    EXPECT_EQ(framesOf(track), frames);
    EXPECT_EQ(sequence.use_count(), 1);
}

TEST(TrackOffset, WhatDoesNotFitIsDroppedAndSlotsBelowStay) {
    const Frames former = someFrames(10);
    const Frames frames = someFrames(5);
    const auto track = trackOf(former);
    track->setSequence(sequenceOf(frames), 7);
    EXPECT_THAT(framesOf(*track),
                ElementsAre(former[0], former[1], former[2], former[3], former[4], former[5],
                            former[6], frames[0], frames[1], frames[2]));
    EXPECT_EQ(frames[3].use_count(), 1);
}

TEST(TrackOffset, SlotsPastTheEndOfTheSequenceBecomeEmpty) {
    const Frames former = someFrames(10);
    const Frames frames = someFrames(2);
    const auto track = trackOf(former);
    track->setSequence(sequenceOf(frames), 3);
    EXPECT_THAT(framesOf(*track), ElementsAre(former[0], former[1], former[2], frames[0], frames[1],
                                              nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(former[5].use_count(), 1);
}

TEST(TrackOffset, ZeroLaysTheSequenceFromTheFirstSlotWithoutResizing) {
    const Frames frames = someFrames(5);
    const auto track = trackOf({nullptr, nullptr, nullptr});
    track->setSequence(sequenceOf(frames), 0);
    EXPECT_THAT(framesOf(*track), ElementsAre(frames[0], frames[1], frames[2]));
}

TEST(TrackOffset, AtOrBeyondTheSlotsChangesNothing) {
    const Frames former = someFrames(3);
    const auto track = trackOf(former);
    track->setSequence(sequenceOf(someFrames(2)), 3);
    EXPECT_EQ(framesOf(*track), former);
    track->setSequence(sequenceOf(someFrames(2)), 1000);
    EXPECT_EQ(framesOf(*track), former);
}

TEST(TrackOffset, InATrackWithoutSlotsNothingFits) {
    Track track(1);
    track.setSequence(sequenceOf(someFrames(2)), 0);
    EXPECT_EQ(track.frameCount(), 0);
}

TEST(TrackOffset, AnEmptySequenceEmptiesTheSlotsFromThere) {
    const Frames former = someFrames(3);
    const auto track = trackOf(former);
    track->setSequence(std::make_shared<Sequence>(1), 1);
    EXPECT_THAT(framesOf(*track), ElementsAre(former[0], nullptr, nullptr));
}

TEST(TrackOffset, TheLastSlotTakesTheFirstFrame) {
    const Frames former = someFrames(3);
    const Frames frames = someFrames(2);
    const auto track = trackOf(former);
    track->setSequence(sequenceOf(frames), 2);
    EXPECT_THAT(framesOf(*track), ElementsAre(former[0], former[1], frames[0]));
}

#ifndef NDEBUG
TEST(TrackDeathTest, IndexesOutsideTheSlotsAreTheCallersErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto track = trackOf({nullptr, nullptr});
    EXPECT_DEATH(track->getFrame(-1), "Assertion");
    EXPECT_DEATH(track->getFrame(2), "Assertion");
    EXPECT_DEATH(track->setFrame(-1, nullptr), "Assertion");
    EXPECT_DEATH(track->setFrame(2, nullptr), "Assertion");
    EXPECT_DEATH(track->setFrameCount(-1), "Assertion");
}

TEST(TrackDeathTest, NoSequenceAndNegativeOffsetsAreTheCallersErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto track = trackOf({nullptr, nullptr});
    EXPECT_DEATH(track->setSequence(nullptr), "Assertion");
    EXPECT_DEATH(track->setSequence(nullptr, 0), "Assertion");
    EXPECT_DEATH(track->setSequence(std::make_shared<Sequence>(1), -1), "Assertion");
}
#endif
