// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Timeline.h>

#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <map>
#include <memory>
#include <random>
#include <type_traits>
#include <utility>

using motion::frameAt;
using motion::FramePtr;
using tarn::Frame;
using tarn::Time;
using tarn::Timeline;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::Pair;

namespace {

static_assert(!std::is_polymorphic_v<Timeline>);
static_assert(std::is_nothrow_move_constructible_v<Timeline>);
static_assert(std::is_nothrow_move_assignable_v<Timeline>);
static_assert(!std::is_convertible_v<Time, Timeline>,
              "a time is not silently taken for a timeline");

FramePtr typed(int dataType) { return std::make_shared<Frame>(Time(), dataType, std::any()); }

} // namespace

TEST(Timeline, MadeFromATimeHasNoFrames) {
    const Timeline timeline(Time(3, 30));
    EXPECT_EQ(timeline.time(), Time(3, 30));
    EXPECT_THAT(timeline.frames(), IsEmpty());
}

TEST(Timeline, ByDefaultStandsAtTheDefaultTime) {
    const Timeline timeline;
    EXPECT_EQ(timeline.time(), Time());
    EXPECT_THAT(timeline.frames(), IsEmpty());
}

TEST(Timeline, SharesTheFramesThatAreAdded) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(frame);
    EXPECT_EQ(timeline.frame(4), frame);
    EXPECT_EQ(frame.use_count(), 2);
}

TEST(Timeline, KeepsFramesOrderedByDataType) {
    const auto high = frameAt(Time(3, 30), 9);
    const auto low = frameAt(Time(3, 30), -5);
    const auto zero = frameAt(Time(3, 30), 0);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(high);
    timeline.addFrame(low);
    timeline.addFrame(zero);
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(-5, low), Pair(0, zero), Pair(9, high)));
}

TEST(Timeline, OfTwoFramesOfOneDataTypeKeepsTheSecond) {
    const auto first = frameAt(Time(3, 30), 4);
    const auto second = frameAt(Time(3, 30), 4);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(first);
    timeline.addFrame(second);
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(4, second)));
    EXPECT_EQ(first.use_count(), 1);
}

TEST(Timeline, DoesNotCompareTheFramesOwnTime) {
    const auto frame = frameAt(Time(77, 24), 4);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(frame);
    EXPECT_EQ(timeline.frame(4), frame);
    EXPECT_EQ(timeline.time(), Time(3, 30));
    EXPECT_EQ(frame->time(), Time(77, 24));
}

TEST(Timeline, StoresAFrameMadeFromATimeAloneUnderMinusOne) {
    const auto frame = std::make_shared<Frame>(Time(3, 30));
    Timeline timeline;
    timeline.addFrame(frame);
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(-1, frame)));
}

TEST(Timeline, AskingForAMissingFrameLeavesAnEmptyEntry) {
    Timeline timeline;
    EXPECT_EQ(timeline.frame(7), nullptr);
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(7, FramePtr())));
}

TEST(Timeline, ReadingAllFramesLeavesNoEntry) {
    const Timeline timeline;
    EXPECT_EQ(timeline.frames().count(7), 0U);
    EXPECT_THAT(timeline.frames(), IsEmpty());
}

TEST(Timeline, RemovingAFrameKeepsItsEntryEmpty) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline timeline;
    timeline.addFrame(frame);
    timeline.removeFrame(4);
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(4, FramePtr())));
    EXPECT_EQ(frame.use_count(), 1);
}

TEST(Timeline, RemovingAFrameThatIsNotThereLeavesAnEmptyEntry) {
    const auto other = frameAt(Time(3, 30), 4);
    Timeline timeline;
    timeline.addFrame(other);
    timeline.removeFrame(7);
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(4, other), Pair(7, FramePtr())));
}

TEST(Timeline, ACopySharesTheFramesButNotTheEntries) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline original(Time(3, 30));
    original.addFrame(frame);
    Timeline copy(original);
    EXPECT_EQ(copy.time(), Time(3, 30));
    EXPECT_THAT(copy.frames(), ElementsAre(Pair(4, frame)));
    copy.removeFrame(4);
    EXPECT_THAT(original.frames(), ElementsAre(Pair(4, frame)));
}

TEST(Timeline, CopyAssignmentReplacesTimeAndFrames) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline original(Time(3, 30));
    original.addFrame(frame);
    Timeline target(Time(5, 60));
    target.addFrame(frameAt(Time(5, 60), 9));
    target = original;
    EXPECT_EQ(target.time(), Time(3, 30));
    EXPECT_THAT(target.frames(), ElementsAre(Pair(4, frame)));
    EXPECT_THAT(original.frames(), ElementsAre(Pair(4, frame)));
}

TEST(Timeline, CopySelfAssignmentChangesNothing) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(frame);
    const Timeline& alias = timeline;
    timeline = alias;
    EXPECT_EQ(timeline.time(), Time(3, 30));
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(4, frame)));
}

// What a move leaves behind is promised here, so these tests look at it.
// NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
TEST(Timeline, MoveConstructionTakesTheFramesAndLeavesNone) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline original(Time(3, 30));
    original.addFrame(frame);
    const Timeline moved(std::move(original));
    EXPECT_EQ(moved.time(), Time(3, 30));
    EXPECT_THAT(moved.frames(), ElementsAre(Pair(4, frame)));
    EXPECT_EQ(original.time(), Time(3, 30));
    EXPECT_THAT(original.frames(), IsEmpty());
    EXPECT_EQ(frame.use_count(), 2);
}

TEST(Timeline, MoveAssignmentExchangesTheFramesAndCopiesTheTime) {
    const auto frame = frameAt(Time(3, 30), 4);
    const auto former = frameAt(Time(5, 60), 9);
    Timeline original(Time(3, 30));
    original.addFrame(frame);
    Timeline target(Time(5, 60));
    target.addFrame(former);
    target = std::move(original);
    EXPECT_EQ(target.time(), Time(3, 30));
    EXPECT_THAT(target.frames(), ElementsAre(Pair(4, frame)));
    EXPECT_EQ(original.time(), Time(3, 30));
    EXPECT_THAT(original.frames(), ElementsAre(Pair(9, former)));
}
// NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)

TEST(Timeline, MoveSelfAssignmentChangesNothing) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(frame);
    Timeline& alias = timeline;
    timeline = std::move(alias);
    EXPECT_EQ(timeline.time(), Time(3, 30));
    EXPECT_THAT(timeline.frames(), ElementsAre(Pair(4, frame)));
    EXPECT_EQ(frame.use_count(), 2);
}

TEST(Timeline, TheMapOfAllFramesFollowsLaterChanges) {
    Timeline timeline;
    const auto first = typed(5);
    timeline.addFrame(first);

    const auto& frames = timeline.frames();
    const auto second = typed(3);
    timeline.addFrame(second);
    timeline.addFrame(typed(9));
    timeline.removeFrame(9);
    timeline.frame(7);

    EXPECT_THAT(frames,
                ElementsAre(Pair(3, second), Pair(5, first), Pair(7, IsNull()), Pair(9, IsNull())));
    EXPECT_EQ(&timeline.frames(), &frames);
}

TEST(Timeline, IsTheSameWheneverItsFramesAreRead) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        Timeline timeline;
        std::map<int, FramePtr> expected;
        for (int step = 0; step < 30; ++step) {
            const int dataType = static_cast<int>(random() % 8) - 2;
            switch (random() % 4) {
            case 0:
                expected[dataType] = typed(dataType);
                timeline.addFrame(expected[dataType]);
                break;
            case 1:
                EXPECT_EQ(timeline.frame(dataType), expected[dataType]);
                break;
            case 2:
                timeline.removeFrame(dataType);
                expected[dataType] = nullptr;
                break;
            default:
                if (random() % 8 == 0) {
                    EXPECT_EQ(timeline.frames(), expected);
                }
            }
        }
        const Timeline copy = timeline;
        EXPECT_EQ(copy.frames(), expected) << seed;
        EXPECT_EQ(timeline.frames(), expected) << seed;
    }
}

TEST(Timeline, LetsItsFramesGoWhenANewOneIsAssigned) {
    const auto frame = frameAt(Time(3, 30), 4);
    Timeline timeline(Time(3, 30));
    timeline.addFrame(frame);
    timeline = Timeline(timeline.time());
    EXPECT_EQ(frame.use_count(), 1);
    EXPECT_EQ(timeline.time(), Time(3, 30));
    EXPECT_THAT(timeline.frames(), IsEmpty());
}

namespace {

int entry(int what) { return what; }
int reserve(int what) { return what; }

/// A timeline whose author has functions of the same names as nothing in its base.
class NamedTimeline : public Timeline {
public:
    static int callsItsOwn() { return entry(3) + reserve(4); }
};

} // namespace

TEST(Timeline, LeavesUsualNamesToThoseWhoDeriveFromIt) {
    EXPECT_EQ(NamedTimeline::callsItsOwn(), 7);
}

#ifndef NDEBUG
TEST(TimelineDeathTest, AddingNoFrameIsTheCallersError) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Timeline timeline;
    EXPECT_DEATH(timeline.addFrame(nullptr), "Assertion");
}
#endif
