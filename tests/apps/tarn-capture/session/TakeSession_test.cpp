// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Takes.h"
#include "session/TakeSession.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <thread>

namespace tarn::capture {
namespace {

/// Sessions in real time, by a clock that the test moves.
class SessionInRealTime : public ::testing::Test {
protected:
    std::string writeTake(const std::string& name, int frames) const {
        tests::TakeText take;
        take.rootPositions.assign(static_cast<std::size_t>(frames), "0 0 0");
        tarn::testing::writeFile(directory_ / name, take.text());
        return directory_ / name;
    }

    const tarn::testing::TemporaryDirectory directory_;
    const std::shared_ptr<kit::ManualClock> clock_ = std::make_shared<kit::ManualClock>();
};

TEST_F(SessionInRealTime, KeepsTheBeatLosesNothingAndTrustsTheClock) {
    constexpr int frames = 6;
    TakeSession session({writeTake("take.bvh", frames)}, replays(1, clock_));
    std::thread playing([&] {
        EXPECT_TRUE(session.calibrate(frames, {}, {}));
        EXPECT_TRUE(session.play({}, {}));
    });
    // The first frame of each run comes at once.
    for (int i = 0; i < 2 * (frames - 1); ++i) {
        clock_->advanceTo(clock_->awaitWaiting());
    }
    playing.join();

    EXPECT_EQ(clock_->now().time_since_epoch(), std::chrono::milliseconds(2 * 5 * 40));
    EXPECT_EQ(session.framesShown(), frames);
    const TakePerformer& performer = *session.performers().front();
    EXPECT_EQ(performer.statistics().framesExpected, frames);
    EXPECT_EQ(performer.statistics().framesIn, frames);
    EXPECT_EQ(performer.statistics().framesOut, frames);
    const kit::StreamQuality quality = performer.clock().quality();
    EXPECT_EQ(quality.frames, frames);
    EXPECT_EQ(quality.missing, 0);
    EXPECT_NEAR(quality.measuredRate, 25, 1e-9);
    EXPECT_NEAR(quality.jitter, 0, 1e-9);
    EXPECT_TRUE(performer.clock().isTrusted());
}

} // namespace
} // namespace tarn::capture
