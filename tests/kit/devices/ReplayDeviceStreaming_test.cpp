// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

// Which frames are sent, and when. Takes are at 100 frames per second unless a test says otherwise.

namespace tarn::kit {
namespace {

using namespace replay_testing;
using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ReplayStreaming : public ::testing::Test {
protected:
    void openTake(int frames) { replay_.open(file_.emplace(frames)); }
    Replay& replay() { return replay_; }
    ManualClock& clock() { return replay_.clock(); }

private:
    std::optional<TakeFile> file_;
    Replay replay_;
};

TEST_F(ReplayStreaming, SendsTheFirstFrameAtOnceAndTheOthersAtTheirTime) {
    openTake(4);
    clock().advance(7ms);
    replay().command("start");
    replay().steps(3);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(),
                ElementsAre(Sent{0, 7ms}, Sent{1, 17ms}, Sent{2, 27ms}, Sent{3, 37ms}));
}

TEST_F(ReplayStreaming, SendsNothingUntilItIsTold) {
    openTake(4);
    clock().advance(1h);
    replay().command("seek", 2);
    replay().command("rate", 0);
    EXPECT_EQ(replay().status().framesSent, 0);
    EXPECT_THAT(replay().sent(), IsEmpty());
}

TEST_F(ReplayStreaming, SendsNothingBeforeItsTime) {
    openTake(4);
    replay().command("start");
    EXPECT_EQ(clock().awaitWaiting(), Clock::Instant(10ms));
    clock().advance(10ms - 1ns);
    EXPECT_EQ(replay().status().framesSent, 1);
    EXPECT_EQ(clock().awaitWaiting(), Clock::Instant(10ms));
    clock().advance(1ns);
    EXPECT_EQ(clock().awaitWaiting(), Clock::Instant(20ms));
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 10ms}));
}

TEST_F(ReplayStreaming, DoesNotDriftWhenAnIntervalIsNoWholeNumber) {
    constexpr int frames = 1201;
    const TakeFile file(frames, "0.00833333");
    replay().open(file);
    EXPECT_EQ(replay().status().rate, 120);
    replay().command("start");
    replay().steps(frames - 1);
    replay().awaitStates(3);
    const std::vector<Sent> sent = replay().sent();
    ASSERT_THAT(sent, SizeIs(frames));
    EXPECT_EQ(sent[1], (Sent{1, 8'333'333ns}));
    EXPECT_EQ(sent[2], (Sent{2, 16'666'667ns}));
    EXPECT_EQ(sent[120], (Sent{120, 1s}));
    EXPECT_EQ(sent[1200], (Sent{1200, 10s}));
}

TEST_F(ReplayStreaming, KeepsARateThatIsNotWholeExactly) {
    constexpr int frames = 31;
    const TakeFile file(frames, "0.0333667"); // 30000/1001 per second
    replay().open(file);
    EXPECT_EQ(replay().status().rate, 30);
    replay().command("start");
    replay().steps(frames - 1);
    replay().awaitStates(3);
    const std::vector<Sent> sent = replay().sent();
    ASSERT_THAT(sent, SizeIs(frames));
    EXPECT_EQ(sent[30], (Sent{30, 1'001'000'000ns}));
}

TEST_F(ReplayStreaming, SendsTheFramesOfTheTakeThemselves) {
    const TakeFile file(3);
    Heard<FramePtr> heard;
    replay().device().oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& frame) {
        heard.add(frame);
    });
    const auto take = replay().command("open", file.path())->dataAs<BvhTake>();
    replay().command("start");
    replay().steps(2);
    heard.await(3);
    const std::vector<FramePtr> frames = heard.all();
    for (int i = 0; i < 3; ++i) {
        const FramePtr& frame = frames[static_cast<std::size_t>(i)];
        EXPECT_EQ(frame, take.tracks->getFrame(i, poseDataType));
        EXPECT_EQ(frame->time(), Time(static_cast<unsigned>(i), 100));
        EXPECT_THAT(frame->dataAs<Pose>().values, ElementsAre(static_cast<float>(i)));
    }
}

TEST_F(ReplayStreaming, IsReadyAgainRightAfterTheLastFrame) {
    openTake(3);
    std::vector<State> statesAtFrames;
    ReplayDevice& device = replay().device();
    device.oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& /*frame*/) {
        statesAtFrames.push_back(device.state());
    });
    replay().command("start");
    replay().steps(2);
    replay().awaitStates(3);
    EXPECT_THAT(replay().states(), ElementsAre(Device::Ready, Device::Busy, Device::Ready));
    EXPECT_EQ(clock().now(), Clock::Instant(20ms));
    const ReplayStatus status = replay().status();
    EXPECT_EQ(status.state, Device::Ready);
    EXPECT_EQ(status.nextFrame, 3);
    EXPECT_EQ(status.framesSent, 3);
    EXPECT_THAT(statesAtFrames, ElementsAre(Device::Busy, Device::Busy, Device::Busy));
}

TEST_F(ReplayStreaming, StartsAgainFromTheFirstFrameAtTheEnd) {
    openTake(2);
    replay().command("start");
    replay().step();
    replay().awaitStates(3);
    clock().advance(1s);
    replay().command("start");
    replay().step();
    replay().awaitStates(5);
    EXPECT_THAT(replay().sent(),
                ElementsAre(Sent{0, 0ms}, Sent{1, 10ms}, Sent{0, 1010ms}, Sent{1, 1020ms}));
    EXPECT_EQ(replay().status().framesSent, 4);
}

TEST_F(ReplayStreaming, StartsWhereItWasSoughtToAtTheEnd) {
    openTake(3);
    replay().command("rate", 0);
    replay().command("start");
    replay().awaitStates(3);
    replay().command("seek", 1);
    replay().command("start");
    replay().awaitStates(5);
    EXPECT_THAT(replay().indexes(), ElementsAre(0, 1, 2, 1, 2));
}

TEST_F(ReplayStreaming, IsAtTheEndOfATakeWithoutFramesAtOnce) {
    openTake(0);
    EXPECT_TRUE(*replay().command("start"));
    replay().awaitStates(3);
    EXPECT_THAT(replay().states(), ElementsAre(Device::Ready, Device::Busy, Device::Ready));
    EXPECT_THAT(replay().sent(), IsEmpty());
}

TEST_F(ReplayStreaming, SendsLateFramesAtOnceAndKeepsTheBeat) {
    openTake(6);
    replay().command("start");
    replay().settle();
    clock().advance(35ms);
    EXPECT_EQ(clock().awaitWaiting(), Clock::Instant(40ms));
    replay().step();
    EXPECT_EQ(clock().awaitWaiting(), Clock::Instant(50ms));
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 35ms}, Sent{2, 35ms},
                                             Sent{3, 35ms}, Sent{4, 40ms}));
}

TEST_F(ReplayStreaming, AnswersBetweenLateFrames) {
    openTake(1000);
    Heard<int> nextFrames;
    ReplayDevice& device = replay().device();
    // Each frame leaves a request behind, from another thread, as a host would make it.
    device_testing::Workers workers(1);
    device.oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& frame) {
        if (frame->time().frameIndex() == 1) {
            device_testing::Gate asked;
            workers.post([&] {
                device.asyncRequest("status", [&](const std::shared_ptr<Reply>& reply) {
                    nextFrames.add(reply->dataAs<ReplayStatus>().nextFrame);
                });
                asked.open();
            });
            asked.wait();
        }
    });
    replay().command("start");
    replay().settle();
    clock().advance(9s);
    nextFrames.await(1);
    EXPECT_THAT(nextFrames.all(), ElementsAre(2));
}

TEST_F(ReplayStreaming, GoesOnWhereItWasPaused) {
    openTake(5);
    replay().command("start");
    replay().step();
    replay().settle();
    clock().advance(2ms);
    replay().command("pause");
    clock().advance(1s);
    EXPECT_EQ(replay().status().nextFrame, 2);
    EXPECT_EQ(replay().status().framesSent, 2);
    replay().command("start");
    replay().steps(2);
    replay().awaitStates(5);
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 10ms}, Sent{2, 1012ms},
                                             Sent{3, 1022ms}, Sent{4, 1032ms}));
}

TEST_F(ReplayStreaming, GoesBackToTheFirstFrameWhenItIsStopped) {
    openTake(3);
    replay().command("start");
    replay().step();
    replay().settle();
    replay().command("stop");
    clock().advance(1s);
    replay().command("start");
    replay().steps(2);
    replay().awaitStates(5);
    EXPECT_THAT(replay().indexes(), ElementsAre(0, 1, 0, 1, 2));
}

TEST_F(ReplayStreaming, IsNotDisturbedByAStartOnTheWay) {
    openTake(3);
    replay().command("start");
    replay().settle();
    clock().advance(4ms);
    replay().command("start");
    replay().steps(2);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 10ms}, Sent{2, 20ms}));
}

TEST_F(ReplayStreaming, KeepsTheBeatWhenItSeeks) {
    openTake(10);
    replay().command("start");
    replay().step();
    replay().settle();
    clock().advance(3ms);
    replay().command("seek", 8);
    replay().steps(2);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(),
                ElementsAre(Sent{0, 0ms}, Sent{1, 10ms}, Sent{8, 20ms}, Sent{9, 30ms}));
}

TEST_F(ReplayStreaming, RunsAtTheGivenMultipleOfTheTakesRate) {
    openTake(3);
    replay().command("rate", 2);
    replay().command("start");
    replay().steps(2);
    replay().awaitStates(3);
    replay().command("rate", 0.25);
    replay().command("start");
    replay().steps(2);
    replay().awaitStates(5);
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 5ms}, Sent{2, 10ms},
                                             Sent{0, 10ms}, Sent{1, 50ms}, Sent{2, 90ms}));
}

TEST_F(ReplayStreaming, StartsANewBeatOneIntervalAfterTheLastFrameWhenTheRateChanges) {
    openTake(5);
    replay().command("start");
    replay().step();
    replay().settle();
    clock().advance(4ms);
    replay().command("rate", 2);
    replay().steps(1);
    replay().settle();
    replay().command("rate", 0.5);
    replay().steps(2);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 10ms}, Sent{2, 15ms},
                                             Sent{3, 35ms}, Sent{4, 55ms}));
}

TEST_F(ReplayStreaming, CountsANewBeatFromWhenTheLastFrameWasDueNotFromWhenItWasSent) {
    openTake(4);
    replay().command("start");
    replay().settle();
    clock().advance(14ms);
    replay().settle();
    replay().command("rate", 2);
    replay().steps(2);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(),
                ElementsAre(Sent{0, 0ms}, Sent{1, 14ms}, Sent{2, 15ms}, Sent{3, 20ms}));
}

TEST_F(ReplayStreaming, DoesNotCatchUpWithABeatItNeverHad) {
    openTake(4);
    replay().command("rate", 0.1);
    replay().command("start");
    replay().settle();
    clock().advance(50ms);
    replay().command("rate", 1);
    replay().steps(2);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(),
                ElementsAre(Sent{0, 0ms}, Sent{1, 50ms}, Sent{2, 60ms}, Sent{3, 70ms}));
}

TEST_F(ReplayStreaming, NeedsNoTimeAtAllAtTheFactorZero) {
    openTake(500);
    replay().command("rate", 0);
    replay().command("start");
    replay().awaitStates(3);
    EXPECT_EQ(clock().now(), Clock::Instant());
    EXPECT_EQ(replay().indexes(), upTo(500));
}

TEST_F(ReplayStreaming, GoesFromAsFastAsItCanToABeatAndBack) {
    openTake(10);
    ReplayDevice& device = replay().device();
    device.oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& frame) {
        if (frame->time().frameIndex() == 2) {
            device.syncRequest(std::make_shared<Request>("rate", 1));
        }
    });
    clock().advance(5ms);
    replay().command("rate", 0);
    replay().command("start");
    replay().steps(2);
    replay().settle();
    replay().command("rate", 0);
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(),
                ElementsAre(Sent{0, 5ms}, Sent{1, 5ms}, Sent{2, 5ms}, Sent{3, 15ms}, Sent{4, 25ms},
                            Sent{5, 25ms}, Sent{6, 25ms}, Sent{7, 25ms}, Sent{8, 25ms},
                            Sent{9, 25ms}));
}

TEST_F(ReplayStreaming, SendsTheFirstFrameAtOnceEvenIfTheRateChangesBeforeIt) {
    openTake(2);
    ReplayDevice& device = replay().device();
    device.onStateChanged().connect([&](State state) {
        if (state == Device::Busy) {
            device.syncRequest(std::make_shared<Request>("rate", 0.5));
        }
    });
    replay().command("start");
    replay().step();
    replay().awaitStates(3);
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 20ms}));
}

TEST_F(ReplayStreaming, CountsANewRunFromItsOwnStartWhateverCameBefore) {
    openTake(3);
    replay().command("start");
    replay().settle();
    replay().command("pause");
    ReplayDevice& device = replay().device();
    device.onStateChanged().connect([&](State state) {
        if (state == Device::Busy) {
            device.syncRequest(std::make_shared<Request>("rate", 1));
        }
    });
    replay().command("start");
    replay().step();
    replay().awaitStates(5);
    EXPECT_THAT(replay().sent(), ElementsAre(Sent{0, 0ms}, Sent{1, 0ms}, Sent{2, 10ms}));
}

TEST_F(ReplayStreaming, BearsFactorsOfAnySize) {
    openTake(4);
    replay().command("rate", std::numeric_limits<double>::max());
    replay().command("start");
    replay().awaitStates(3);
    EXPECT_EQ(clock().now(), Clock::Instant());
    replay().command("rate", std::numeric_limits<double>::denorm_min());
    replay().command("start");
    constexpr auto year = 8766h;
    EXPECT_GT(clock().awaitWaiting(), clock().now() + 30 * year);
    replay().command("rate", 1);
    EXPECT_EQ(clock().awaitWaiting(), clock().now() + 10ms);
    replay().command("stop");
    EXPECT_THAT(replay().indexes(), ElementsAre(0, 1, 2, 3, 0));
}

TEST(ReplayRealTime, IsNeverEarly) {
    constexpr unsigned frames = 13;
    const TakeFile file(frames, "0.00833333");
    const auto clock = std::make_shared<SteadyClock>();
    Listened replay(clock);
    replay.open(file);
    const Clock::Duration start = clock->now().time_since_epoch();
    replay.command("start");
    replay.awaitStates(3);
    EXPECT_EQ(replay.indexes(), upTo(frames));
    std::vector<Clock::Duration> lateness;
    for (const Sent& sent : replay.sent()) {
        lateness.push_back(sent.at - start - sent.index * Clock::Duration(1s) / 120);
    }
    EXPECT_THAT(lateness, Each(Ge(-1ns))); // instants are rounded to nanoseconds
}

} // namespace
} // namespace tarn::kit
