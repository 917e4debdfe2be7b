// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <type_traits>

using motion::frameAt;
using motion::Log;
using motion::logMoves;
using motion::logWorkRanges;
using motion::trackOf;
using tarn::Time;
using tarn::Tracks;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

static_assert(!std::is_copy_constructible_v<Tracks>);
static_assert(std::is_same_v<decltype(std::declval<Tracks&>().onCurrentTimeChanged()),
                             tsignal::Signal<int>&>);
static_assert(std::is_same_v<decltype(std::declval<Tracks&>().onWorkRangeChanged()),
                             tsignal::Signal<int, int>&>);

} // namespace

TEST(Tracks, StartsEmptyWithEveryNumberAtZero) {
    const Tracks take;
    EXPECT_EQ(take.tracksName(), "");
    EXPECT_EQ(take.fps(), 0);
    EXPECT_EQ(take.timeLength(), 0);
    EXPECT_EQ(take.frameCount(), 0);
    EXPECT_EQ(take.currentTime(), 0);
    EXPECT_EQ(take.currentFrameIndex(), 0);
    EXPECT_EQ(take.tracksVersion(), 0);
    EXPECT_EQ(take.workRangeBegin(), 0);
    EXPECT_EQ(take.workRangeEnd(), 0);
    EXPECT_EQ(take.trackCount(), 0);
    EXPECT_EQ(take.subTracksCount(), 0);
    EXPECT_THAT(take.frameIndexMap(), IsEmpty());
}

TEST(Tracks, EachSetterStoresItsOwnNumber) {
    Tracks take;
    take.setTracksName("walk");
    take.setFps(30);
    take.setTimeLength(300);
    take.setFrameCount(299);
    take.setTracksVersion(-4);
    EXPECT_EQ(take.tracksName(), "walk");
    EXPECT_EQ(take.fps(), 30);
    EXPECT_EQ(take.timeLength(), 300);
    EXPECT_EQ(take.frameCount(), 299);
    EXPECT_EQ(take.tracksVersion(), -4);
    EXPECT_EQ(take.currentTime(), 0);
    EXPECT_EQ(take.workRangeEnd(), 0);
}

TEST(Tracks, SettersAndPlacingSignalNothing) {
    Tracks take;
    Log log;
    logMoves(take, "moved", log);
    logWorkRanges(take, "range", log);
    take.onWillUpdateTracks().connect([&log](int, int) { log.emplace_back("will update"); });
    take.onTracksUpdated().connect([&log](int, int) { log.emplace_back("updated"); });
    const auto track = trackOf({frameAt(Time(0, 30))});
    const auto nested = std::make_shared<Tracks>();

    take.setTracksName("walk");
    take.setFps(30);
    take.setTimeLength(300);
    take.setFrameCount(299);
    take.setTracksVersion(7);
    take.setFrameIndexMap(1, 2);
    take.addTrack(track, 1);
    take.setFrame(0, 2, frameAt(Time(0, 30), 2));
    take.removeTrack(track);
    take.addSubTracks(nested, 1);
    take.removeSubTracks(nested);
    EXPECT_THAT(log, IsEmpty());
}

TEST(Tracks, NothingButItsSetterChangesTheFrameCount) {
    Tracks take;
    take.setFrameCount(42);
    take.setTimeLength(5);
    take.addTrack(trackOf({frameAt(Time(0, 30)), frameAt(Time(1, 30))}), 0);
    take.setFrame(0, 9, frameAt(Time(0, 30), 9));
    take.setCurrentTime(1);
    take.setWorkRange(0, 3);
    take.beginUpdateTracks(0, 1);
    take.endUpdateTracks();
    take.alignTracksByTime();
    EXPECT_EQ(take.frameCount(), 42);
}

TEST(Tracks, CurrentFrameIndexIsTheCurrentTime) {
    Tracks take;
    take.setCurrentTime(17);
    EXPECT_EQ(take.currentTime(), 17);
    EXPECT_EQ(take.currentFrameIndex(), 17);
    take.setCurrentTime(-3);
    EXPECT_EQ(take.currentFrameIndex(), -3);
}

TEST(Tracks, TheFrameIndexMapIsInsertedIntoAndOverwritten) {
    Tracks take;
    take.setFrameIndexMap(3, 30);
    take.setFrameIndexMap(-1, 10);
    take.setFrameIndexMap(3, 31);
    EXPECT_THAT(take.frameIndexMap(), ElementsAre(Pair(-1, 10), Pair(3, 31)));
}

TEST(TracksList, KeepsTracksInTheOrderOfAdding) {
    const auto first = trackOf({}, 5);
    const auto second = trackOf({}, 3);
    Tracks take;
    take.addTrack(first, 10);
    take.addTrack(second, -20);
    EXPECT_EQ(take.trackCount(), 2);
    EXPECT_EQ(take.getTrack(0), first);
    EXPECT_EQ(take.getTrack(1), second);
    EXPECT_EQ(take.trackOffset(first), 10);
    EXPECT_EQ(take.trackOffset(second), -20);
}

TEST(TracksList, HasNoTrackOutsideItsCount) {
    Tracks take;
    EXPECT_EQ(take.getTrack(0), nullptr);
    take.addTrack(trackOf({}), 0);
    EXPECT_NE(take.getTrack(0), nullptr);
    EXPECT_EQ(take.getTrack(1), nullptr);
    EXPECT_EQ(take.getTrack(-1), nullptr);
    EXPECT_EQ(take.getTrack(std::numeric_limits<int>::min()), nullptr);
    EXPECT_EQ(take.getTrack(std::numeric_limits<int>::max()), nullptr);
}

TEST(TracksList, ATrackMayBePlacedTwiceAndIsRemovedEverywhere) {
    const auto twice = trackOf({}, 1);
    const auto before = trackOf({}, 2);
    const auto between = trackOf({}, 3);
    Tracks take;
    take.addTrack(before, 1);
    take.addTrack(twice, 2);
    take.addTrack(between, 3);
    take.addTrack(twice, 4);
    EXPECT_EQ(take.trackCount(), 4);
    EXPECT_EQ(take.trackOffset(twice), 2) << "of the first entry";
    take.removeTrack(twice);
    EXPECT_EQ(take.trackCount(), 2);
    EXPECT_EQ(take.getTrack(0), before);
    EXPECT_EQ(take.getTrack(1), between);
    EXPECT_EQ(take.trackOffset(between), 3);
    EXPECT_EQ(take.trackOffset(twice), 0);
    EXPECT_EQ(twice.use_count(), 1);
}

TEST(TracksList, RemovingATrackThatIsNotThereChangesNothing) {
    Tracks take;
    take.addTrack(trackOf({}), 1);
    take.removeTrack(trackOf({}));
    take.removeTrack(nullptr);
    EXPECT_EQ(take.trackCount(), 1);
}

TEST(TracksList, TheOffsetOfAnAbsentTrackIsZero) {
    Tracks take;
    take.addTrack(trackOf({}), 5);
    EXPECT_EQ(take.trackOffset(trackOf({})), 0);
    EXPECT_EQ(take.trackOffset(nullptr), 0);
}

TEST(TracksList, FindsTheFirstTrackOfADataType) {
    const auto other = trackOf({}, 1);
    const auto first = trackOf({}, 2);
    const auto second = trackOf({}, 2);
    Tracks take;
    EXPECT_EQ(take.findTrack(2), nullptr);
    take.addTrack(other, 0);
    take.addTrack(first, 0);
    take.addTrack(second, 0);
    EXPECT_EQ(take.findTrack(2), first);
    EXPECT_EQ(take.findTrack(1), other);
    EXPECT_EQ(take.findTrack(-1), nullptr);
}

TEST(TracksGetFrame, SubtractsTheOffset) {
    const auto zero = frameAt(Time(0, 30), 4);
    const auto one = frameAt(Time(1, 30), 4);
    Tracks take;
    take.addTrack(trackOf({zero, one}, 4), 10);
    EXPECT_EQ(take.getFrame(9, 4), nullptr);
    EXPECT_EQ(take.getFrame(10, 4), zero);
    EXPECT_EQ(take.getFrame(11, 4), one);
    EXPECT_EQ(take.getFrame(12, 4), nullptr);
    EXPECT_EQ(take.getFrame(0, 4), nullptr);
}

TEST(TracksGetFrame, ANegativeOffsetShowsLaterSlotsFromTheStart) {
    const auto two = frameAt(Time(2, 30), 4);
    Tracks take;
    take.addTrack(trackOf({nullptr, nullptr, two}, 4), -2);
    EXPECT_EQ(take.getFrame(0, 4), two);
    EXPECT_EQ(take.getFrame(1, 4), nullptr);
    EXPECT_EQ(take.getFrame(-1, 4), nullptr) << "an empty slot";
}

TEST(TracksGetFrame, NegativeIndexesReadSlotsOfTracksThatBeginBeforeTheTake) {
    const auto zero = frameAt(Time(0, 30), 4);
    Tracks take;
    take.addTrack(trackOf({zero}, 4), -2);
    EXPECT_EQ(take.getFrame(-2, 4), zero);
    EXPECT_THAT(take.getFrame(-2)->frames(), ElementsAre(Pair(4, zero)));
}

TEST(TracksGetFrame, LooksAtTheFirstTrackOfTheDataTypeOnly) {
    const auto hidden = frameAt(Time(0, 30), 4);
    Tracks take;
    take.addTrack(trackOf({frameAt(Time(5, 30), 4)}, 4), 5);
    take.addTrack(trackOf({hidden}, 4), 0);
    EXPECT_EQ(take.getFrame(0, 4), nullptr);
    EXPECT_THAT(take.getFrame(0)->frames(), ElementsAre(Pair(4, hidden)));
}

TEST(TracksGetFrame, IsEmptyWithoutATrackOfTheDataType) {
    Tracks take;
    EXPECT_EQ(take.getFrame(0, 4), nullptr);
    take.addTrack(trackOf({frameAt(Time(0, 30), 5)}, 5), 0);
    EXPECT_EQ(take.getFrame(0, 4), nullptr);
}

TEST(TracksTimeline, HoldsTheFramesOfAllTracksThatCoverTheIndex) {
    const auto one = frameAt(Time(1, 30), 1);
    const auto two = frameAt(Time(0, 30), 2);
    Tracks take;
    take.addTrack(trackOf({nullptr, one}, 1), 0);
    take.addTrack(trackOf({two}, 2), 1);
    take.addTrack(trackOf({frameAt(Time(0, 30), 3)}, 3), 2);
    take.addTrack(trackOf({frameAt(Time(0, 30), 5)}, 5), 0);
    take.addTrack(trackOf({nullptr, nullptr}, 6), 0);
    EXPECT_THAT(take.getFrame(1)->frames(), ElementsAre(Pair(1, one), Pair(2, two)));
}

TEST(TracksTimeline, IsNewOnEveryCallAndSharesTheFrames) {
    const auto frame = frameAt(Time(0, 30));
    Tracks take;
    take.addTrack(trackOf({frame}), 0);
    const auto first = take.getFrame(0);
    first->removeFrame(1);
    EXPECT_NE(take.getFrame(0), first);
    EXPECT_EQ(take.getFrame(0)->frame(1), frame);
}

TEST(TracksTimeline, ALaterTrackOfTheSameDataTypeReplacesAnEarlierOne) {
    const auto earlier = frameAt(Time(0, 30));
    const auto later = frameAt(Time(0, 30));
    Tracks take;
    take.addTrack(trackOf({earlier, earlier, earlier}), 0);
    take.addTrack(trackOf({later, nullptr}), 0);
    EXPECT_THAT(take.getFrame(0)->frames(), ElementsAre(Pair(1, later)));
    EXPECT_THAT(take.getFrame(1)->frames(), ElementsAre(Pair(1, earlier))) << "an empty slot";
    EXPECT_THAT(take.getFrame(2)->frames(), ElementsAre(Pair(1, earlier))) << "beyond the second";
}

TEST(TracksTimeline, FilesAFrameUnderItsOwnDataType) {
    const auto foreign = frameAt(Time(0, 30), 9);
    Tracks take;
    take.addTrack(trackOf({foreign}, 1), 0);
    EXPECT_THAT(take.getFrame(0)->frames(), ElementsAre(Pair(9, foreign)));
    EXPECT_EQ(take.getFrame(0, 1), foreign);
}

TEST(TracksTimeline, HasNoFramesWhereNoTrackReaches) {
    Tracks take;
    EXPECT_THAT(take.getFrame(0)->frames(), IsEmpty());
    take.addTrack(trackOf({frameAt(Time(0, 30))}), 3);
    EXPECT_THAT(take.getFrame(2)->frames(), IsEmpty());
    EXPECT_THAT(take.getFrame(4)->frames(), IsEmpty());
}

TEST(TracksTimeline, LeavesNestedTakesOut) {
    const auto nested = std::make_shared<Tracks>();
    nested->addTrack(trackOf({frameAt(Time(0, 30))}), 0);
    Tracks take;
    take.addSubTracks(nested, 0);
    EXPECT_THAT(take.getFrame(0)->frames(), IsEmpty());
    EXPECT_EQ(take.getFrame(0, 1), nullptr);
}

TEST(TracksTime, OfATakeThatWasNeverAlignedIsCountedAtItsRate) {
    Tracks take;
    take.setFps(30);
    EXPECT_EQ(take.getTime(0), Time(0, 30));
    EXPECT_EQ(take.getTime(12), Time(12, 30));
    EXPECT_EQ(take.getTime(std::numeric_limits<int>::max()), Time(2147483647U, 30));
    EXPECT_EQ(take.getFrame(12)->time(), Time(12, 30));
    take.setFps(1);
    EXPECT_EQ(take.getTime(12), Time(12, 1)) << "one frame per second is a rate like any other";
}

TEST(TracksTime, WithoutARateOrBeforeTheTakeIsTheDefaultTime) {
    Tracks take;
    EXPECT_EQ(take.getTime(12), Time());
    EXPECT_EQ(take.getFrame(12)->time(), Time());
    take.setFps(-30);
    EXPECT_EQ(take.getTime(12), Time());
    take.setFps(30);
    EXPECT_EQ(take.getTime(-1), Time());
    EXPECT_EQ(take.getTime(std::numeric_limits<int>::min()), Time());
    EXPECT_EQ(take.getFrame(-1)->time(), Time());
}

TEST(TracksTime, OfAnAlignedTakeIsTheStoredOne) {
    Tracks take;
    take.setFps(30);
    take.addTrack(trackOf({frameAt(Time(7, 60)), frameAt(Time(9, 60))}), 0);
    take.alignTracksByTime();
    EXPECT_EQ(take.getTime(0), Time(7, 60));
    EXPECT_EQ(take.getTime(1), Time(9, 60));
    EXPECT_EQ(take.getTime(2), Time(2, 30)) << "none is stored there";
    EXPECT_EQ(take.getFrame(1)->time(), Time(9, 60));
}

TEST(TracksCurrentFrame, TakesItsArgumentAsIndexAndTheCurrentTimeAsDataType) {
    const auto wanted = frameAt(Time(0, 30), 2);
    Tracks take;
    take.addTrack(trackOf({nullptr, frameAt(Time(0, 30), 5), frameAt(Time(0, 30), 5)}, 5), 0);
    take.addTrack(trackOf({nullptr, nullptr, nullptr, nullptr, nullptr, wanted}, 2), 0);
    take.setCurrentTime(2);
    EXPECT_EQ(take.currentFrame(5), wanted);
    EXPECT_EQ(take.currentFrame(2), nullptr);
}

TEST(TracksCurrentFrame, WithoutArgumentIsTheTimelineAtTheCurrentTime) {
    const auto frame = frameAt(Time(1, 30));
    Tracks take;
    take.setFps(30);
    take.addTrack(trackOf({nullptr, frame}), 0);
    take.setCurrentTime(1);
    EXPECT_EQ(take.currentFrame()->time(), Time(1, 30));
    EXPECT_THAT(take.currentFrame()->frames(), ElementsAre(Pair(1, frame)));
    take.setCurrentTime(-1);
    EXPECT_EQ(take.currentFrame()->time(), Time());
    EXPECT_THAT(take.currentFrame()->frames(), IsEmpty());
}
