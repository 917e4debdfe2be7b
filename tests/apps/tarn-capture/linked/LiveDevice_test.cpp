// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace tarn::capture {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using FramePtr = LiveFrames::FramePtr;

constexpr int port = 1;
constexpr int dataType = 100;

FramePtr frameOf(unsigned index) {
    return std::make_shared<Frame>(Time(index, 100), dataType, index);
}

/// A device of frames, and what it sends until it is ready again.
class LiveDeviceTest : public ::testing::Test {
protected:
    explicit LiveDeviceTest(std::size_t most = 1000)
        : frames_(std::make_shared<LiveFrames>(most)) {}

    void make(LiveDevice::Convert convert = {}) {
        device_ = std::make_unique<LiveDevice>("live", port, frames_, std::move(convert));
        device_->oFramePort(port).connect([this](const FramePtr& frame) {
            const std::lock_guard<std::mutex> lock(mutex_);
            sent_.push_back(frame->dataAs<unsigned>());
            changed_.notify_all();
        });
        device_->onStateChanged().connect([this](Device::DeviceState state) {
            const std::lock_guard<std::mutex> lock(mutex_);
            isReady_ = state == Device::Ready;
            changed_.notify_all();
        });
    }
    void start() {
        const std::lock_guard<std::mutex> lock(mutex_);
        sent_.clear();
        isReady_ = false;
        device_->asyncRequest("start", [](const std::shared_ptr<Reply>& /*reply*/) {});
    }
    std::vector<unsigned> awaitSent(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return sent_.size() >= count; });
        return sent_;
    }
    std::vector<unsigned> awaitReady() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return isReady_; });
        return sent_;
    }
    LiveDevice& device() { return *device_; }

    const std::shared_ptr<LiveFrames> frames_;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<unsigned> sent_;
    bool isReady_ = false;
    std::unique_ptr<LiveDevice> device_; ///< goes first
};

TEST_F(LiveDeviceTest, BeginsWithTheFirstFrameHoweverMuchHasCome) {
    make();
    frames_->add(frameOf(7));
    frames_->add(frameOf(8));
    start();
    awaitSent(2);
    EXPECT_TRUE(device().isBusy()); // more may come
    frames_->add(frameOf(9));
    EXPECT_THAT(awaitSent(3), ElementsAre(7U, 8U, 9U));
    EXPECT_TRUE(device().syncRequest("stop")->operator bool());
    EXPECT_TRUE(device().isReady());
    start();
    frames_->add(frameOf(10));
    EXPECT_THAT(awaitSent(4), ElementsAre(7U, 8U, 9U, 10U));
}

TEST_F(LiveDeviceTest, IsReadyOnceTheLastFrameIsSent) {
    make();
    start();
    frames_->add(frameOf(0));
    frames_->add(frameOf(1));
    frames_->finish();
    EXPECT_THAT(awaitReady(), ElementsAre(0U, 1U));
    start();
    EXPECT_THAT(awaitReady(), ElementsAre(0U, 1U));
}

TEST_F(LiveDeviceTest, SendsWhatIsMadeOfTheFramesAndLeavesOutWhatIsNot) {
    make([](const FramePtr& frame, const FramePtr& before) {
        const auto value = frame->dataAs<unsigned>();
        const unsigned sum = value + (before == nullptr ? 0 : before->dataAs<unsigned>());
        return value == 2 ? nullptr : std::make_shared<Frame>(frame->time(), dataType, sum);
    });
    for (unsigned i = 1; i <= 4; ++i) {
        frames_->add(frameOf(i));
    }
    frames_->finish();
    for (int round = 0; round < 2; ++round) { // nothing is left of the last one
        start();
        EXPECT_THAT(awaitReady(), ElementsAre(1U, 4U, 8U));
    }
}

TEST_F(LiveDeviceTest, SaysThatItDoesNotKnowACommand) {
    make();
    EXPECT_EQ(device().syncRequest("dance")->resultCode(), 1);
}

TEST(LiveFrames, EndWhereThereIsNoMoreRoom) {
    LiveFrames frames(2);
    for (unsigned i = 0; i < 2; ++i) {
        frames.add(frameOf(i));
    }
    EXPECT_FALSE(frames.isFull());
    EXPECT_FALSE(frames.isOverAt(2));
    frames.add(frameOf(2));
    frames.add(frameOf(3));
    EXPECT_TRUE(frames.isFull());
    EXPECT_TRUE(frames.isOverAt(2));
    EXPECT_FALSE(frames.isOverAt(1));
    EXPECT_EQ(frames.at(2), nullptr);
    EXPECT_EQ(frames.at(1)->dataAs<unsigned>(), 1U);
}

TEST(LiveFrames, SayWhetherAStopCameBeforeTheFirst) {
    LiveFrames frames(2);
    EXPECT_FALSE(frames.awaitFirst([] { return true; }));
    std::thread adder([&frames] { frames.add(frameOf(0)); });
    EXPECT_TRUE(frames.awaitFirst([] { return false; }));
    adder.join();
    LiveFrames none(2);
    none.finish();
    EXPECT_TRUE(none.awaitFirst([] { return true; }));
}

TEST_F(LiveDeviceTest, GoesWhileFramesCome) {
    std::thread adder([this] {
        for (unsigned i = 0; i < 1000; ++i) {
            frames_->add(frameOf(i));
        }
    });
    for (int i = 0; i < 20; ++i) {
        LiveDevice device("live", port, frames_);
        device.asyncRequest("start", [](const std::shared_ptr<Reply>& /*reply*/) {});
    }
    adder.join();
    EXPECT_NE(frames_->at(999), nullptr);
}

} // namespace
} // namespace tarn::capture
