// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/FrameQueue.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

namespace tarn::kit {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<FrameQueue>);

constexpr std::chrono::milliseconds forever(600'000); // nothing here lasts that long
constexpr std::chrono::milliseconds notAtAll(0);

std::shared_ptr<Frame> frameAt(unsigned index) { return std::make_shared<Frame>(Time(index, 60)); }

std::vector<unsigned> indexesOf(const std::vector<std::shared_ptr<Frame>>& frames) {
    std::vector<unsigned> indexes;
    indexes.reserve(frames.size());
    for (const auto& frame : frames) {
        indexes.push_back(frame->time().frameIndex());
    }
    return indexes;
}

TEST(FrameQueue, IsClosedAtFirst) {
    FrameQueue queue(2);
    EXPECT_TRUE(queue.isOver());
    queue.add(frameAt(0));
    EXPECT_THAT(queue.take(forever), IsEmpty());
}

TEST(FrameQueue, GivesFramesInTheOrderInWhichTheyCame) {
    FrameQueue queue(3);
    queue.open();
    EXPECT_FALSE(queue.isOver());
    queue.add(frameAt(5));
    queue.add(frameAt(4));
    EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(5, 4));
    queue.add(frameAt(6));
    EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(6));
    EXPECT_THAT(queue.take(notAtAll), IsEmpty());
    EXPECT_FALSE(queue.isOver());
}

TEST(FrameQueue, IsOverWhenItIsFinishedAndEmpty) {
    FrameQueue queue(2);
    queue.open();
    queue.add(frameAt(0));
    queue.finish();
    EXPECT_FALSE(queue.isOver());
    EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(0));
    EXPECT_TRUE(queue.isOver());
    EXPECT_THAT(queue.take(forever), IsEmpty());
}

TEST(FrameQueue, GivesWhatIsThereAfterItIsClosed) {
    FrameQueue queue(2);
    queue.open();
    queue.add(frameAt(0));
    queue.close();
    queue.add(frameAt(1));
    EXPECT_FALSE(queue.isOver());
    EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(0));
    EXPECT_TRUE(queue.isOver());
}

TEST(FrameQueue, IsEmptyAndGoesOnWhenItIsOpenedAgain) {
    FrameQueue queue(2);
    queue.open();
    const auto frame = frameAt(0);
    queue.add(frame);
    queue.finish();
    queue.close();
    queue.open();
    EXPECT_EQ(frame.use_count(), 1);
    EXPECT_FALSE(queue.isOver());
    queue.add(frameAt(1));
    EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(1));
}

TEST(FrameQueue, LetsGoOfWhatComesWhenItIsClosed) {
    FrameQueue queue(2);
    const auto frame = frameAt(0);
    queue.add(frame);
    EXPECT_EQ(frame.use_count(), 1);
}

TEST(FrameQueueThreads, AnAddWaitsForRoomAndLosesNothing) {
    FrameQueue queue(2);
    queue.open();
    constexpr unsigned count = 1'000;
    std::atomic<std::int64_t> ahead{0};
    std::thread device([&] {
        for (unsigned i = 0; i < count; ++i) {
            queue.add(frameAt(i));
            ++ahead;
        }
        queue.finish();
    });
    std::vector<unsigned> taken;
    while (!queue.isOver()) {
        const std::int64_t addedBefore = ahead;
        EXPECT_LE(addedBefore - static_cast<std::int64_t>(taken.size()), 2);
        for (const unsigned index : indexesOf(queue.take(forever))) {
            taken.push_back(index);
        }
    }
    device.join();
    ASSERT_EQ(taken.size(), count);
    for (unsigned i = 0; i < count; ++i) {
        EXPECT_EQ(taken[i], i);
    }
}

TEST(FrameQueueThreads, ClosingFreesAnAddThatWaits) {
    for (int round = 0; round < 100; ++round) { // the add does not wait yet in some of them
        FrameQueue queue(1);
        queue.open();
        queue.add(frameAt(0));
        const auto dropped = frameAt(1);
        std::atomic<bool> isAdding{false};
        std::thread device([&] {
            isAdding = true;
            queue.add(dropped);
        });
        while (!isAdding) {
            std::this_thread::yield();
        }
        queue.close();
        device.join();
        EXPECT_EQ(dropped.use_count(), 1);
        EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(0));
    }
}

TEST(FrameQueueThreads, ATakeWaitsForAFrame) {
    FrameQueue queue(1);
    queue.open();
    std::thread device([&] { queue.add(frameAt(7)); });
    EXPECT_THAT(indexesOf(queue.take(forever)), ElementsAre(7));
    device.join();
}

TEST(FrameQueueThreads, FinishingAndClosingFreeATakeThatWaits) {
    FrameQueue queue(1);
    queue.open();
    std::thread finishing([&] { queue.finish(); });
    EXPECT_THAT(queue.take(forever), IsEmpty());
    finishing.join();
    queue.open();
    std::thread closing([&] { queue.close(); });
    EXPECT_THAT(queue.take(forever), IsEmpty());
    closing.join();
}

TEST(FrameQueueThreads, SeveralMayAddAndOneMayOpenAndCloseMeanwhile) {
    FrameQueue queue(4);
    std::atomic<int> running{3};
    std::vector<std::thread> devices;
    devices.reserve(3);
    for (int i = 0; i < 3; ++i) {
        devices.emplace_back([&] {
            for (unsigned frame = 0; frame < 500; ++frame) {
                queue.add(frameAt(frame));
            }
            --running;
        });
    }
    while (running > 0) {
        queue.open();
        queue.take(notAtAll);
        queue.isOver();
        queue.close();
    }
    for (std::thread& device : devices) {
        device.join();
    }
    queue.take(notAtAll);
    EXPECT_TRUE(queue.isOver());
}

#ifndef NDEBUG
TEST(FrameQueueDeathTest, HasRoom) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(FrameQueue(0), "capacity");
}
#endif

} // namespace
} // namespace tarn::kit
