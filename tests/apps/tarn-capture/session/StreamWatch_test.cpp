// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Takes.h"
#include "session/StreamWatch.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace tarn::capture {
namespace {

using namespace std::chrono_literals;
using kit::Clock;
using ::testing::ElementsAre;

/// A device on a clock that the test moves, with a take of 3 frames at 25 per second.
class Watched : public ::testing::Test {
protected:
    Watched() {
        tarn::testing::writeFile(take_, tests::TakeText().text());
        device_.open(take_);
    }
    StreamWatch::Instants watch(double speed, int wanted, int steps) {
        int arrived = 0;
        StreamWatch watch(device_, clock_, wanted, [&arrived] { ++arrived; });
        device_.setSpeed(speed);
        device_.start();
        for (int i = 0; i < steps; ++i) {
            clock_->advanceTo(clock_->awaitWaiting());
        }
        watch.waitForEnd();
        device_.stop();
        EXPECT_EQ(arrived, wanted);
        return watch.arrivals();
    }

    tarn::testing::TemporaryDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
    const std::shared_ptr<kit::ManualClock> clock_ = std::make_shared<kit::ManualClock>();
    kit::ReplayDevice device_{"stream", clock_};
};

TEST_F(Watched, AStreamKeepsTheBeatOfItsTakeTimesAFactor) {
    const auto arrivals = watch(10, 3, 2);
    EXPECT_THAT(arrivals,
                ElementsAre(Clock::Instant(0ms), Clock::Instant(4ms), Clock::Instant(8ms)));
    EXPECT_DOUBLE_EQ(durationOf(arrivals), 0.008);
    EXPECT_NEAR(jitterOf(arrivals, 250).largest, 0, 1e-9);
}

TEST_F(Watched, AStreamEndsAfterTheFramesThatAreWanted) {
    EXPECT_THAT(watch(1, 2, 1), ElementsAre(Clock::Instant(0ms), Clock::Instant(40ms)));
    EXPECT_THAT(watch(1, 1, 0), ElementsAre(Clock::Instant(40ms)));
}

TEST(Jitter, IsHowFarFramesAreOffTheBeatOfTheFirst) {
    const Jitter jitter =
        jitterOf({Clock::Instant(100ms), Clock::Instant(112ms), Clock::Instant(119ms)}, 100);
    EXPECT_NEAR(jitter.median, 1, 1e-9); // 0, 2 and 1 ms
    EXPECT_NEAR(jitter.nearly, 2, 1e-9);
    EXPECT_NEAR(jitter.largest, 2, 1e-9);
    EXPECT_NEAR(jitterOf({Clock::Instant(7ms)}, 100).largest, 0, 1e-9);
    EXPECT_EQ(durationOf({}), 0);
}

} // namespace
} // namespace tarn::capture
