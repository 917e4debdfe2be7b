// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>

// Destroying the device, whatever it is doing: it comes back, and nobody is left waiting.

namespace tarn::kit {
namespace {

using namespace replay_testing;
using namespace std::chrono_literals;
using device_testing::Gate;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Callback = std::function<void(const std::shared_ptr<Reply>&)>;

class ReplayClosing : public ::testing::Test {
protected:
    ReplayClosing() : file_(5) {}
    void openTake() { replay_.open(file_); }
    /// Brings the device's thread to a halt in a slot, until the device is being destroyed.
    void holdUntilClosing() {
        openTake();
        Device& device = replay_.device();
        device.oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& /*frame*/) {
            held_.open();
            awaitClosing(device);
        });
        device.asyncRequest("start", [](const std::shared_ptr<Reply>& /*reply*/) {});
        held_.wait();
    }
    Replay& replay() { return replay_; }
    ReplayDevice& device() { return replay_.device(); }

private:
    TakeFile file_;
    Gate held_;
    Replay replay_;
};

TEST_F(ReplayClosing, EndsADeviceThatWasNeverUsed) {
    replay().destroy();
    EXPECT_THAT(replay().states(), IsEmpty());
}

TEST_F(ReplayClosing, EndsADeviceThatIsReady) {
    openTake();
    replay().destroy();
    EXPECT_THAT(replay().states(), ElementsAre(Device::Ready));
}

TEST_F(ReplayClosing, EndsADeviceThatWaitsForTheNextFrameWithoutAWord) {
    openTake();
    replay().command("start");
    replay().settle();
    replay().destroy();
    EXPECT_EQ(replay().indexes(), upTo(1));
    EXPECT_THAT(replay().states(), ElementsAre(Device::Ready, Device::Busy));
}

TEST_F(ReplayClosing, EndsADeviceThatWaitsForTheNextFrameInRealTime) {
    const TakeFile file(5, "2"); // seconds per frame
    Listened replay(std::make_shared<SteadyClock>());
    replay.open(file);
    replay.command("rate", 1e-6);
    replay.command("start");
    replay.awaitSent(1);
    replay.destroy();
    EXPECT_EQ(replay.indexes(), upTo(1));
}

TEST_F(ReplayClosing, EndsADeviceThatIsPaused) {
    openTake();
    replay().command("start");
    replay().settle();
    replay().command("pause");
    replay().destroy();
    EXPECT_EQ(replay().indexes(), upTo(1));
}

TEST_F(ReplayClosing, EndsADeviceThatIsSendingLateFrames) {
    openTake();
    Gate sending;
    device().oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& frame) {
        if (frame->time().frameIndex() == 1) {
            sending.open();
            awaitClosing(device());
        }
    });
    replay().command("start");
    replay().settle();
    replay().clock().advance(1h);
    sending.wait();
    replay().destroy();
    EXPECT_EQ(replay().indexes(), upTo(2));
}

TEST_F(ReplayClosing, EndsADeviceThatWouldGoOnForEver) {
    openTake();
    device().onStateChanged().connect([&](State state) {
        if (state == Device::Ready) {
            device().syncRequest("start");
        }
    });
    replay().command("rate", 0);
    replay().command("start");
    replay().awaitSent(100);
    replay().destroy();
}

TEST_F(ReplayClosing, EndsADeviceWhoseListenersSendItToAndFro) {
    openTake();
    Gate running;
    int changes = 0;
    device().onStateChanged().connect([&](State state) {
        device().syncRequest(state == Device::Ready ? "start" : "pause");
        if (++changes == 100) {
            running.open();
        }
    });
    device().asyncRequest("start", [](const std::shared_ptr<Reply>& /*reply*/) {});
    running.wait();
    replay().destroy();
}

TEST_F(ReplayClosing, AnswersWhatIsStillWaitingInItsOrder) {
    holdUntilClosing();
    Heard<std::string> answered;
    for (const char* id : {"status", "start", "play", "stop"}) {
        device().asyncRequest(id, [&](const std::shared_ptr<Reply>& reply) {
            EXPECT_EQ(reply->resultCode(), ReplayDevice::failed);
            EXPECT_EQ(reply->errorCode(), ReplayDevice::Closing);
            EXPECT_EQ(reply->errorString(), "the device is being destroyed");
            EXPECT_FALSE(reply->data().has_value());
            answered.add(reply->id());
        });
    }
    replay().destroy();
    EXPECT_THAT(answered.all(), ElementsAre("status", "start", "play", "stop"));
    EXPECT_EQ(replay().indexes(), upTo(1));
}

TEST_F(ReplayClosing, AnswersWhatIsAskedInTheLastCallbacks) {
    holdUntilClosing();
    Heard<int> errors;
    device().asyncRequest("status", [&](const std::shared_ptr<Reply>& /*reply*/) {
        errors.add(device().syncRequest("status")->errorCode());
        device().asyncRequest(
            "start", [&](const std::shared_ptr<Reply>& reply) { errors.add(reply->errorCode()); });
    });
    replay().destroy();
    EXPECT_THAT(errors.all(), ElementsAre(ReplayDevice::Closing, ReplayDevice::Closing));
}

TEST_F(ReplayClosing, CutsOffAChainOfCallbacksThatGoesOnRegardless) {
    holdUntilClosing();
    Heard<int> errors;
    const auto held = std::make_shared<int>();
    std::function<void()> poll = [&, held] {
        device().asyncRequest("status", [&, held](const std::shared_ptr<Reply>& reply) {
            errors.add(reply->errorCode());
            poll();
        });
    };
    poll();
    replay().destroy();
    EXPECT_THAT(errors.all(), SizeIs(17)); // the one that waited, and 16 within each other
    EXPECT_THAT(errors.all(), Each(ReplayDevice::Closing));
    poll = nullptr;
    EXPECT_EQ(held.use_count(), 1); // nothing of the chain is left behind
}

/// Stops the device's thread where it waits for the next frame, when a request comes.
class WatchedClock final : public Clock {
public:
    Instant now() const override { return {}; }
    bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& woken,
                   Instant /*instant*/, const std::function<bool()>& wake) override {
        woken.wait(lock, wake);
        lock.unlock();
        whenRequested_();
        lock.lock();
        return wake();
    }
    void whenRequested(std::function<void()> callback) { whenRequested_ = std::move(callback); }

private:
    std::function<void()> whenRequested_;
};

TEST_F(ReplayClosing, AnswersACallerThatIsBlocked) {
    const TakeFile file(5);
    const auto clock = std::make_shared<WatchedClock>();
    Listened replay(clock);
    Gate isRequested;
    clock->whenRequested([&] {
        isRequested.open();
        awaitClosing(replay.device());
    });
    replay.open(file);
    replay.command("start");
    std::shared_ptr<Reply> reply;
    std::thread caller([&] { reply = replay.command("status"); });
    isRequested.wait();
    replay.destroy();
    caller.join();
    EXPECT_EQ(reply->resultCode(), ReplayDevice::failed);
    EXPECT_EQ(reply->errorCode(), ReplayDevice::Closing);
}

TEST_F(ReplayClosing, LeavesRepliesAndTheTakeToTheHost) {
    openTake();
    const auto status = replay().command("status");
    const TakeFile file(3);
    const auto take = replay().command("open", file.path());
    replay().destroy();
    EXPECT_EQ(status->dataAs<ReplayStatus>().frameCount, 5);
    EXPECT_EQ(take->dataAs<BvhTake>().tracks->timeLength(), 3);
}

TEST_F(ReplayClosing, ComesBackAtAnyMoment) {
    const TakeFile file(3);
    for (int i = 0; i < 200; ++i) {
        Listened replay(std::make_shared<SteadyClock>());
        const auto ignore = [](const std::shared_ptr<Reply>& /*reply*/) {};
        replay.device().asyncRequest(std::make_shared<Request>("open", file.path()), ignore);
        replay.device().asyncRequest(std::make_shared<Request>("rate", i % 2 * 100), ignore);
        replay.device().asyncRequest("start", ignore);
        if (i % 3 == 0) {
            replay.awaitStates(2);
        }
    }
}

#ifndef NDEBUG
TEST(ReplayClosingDeathTest, IsNotForTheDevicesOwnThread) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto destroyInACallback = [] {
        Gate never;
        auto device = std::make_unique<ReplayDevice>("replay 1");
        device->asyncRequest("status",
                             [&](const std::shared_ptr<Reply>& /*reply*/) { device.reset(); });
        never.wait();
    };
    EXPECT_DEATH(destroyInACallback(), "isCurrent");
}

TEST(ReplayClosingDeathTest, IsNotReachedWithoutAClock) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(ReplayDevice("replay 1", nullptr), "clock");
}
#endif

} // namespace
} // namespace tarn::kit
