// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"
#include "support/Samples.h"

#include <tarn_kit/session/RecorderNode.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <type_traits>

namespace tarn::kit {
namespace {

using namespace replay_testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_base_of_v<StreamNode, RecorderNode>);
static_assert(!std::is_copy_constructible_v<RecorderNode>);

constexpr int dataType = 7;

FramePtr frameAt(unsigned index, int type = dataType) {
    return std::make_shared<Frame>(Time(index, 60), type, std::any());
}

/// Something to tie a recorder to.
class Source : public StreamNode {
public:
    Source() { addOFramePort(3); }
    tsignal::Signal<FramePtr>& output() { return oFramePort(3); }
    /// Frames with these indexes.
    void send(std::initializer_list<unsigned> indexes) {
        for (const unsigned index : indexes) {
            output().emit(frameAt(index));
        }
    }
};

/// The indexes of the frames of a take, slot after slot.
std::vector<unsigned> indexesOf(Tracks& take) {
    std::vector<unsigned> indexes;
    indexes.reserve(static_cast<std::size_t>(take.timeLength()));
    for (int i = 0; i < take.timeLength(); ++i) {
        indexes.push_back(take.getTrack(0)->getFrame(i)->time().frameIndex());
    }
    return indexes;
}

/// The same, with -1 for a slot without a frame.
std::vector<int> slotsOf(Tracks& take) {
    std::vector<int> indexes;
    for (int i = 0; i < take.timeLength(); ++i) {
        const FramePtr frame = take.getTrack(0)->getFrame(i);
        indexes.push_back(frame == nullptr ? -1 : static_cast<int>(frame->time().frameIndex()));
    }
    return indexes;
}

class RecorderNodeTest : public ::testing::Test {
protected:
    RecorderNodeTest() {
        recorder_->onFull().connect([this] { ++fullCount_; });
        EXPECT_TRUE(recorder_->tieToIFramePort(RecorderNode::framePort, source_.output()));
    }
    Source& source() { return source_; }
    RecorderNode& recorder() { return *recorder_; }
    void destroy() { recorder_.reset(); }
    int fullCount() const { return fullCount_; }

private:
    Source source_;
    int fullCount_ = 0;
    std::unique_ptr<RecorderNode> recorder_ = std::make_unique<RecorderNode>(dataType, 4);
};

TEST_F(RecorderNodeTest, HasOneInputPort) {
    EXPECT_THAT(recorder().supportIFramePorts(), ElementsAre(RecorderNode::framePort));
    EXPECT_THAT(recorder().supportOFramePorts(), IsEmpty());
    EXPECT_EQ(recorder().dataType(), dataType);
    EXPECT_EQ(recorder().maxFrames(), 4);
}

TEST_F(RecorderNodeTest, GivesAnEmptyTakeBeforeAnythingArrived) {
    const auto take = recorder().take();
    EXPECT_EQ(take->trackCount(), 1);
    EXPECT_EQ(take->getTrack(0)->dataType(), dataType);
    EXPECT_EQ(take->getTrack(0)->frameCount(), 0);
    EXPECT_EQ(take->timeLength(), 0);
    EXPECT_EQ(take->fps(), 0);
    EXPECT_EQ(take->workRangeBegin(), 0);
    EXPECT_EQ(take->workRangeEnd(), 0);
    EXPECT_EQ(recorder().frameCount(), 0);
    EXPECT_FALSE(recorder().isFull());
}

TEST_F(RecorderNodeTest, GivesFramesInTheOrderInWhichTheyArrived) {
    source().send({2, 0, 0});
    EXPECT_EQ(recorder().frameCount(), 3);
    std::vector<unsigned> indexes;
    for (const FramePtr& frame : recorder().frames()) {
        indexes.push_back(frame->time().frameIndex());
    }
    EXPECT_THAT(indexes, ElementsAre(2, 0, 0));
}

TEST_F(RecorderNodeTest, LaysATakeOutByFrameIndexFromTheLowestOn) {
    source().send({12, 10, 13});
    const auto take = recorder().take();
    EXPECT_THAT(slotsOf(*take), ElementsAre(10, -1, 12, 13));
    EXPECT_EQ(take->trackOffset(take->getTrack(0)), 0);
    EXPECT_EQ(take->timeLength(), 4);
    EXPECT_EQ(take->frameCount(), 4);
    EXPECT_EQ(take->fps(), 60);
    EXPECT_EQ(take->workRangeBegin(), 0);
    EXPECT_EQ(take->workRangeEnd(), 3);
}

TEST_F(RecorderNodeTest, ShowsTheLastOfFramesThatHaveOneIndex) {
    source().send({0});
    const FramePtr again = frameAt(0);
    source().output().emit(again);
    EXPECT_EQ(recorder().take()->getFrame(0, dataType), again);
    EXPECT_EQ(recorder().frameCount(), 2);
}

TEST_F(RecorderNodeTest, GivesNoLongerTakeThanItsBoundWhereACounterJumped) {
    source().send({0, 4'294'967'295, 3});
    EXPECT_THAT(slotsOf(*recorder().take()), ElementsAre(0, -1, -1, 3));
    EXPECT_EQ(recorder().frames().size(), 3U);
}

TEST_F(RecorderNodeTest, GivesATakeOfTheFrameIndexesThatAreAskedFor) {
    source().send({4, 6, 7});
    EXPECT_THAT(slotsOf(*recorder().take(3, 6)), ElementsAre(-1, 4, -1, 6, 7, -1));
    EXPECT_THAT(slotsOf(*recorder().take(5, 2)), ElementsAre(-1, 6));
    EXPECT_EQ(recorder().take(5, 2)->fps(), 60);
    EXPECT_THAT(slotsOf(*recorder().take(9, 0)), IsEmpty());
}

TEST_F(RecorderNodeTest, SharesTheFrames) {
    const FramePtr frame = frameAt(5);
    source().output().emit(frame);
    EXPECT_EQ(recorder().take()->getFrame(0, dataType), frame);
}

TEST_F(RecorderNodeTest, PassesOverWhatIsNotItsDataType) {
    source().send({0});
    source().output().emit(frameAt(1, dataType + 1));
    source().output().emit(std::make_shared<Frame>());
    source().output().emit(nullptr);
    source().send({2});
    EXPECT_THAT(slotsOf(*recorder().take()), ElementsAre(0, -1, 2));
    EXPECT_EQ(recorder().foreignFrames(), 3);
    EXPECT_EQ(recorder().lostFrames(), 0);
}

TEST_F(RecorderNodeTest, RefusesFramesBeyondItsBoundAndSaysSoOnce) {
    source().send({0, 1, 2});
    EXPECT_FALSE(recorder().isFull());
    source().send({3});
    EXPECT_TRUE(recorder().isFull());
    EXPECT_EQ(fullCount(), 0);
    source().send({4});
    EXPECT_EQ(fullCount(), 1);
    source().send({5, 6});
    EXPECT_EQ(fullCount(), 1);
    EXPECT_EQ(recorder().lostFrames(), 3);
    EXPECT_EQ(recorder().frameCount(), 4);
    EXPECT_THAT(indexesOf(*recorder().take()), ElementsAre(0, 1, 2, 3));
}

TEST_F(RecorderNodeTest, PassesOverOtherDataTypesWhenItIsFullToo) {
    source().send({0, 1, 2, 3});
    source().output().emit(frameAt(4, dataType + 1));
    EXPECT_EQ(fullCount(), 0);
    EXPECT_EQ(recorder().lostFrames(), 0);
    EXPECT_EQ(recorder().foreignFrames(), 1);
}

TEST_F(RecorderNodeTest, LetsGoOfWhatItRefuses) {
    source().send({0, 1, 2, 3});
    const FramePtr frame = frameAt(4);
    source().output().emit(frame);
    EXPECT_EQ(frame.use_count(), 1);
}

TEST_F(RecorderNodeTest, MayHaveABoundOfNothing) {
    RecorderNode recorder(dataType, 0);
    int fullCount = 0;
    recorder.onFull().connect([&] { ++fullCount; });
    recorder.tieToIFramePort(RecorderNode::framePort, source().output());
    EXPECT_TRUE(recorder.isFull());
    source().send({0});
    EXPECT_EQ(fullCount, 1);
    EXPECT_EQ(recorder.take()->timeLength(), 0);
}

TEST_F(RecorderNodeTest, StartsAfreshWhenItIsCleared) {
    const FramePtr frame = frameAt(0);
    source().output().emit(frame);
    source().output().emit(nullptr);
    source().send({1, 2, 3, 4});
    recorder().clear();
    EXPECT_EQ(frame.use_count(), 1);
    EXPECT_EQ(recorder().frameCount(), 0);
    EXPECT_EQ(recorder().lostFrames(), 0);
    EXPECT_EQ(recorder().foreignFrames(), 0);
    EXPECT_FALSE(recorder().isFull());
    source().send({5, 6, 7, 8, 9});
    EXPECT_THAT(indexesOf(*recorder().take()), ElementsAre(5, 6, 7, 8));
    EXPECT_EQ(fullCount(), 2);
}

TEST_F(RecorderNodeTest, GivesATakeThatStaysAsItIs) {
    source().send({0, 1});
    const auto take = recorder().take();
    source().send({2});
    EXPECT_THAT(indexesOf(*take), ElementsAre(0, 1));
    recorder().clear();
    EXPECT_THAT(indexesOf(*take), ElementsAre(0, 1));
    take->getTrack(0)->setFrameCount(0);
    source().send({3});
    EXPECT_THAT(indexesOf(*recorder().take()), ElementsAre(3));
}

TEST_F(RecorderNodeTest, LetsASlotOfFullTakeWhatIsThereAndClear) {
    std::vector<std::vector<unsigned>> takes;
    recorder().onFull().connect([&] {
        takes.push_back(indexesOf(*recorder().take()));
        recorder().clear();
    });
    source().send({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    EXPECT_THAT(takes, ElementsAre(ElementsAre(0, 1, 2, 3), ElementsAre(5, 6, 7, 8)));
    EXPECT_THAT(indexesOf(*recorder().take()), ElementsAre(10));
}

TEST_F(RecorderNodeTest, MayBeDestroyedWhileItIsTied) {
    const FramePtr frame = frameAt(0);
    source().output().emit(frame);
    source().send({1, 2, 3});
    destroy();
    EXPECT_EQ(frame.use_count(), 1);
    source().output().emit(frame);
    source().send({4});
    EXPECT_EQ(frame.use_count(), 1);
    EXPECT_EQ(fullCount(), 0);
}

TEST_F(RecorderNodeTest, MayBeDestroyedByASlotOfFull) {
    int later = 0;
    recorder().onFull().connect([this] { destroy(); });
    recorder().onFull().connect([&] { ++later; });
    source().send({0, 1, 2, 3, 4, 5});
    EXPECT_EQ(fullCount(), 1);
    EXPECT_EQ(later, 0);
}

TEST_F(RecorderNodeTest, IsSilentOnceItIsDestroyedOnAnotherThread) {
    std::thread sending([this] {
        for (unsigned i = 0; i < 1000; ++i) {
            source().send({i});
        }
    });
    destroy();
    const int heard = fullCount();
    sending.join();
    EXPECT_EQ(fullCount(), heard);
}

TEST_F(RecorderNodeTest, IsReadWhileItRecords) {
    constexpr unsigned frames = 1000;
    RecorderNode recorder(dataType, frames / 2);
    recorder.tieToIFramePort(RecorderNode::framePort, source().output());
    std::thread sending([this] {
        for (unsigned i = 0; i < frames; ++i) {
            source().send({i});
        }
    });
    while (recorder.lostFrames() < frames / 2) {
        const auto take = recorder.take();
        EXPECT_EQ(indexesOf(*take), upTo(static_cast<unsigned>(take->timeLength())));
    }
    sending.join();
    EXPECT_EQ(indexesOf(*recorder.take()), upTo(frames / 2));
}

TEST(RecorderNodeOfAReplay, RecordsTheTakeFrameForFrame) {
    ReplayDevice device("replay 1");
    RecorderNode recorder(poseDataType, 10'000);
    recorder.tieToIFramePort(RecorderNode::framePort, device.oFramePort(ReplayDevice::posePort));
    Heard<State> states;
    device.onStateChanged().connect([&](State state) { states.add(state); });
    const std::string file = tarn::testing::samplePath("cmu_131_01_walk.bvh").string();
    const auto take =
        device.syncRequest(std::make_shared<Request>("open", file))->dataAs<BvhTake>().tracks;
    device.syncRequest(std::make_shared<Request>("rate", 0));
    device.syncRequest("start");
    states.await(3);

    const auto recorded = recorder.take();
    ASSERT_EQ(recorded->timeLength(), 994);
    ASSERT_EQ(recorded->timeLength(), take->timeLength());
    for (int i = 0; i < take->timeLength(); ++i) {
        EXPECT_EQ(recorded->getFrame(i, poseDataType), take->getFrame(i, poseDataType));
        EXPECT_EQ(recorded->getTime(i), take->getTime(i));
    }
    EXPECT_EQ(recorded->fps(), take->fps());
    EXPECT_EQ(recorded->frameCount(), take->frameCount());
    EXPECT_EQ(recorded->workRangeEnd(), take->workRangeEnd());
    EXPECT_EQ(recorder.lostFrames() + recorder.foreignFrames(), 0);
}

#ifndef NDEBUG
TEST(RecorderDeathTest, HasNoNegativeBound) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(RecorderNode(dataType, -1), "maxFrames");
}
#endif

} // namespace
} // namespace tarn::kit
