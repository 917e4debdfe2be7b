// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/Origin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using motion::framesOf;
using motion::layoutOf;
using motion::Log;
using motion::logMoves;
using motion::logWorkRanges;
using motion::namedFrame;
using motion::trackOf;
using tarn::Time;
using tarn::Tracks;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

/// A track of frames "<name>0", "<name>1", ... at these frame indexes of 30 fps; -1 is an empty
/// slot.
std::shared_ptr<tarn::Track> trackAt(const std::string& name, const std::vector<int>& indexes,
                                     int dataType = 1) {
    motion::Frames frames;
    for (const int index : indexes) {
        frames.push_back(index < 0 ? nullptr
                                   : namedFrame(name + std::to_string(frames.size()),
                                                Time(static_cast<unsigned>(index), 30), dataType));
    }
    return trackOf(frames, dataType);
}

/// The stored time of each frame index of a take that has no rate of its own.
std::vector<Time> timesOf(Tracks& take, int count) {
    std::vector<Time> times;
    times.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        times.push_back(take.getTime(i));
    }
    return times;
}

} // namespace

TEST(TracksAlign, LaysEveryTrackOutOnTheTimesOfAll) {
    Tracks take;
    take.addTrack(trackAt("a", {0, 2, 4}), 0);
    take.addTrack(trackAt("b", {1, 2}, 2), 0);
    take.alignTracksByTime();
    EXPECT_THAT(timesOf(take, 4), ElementsAre(Time(0, 30), Time(1, 30), Time(2, 30), Time(4, 30)));
    EXPECT_THAT(layoutOf(*take.getTrack(0)),
                ElementsAre("a0 0@30", "a0 1@30 held", "a1 2@30", "a2 4@30"));
    EXPECT_THAT(layoutOf(*take.getTrack(1)),
                ElementsAre("-", "b0 1@30", "b1 2@30", "b1 4@30 held"));
    EXPECT_EQ(take.timeLength(), 4);
    EXPECT_EQ(take.workRangeBegin(), 0);
    EXPECT_EQ(take.workRangeEnd(), 3);
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(0, 0), Pair(1, 0), Pair(2, 1), Pair(3, 2)));
}

TEST(TracksAlign, ATrackOfItsOwnStaysAsItIs) {
    Tracks take;
    take.addTrack(trackAt("a", {3, 5, 9}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 3@30", "a1 5@30", "a2 9@30"));
    EXPECT_THAT(timesOf(take, 3), ElementsAre(Time(3, 30), Time(5, 30), Time(9, 30)));
}

TEST(TracksAlign, PutsNewTracksInThePlaceOfTheOldOnesAndLeavesThoseAlone) {
    const auto old = trackAt("a", {0, 2}, 6);
    const auto other = trackAt("b", {1}, 7);
    Tracks take;
    take.addTrack(old, 5);
    take.addTrack(other, -5);
    take.alignTracksByTime();
    ASSERT_EQ(take.trackCount(), 2);
    EXPECT_NE(take.getTrack(0), old);
    EXPECT_NE(take.getTrack(1), other);
    EXPECT_EQ(take.getTrack(0)->dataType(), 6);
    EXPECT_EQ(take.getTrack(1)->dataType(), 7);
    EXPECT_EQ(take.trackOffset(take.getTrack(0)), 5);
    EXPECT_EQ(take.trackOffset(take.getTrack(1)), -5);
    EXPECT_THAT(layoutOf(*old), ElementsAre("a0 0@30", "a1 2@30"));
    EXPECT_EQ(old.use_count(), 1);
}

TEST(TracksAlign, ReadsSlotsWhateverTheOffset) {
    Tracks take;
    take.addTrack(trackAt("a", {0, 1}), 100);
    take.addTrack(trackAt("b", {0, 1}), -100);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 0@30", "a1 1@30"));
    EXPECT_THAT(layoutOf(*take.getTrack(1)), ElementsAre("b0 0@30", "b1 1@30"));
}

TEST(TracksAlign, HoldsTheLastFrameToTheEnd) {
    Tracks take;
    take.addTrack(trackAt("a", {0}), 0);
    take.addTrack(trackAt("b", {0, 1, 2}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)),
                ElementsAre("a0 0@30", "a0 1@30 held", "a0 2@30 held"));
}

TEST(TracksAlign, LeavesSlotsEmptyBeforeATracksFirstFrame) {
    Tracks take;
    take.addTrack(trackAt("a", {3}), 0);
    take.addTrack(trackAt("b", {0, 1, 2, 3}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("-", "-", "-", "a0 3@30"));
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(3, 0)));
}

TEST(TracksAlign, AnEmptySlotTakesUpOneTime) {
    Tracks take;
    take.addTrack(trackAt("a", {0, -1, 2}), 0);
    take.addTrack(trackAt("b", {0, 1, 2, 3}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)),
                ElementsAre("a0 0@30", "-", "a2 2@30", "a2 3@30 held"));
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(0, 0), Pair(2, 2), Pair(3, 2)));
}

TEST(TracksAlign, AnEmptySlotBeforeAFrameThatIsStillToComeIsNotHeldOver) {
    Tracks take;
    take.addTrack(trackAt("a", {0, -1, 5}), 0);
    take.addTrack(trackAt("b", {0, 1, 2, 5}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 0@30", "-", "-", "a2 5@30"));
}

TEST(TracksAlign, AnEmptySlotAtTheEndIsReadAgainAndAgain) {
    Tracks take;
    take.addTrack(trackAt("a", {0, -1}), 0);
    take.addTrack(trackAt("b", {0, 1, 2, 3}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 0@30", "-", "-", "-"));
}

TEST(TracksAlign, GoesThroughATrackOutOfOrderAsItStands) {
    Tracks take;
    take.addTrack(trackAt("a", {5, 0, 3}), 0);
    take.addTrack(trackAt("b", {0, 3, 5, 6}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("-", "-", "a0 5@30", "a1 6@30 held"));
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(2, 0), Pair(3, 1)));
}

TEST(TracksAlign, HoldsAFrameForAsLongAsTheNextOneIsStillToCome) {
    Tracks take;
    take.addTrack(trackAt("a", {0, 1, 9, 8, 7}), 0);
    take.addTrack(trackAt("b", {0, 1, 2, 3, 7, 8}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)),
                ElementsAre("a0 0@30", "a1 1@30", "a1 2@30 held", "a1 3@30 held", "a1 7@30 held",
                            "a1 8@30 held", "a2 9@30"));
}

TEST(TracksAlign, ASecondFrameOfOneTimeIsHeldAtTheNext) {
    Tracks take;
    take.addTrack(trackAt("a", {0, 0, 5}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 0@30", "a1 5@30 held"));
    EXPECT_EQ(take.timeLength(), 2);
}

TEST(TracksAlign, ACopyIsStampedAndKeepsPayloadAndDataType) {
    const auto original = namedFrame("a0", Time(0, 30), 42);
    Tracks take;
    take.addTrack(trackOf({original}, 1), 0);
    take.addTrack(trackAt("b", {0, 1}), 0);
    take.alignTracksByTime();
    const auto held = take.getTrack(0)->getFrame(1);
    EXPECT_NE(held, original);
    EXPECT_EQ(held->time(), Time(1, 30));
    EXPECT_EQ(held->dataType(), 42);
    EXPECT_EQ(held->dataAs<motion::Origin>().name, "a0");
    EXPECT_EQ(original->time(), Time(0, 30));
    EXPECT_EQ(take.getTrack(0)->getFrame(0), original);
}

TEST(TracksAlign, ComparesRatesBySeconds) {
    Tracks take;
    take.addTrack(trackOf({namedFrame("a0", Time(1, 60)), namedFrame("a1", Time(2, 24))}), 0);
    take.addTrack(trackOf({namedFrame("b0", Time(1, 30)), namedFrame("b1", Time(12, 120))}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(timesOf(take, 4),
                ElementsAre(Time(1, 60), Time(1, 30), Time(2, 24), Time(12, 120)));
    EXPECT_THAT(layoutOf(*take.getTrack(0)),
                ElementsAre("a0 1@60", "a0 1@30 held", "a1 2@24", "a1 12@120 held"));
    EXPECT_THAT(layoutOf(*take.getTrack(1)),
                ElementsAre("-", "b0 1@30", "b0 2@24 held", "b1 12@120"));
}

TEST(TracksAlign, OfTimesOfTheSameSecondTheFirstTracksStands) {
    Tracks take;
    take.addTrack(trackOf({namedFrame("a0", Time(2, 60))}), 0);
    take.addTrack(trackOf({namedFrame("b0", Time(1, 30)), namedFrame("b1", Time(4, 120))}), 0);
    take.alignTracksByTime();
    EXPECT_EQ(take.timeLength(), 1);
    EXPECT_EQ(take.getTime(0), Time(2, 60));
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 2@60"));
    EXPECT_THAT(layoutOf(*take.getTrack(1)), ElementsAre("-")) << "neither equal, before nor after";
}

TEST(TracksAlign, AfterASecondCountedAtAnotherRateTheNextTimeTakesItsSlot) {
    Tracks take;
    take.addTrack(trackOf({namedFrame("a0", Time(2, 60)), namedFrame("a1", Time(3, 60)),
                           namedFrame("a2", Time(5, 60))}),
                  0);
    take.addTrack(trackOf({namedFrame("b0", Time(1, 30)), namedFrame("b1", Time(3, 60))}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 2@60", "a1 3@60", "a2 5@60"));
    EXPECT_THAT(layoutOf(*take.getTrack(1)), ElementsAre("b0 3@60 held", "b1 5@60 held", "-"));
    EXPECT_THAT(timesOf(take, 3), ElementsAre(Time(3, 60), Time(5, 60), Time(5, 60)))
        << "the last track laid out says which time an index has";
}

TEST(TracksAlign, OneSecondAt120BesideOneAt60EndsHalfASecondApart) {
    const auto secondAt = [](unsigned rate) {
        std::vector<motion::FramePtr> frames;
        for (unsigned i = 0; i < rate; ++i) {
            frames.push_back(motion::frameAt(Time(i, rate), 1));
        }
        return trackOf(frames, 1);
    };
    Tracks take;
    take.addTrack(secondAt(120), 0);
    take.addTrack(secondAt(60), 0);
    take.alignTracksByTime();
    ASSERT_EQ(take.timeLength(), 120);
    EXPECT_EQ(take.getTrack(0)->getFrame(59)->time(), Time(59, 120));
    EXPECT_EQ(take.getTrack(1)->getFrame(59)->time(), Time(119, 120)) << "its last, a slot early";
    EXPECT_EQ(take.getTrack(1)->getFrame(60), nullptr);
    EXPECT_EQ(take.getTime(59), Time(119, 120));
    EXPECT_EQ(take.getTime(60), Time(60, 120)) << "time runs backwards";
    EXPECT_EQ(take.getTime(119), Time(119, 120));
}

TEST(TracksAlign, FramesWithoutARateCountAsEmptySlots) {
    Tracks take;
    take.addTrack(trackOf({namedFrame("a0", Time(0, 30)), namedFrame("a1", Time(7, 0)),
                           namedFrame("a2", Time(2, 30)), namedFrame("a3", Time())}),
                  0);
    take.addTrack(trackAt("b", {0, 1, 2, 3}), 0);
    take.alignTracksByTime();
    EXPECT_EQ(take.timeLength(), 4);
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 0@30", "-", "a2 2@30", "-"));
}

TEST(TracksAlign, FramesWithoutARateAloneMakeNoTime) {
    Tracks take;
    take.addTrack(trackOf({namedFrame("a0", Time(7, 0)), namedFrame("a1", Time())}), 0);
    take.alignTracksByTime();
    EXPECT_EQ(take.timeLength(), 0);
    EXPECT_EQ(take.workRangeEnd(), -1);
    EXPECT_EQ(take.getTrack(0)->frameCount(), 0);
    EXPECT_THAT(take.frameIndexMap(), IsEmpty());
}

TEST(TracksAlign, ATrackWithoutFramesGetsEmptySlots) {
    Tracks take;
    take.addTrack(trackAt("a", {}), 0);
    take.addTrack(trackAt("b", {-1, -1, -1}), 0);
    take.addTrack(trackAt("c", {4, 6}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("-", "-"));
    EXPECT_THAT(layoutOf(*take.getTrack(1)), ElementsAre("-", "-"));
    EXPECT_THAT(layoutOf(*take.getTrack(2)), ElementsAre("c0 4@30", "c1 6@30"));
}

TEST(TracksAlign, ATakeWithoutTracksEndsUpEmpty) {
    Log log;
    Tracks take;
    take.setTimeLength(99);
    logWorkRanges(take, "take", log);
    take.alignTracksByTime();
    EXPECT_EQ(take.timeLength(), 0);
    EXPECT_THAT(log, ElementsAre("take 0..-1"));
    take.alignTracksByTime();
    EXPECT_THAT(log, ElementsAre("take 0..-1"));
}

TEST(TracksAlign, AligningAgainChangesNothing) {
    Tracks take;
    take.addTrack(trackAt("a", {0, 3}), 0);
    take.addTrack(trackAt("b", {1, 2}), 0);
    take.alignTracksByTime();
    const auto first = framesOf(*take.getTrack(0));
    const auto second = framesOf(*take.getTrack(1));
    take.alignTracksByTime();
    EXPECT_EQ(framesOf(*take.getTrack(0)), first);
    EXPECT_EQ(framesOf(*take.getTrack(1)), second);
    EXPECT_EQ(take.timeLength(), 4);
}

TEST(TracksAlign, ATrackThatIsPlacedTwiceBecomesTwoTracks) {
    const auto twice = trackAt("a", {0, 2});
    Tracks take;
    take.addTrack(twice, 1);
    take.addTrack(trackAt("b", {1}), 0);
    take.addTrack(twice, 2);
    take.alignTracksByTime();
    EXPECT_NE(take.getTrack(0), take.getTrack(2));
    EXPECT_EQ(take.trackOffset(take.getTrack(0)), 1);
    EXPECT_EQ(take.trackOffset(take.getTrack(2)), 2);
    EXPECT_THAT(layoutOf(*take.getTrack(0)), ElementsAre("a0 0@30", "a0 1@30 held", "a1 2@30"));
    EXPECT_THAT(layoutOf(*take.getTrack(2)), ElementsAre("a0 0@30", "a0 1@30 held", "a1 2@30"));
}

TEST(TracksAlign, TheLengthReachesToTheLargestCountMinusOffset) {
    for (const auto& [offsets, length] :
         std::vector<std::pair<std::vector<int>, int>>{{{0, 0}, 2},
                                                       {{1, 5}, 1},
                                                       {{3, -4}, 6},
                                                       {{-4, 3}, 6},
                                                       {{2, 7}, 0},
                                                       {{9, 7}, 0},
                                                       {{intMax, intMax}, 0},
                                                       {{0, intMin}, intMax}}) {
        Tracks take;
        take.addTrack(trackAt("a", {0, 1}), offsets[0]);
        take.addTrack(trackAt("b", {0, 1}), offsets[1]);
        take.alignTracksByTime();
        EXPECT_EQ(take.timeLength(), length) << offsets[0] << ", " << offsets[1];
        EXPECT_EQ(take.workRangeBegin(), 0);
        EXPECT_EQ(take.workRangeEnd(), length - 1);
    }
}

TEST(TracksAlign, TheMapComesFromTheFirstTrackThatHasAnyFrame) {
    Tracks take;
    take.addTrack(trackAt("a", {}), 0);
    take.addTrack(trackAt("b", {-1, -1}), 0);
    take.addTrack(trackAt("c", {1, 3}), 0);
    take.addTrack(trackAt("d", {0, 1, 2, 3}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(1, 0), Pair(2, 0), Pair(3, 1)));
}

TEST(TracksAlign, AMapThatHasEntriesStaysAsItWas) {
    Tracks take;
    take.setFrameIndexMap(77, -7);
    take.addTrack(trackAt("a", {0, 1}), 0);
    take.alignTracksByTime();
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(77, -7)));
}

TEST(TracksAlign, AnnouncesTheRangeOfAllTimesAndThenTheFinalOne) {
    Log log;
    Tracks take;
    take.addTrack(trackAt("a", {0, 1, 2}), -2);
    logWorkRanges(take, "take", log);
    take.alignTracksByTime();
    EXPECT_THAT(log, ElementsAre("take 0..2", "take 0..4"));
}

TEST(TracksAlign, TheLengthIsSetBeforeTheRangeIsAnnouncedAndTheTimesAfterwards) {
    Log log;
    Tracks take;
    take.setFps(50);
    take.addTrack(trackAt("a", {4, 5}), -2);
    take.onWorkRangeChanged().connect([&](int, int) {
        log.push_back(std::to_string(take.timeLength()) + " " +
                      testing::PrintToString(take.getTime(1)) + " " +
                      std::to_string(take.frameIndexMap().size()));
    });
    take.alignTracksByTime();
    EXPECT_THAT(log, ElementsAre("2 1@50 0", "4 5@30 2"));
}

TEST(TracksAlign, LeavesEverythingElseAlone) {
    Log log;
    Tracks take;
    take.setTracksName("walk");
    take.setFps(30);
    take.setFrameCount(12);
    take.setTracksVersion(3);
    take.setCurrentTime(7);
    take.addTrack(trackAt("a", {0, 1}), 0);
    logMoves(take, "moved", log);
    take.onWillUpdateTracks().connect([&log](int, int) { log.emplace_back("will update"); });
    take.onTracksUpdated().connect([&log](int, int) { log.emplace_back("updated"); });
    take.alignTracksByTime();
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(take.tracksName(), "walk");
    EXPECT_EQ(take.fps(), 30);
    EXPECT_EQ(take.frameCount(), 12);
    EXPECT_EQ(take.tracksVersion(), 3);
    EXPECT_EQ(take.currentTime(), 7);
}
