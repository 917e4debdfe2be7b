// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeFollower.h>

#include "link/together/TogetherTest.h"

#include <tarn_link/together/TakeLeader.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace tarn::link {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Instant = kit::Clock::Instant;

class TakeFollowerTest : public TogetherTest {};

TEST_F(TakeFollowerTest, ARecorderWithoutALeaderHasNothingToRecord) {
    TakeFollower follower(disk);
    EXPECT_EQ(follower.call(), TakeCall());
    EXPECT_FALSE(follower.isLed());
    EXPECT_FALSE(follower.clock());
    EXPECT_EQ(follower.placeOf(kit::SteadyClock().now()), TakePlace::Unknown);
}

TEST_F(TakeFollowerTest, ARecorderKnowsWhichInstantsBelongToATake) {
    TakeLeader leader(stage);
    TakeFollower follower(disk);
    leader.arm("walk");
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    EXPECT_EQ(follower.placeOf(kit::SteadyClock().now()), TakePlace::Before);
    ASSERT_TRUE(knowsTheClock(follower));
    const Instant starts = leader.start(seconds(10)).starts;
    ASSERT_TRUE(follows(follower, TakePhase::Recording));
    // Both have one clock, which the recorder knows by measuring it only, and a busy machine badly.
    constexpr auto margin = seconds(2);
    EXPECT_EQ(follower.placeOf(starts - margin), TakePlace::Before);
    EXPECT_EQ(follower.placeOf(starts + margin), TakePlace::Within);
    EXPECT_EQ(follower.placeOf(starts + seconds(100)), TakePlace::Within);
    const Instant ends = leader.end(seconds(20)).ends;
    ASSERT_TRUE(follows(follower, TakePhase::Ended));
    EXPECT_EQ(follower.placeOf(starts + margin), TakePlace::Within);
    EXPECT_EQ(follower.placeOf(ends - margin), TakePlace::Within);
    EXPECT_EQ(follower.placeOf(ends + margin), TakePlace::After);
}

TEST_F(TakeFollowerTest, ALateRecorderLearnsWhereATakeIsAndSaysFromWhenItHasData) {
    TakeLeader leader(stage);
    leader.arm("walk");
    const TakeCall started = leader.start(milliseconds(0));
    TakeFollower follower(disk);
    ASSERT_TRUE(follows(follower, TakePhase::Recording));
    EXPECT_EQ(follower.call(), started);
    ASSERT_TRUE(knowsTheClock(follower));
    const Instant first = kit::SteadyClock().now();
    ASSERT_EQ(follower.placeOf(first), TakePlace::Within);
    RecorderReport report = reportOf(RecorderPhase::Recording);
    report.hasData = true;
    report.dataFrom = first;
    follower.report(report);
    std::vector<RecorderReport> heard;
    ASSERT_TRUE(eventually([&] { return !(heard = leader.recorders()).empty(); }));
    EXPECT_TRUE(heard[0].hasData);
    EXPECT_GT(heard[0].dataFrom, started.starts);
    EXPECT_GT(heard[0].clockBound.count(), 0);
    EXPECT_LE(std::chrono::abs(heard[0].dataFrom - first), heard[0].clockBound);
}

TEST_F(TakeFollowerTest, ATakeGoesOnWithoutItsLeaderUntilSomebodyLeadsAgain) {
    auto leader = std::make_unique<TakeLeader>(stage);
    TakeFollower follower(disk);
    leader->arm("walk");
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    ASSERT_TRUE(knowsTheClock(follower));
    leader->start(milliseconds(0));
    ASSERT_TRUE(follows(follower, TakePhase::Recording));
    leader.reset();
    ASSERT_TRUE(eventually([&] { return !follower.isLed(); }));
    EXPECT_EQ(follower.call().phase, TakePhase::Recording);
    EXPECT_EQ(follower.placeOf(kit::SteadyClock().now() + seconds(2)), TakePlace::Within);

    const Link other(ownDomain());
    TakeLeader next(other);
    next.arm("run");
    ASSERT_TRUE(eventually([&] { return follower.call().name == "run"; }));
    EXPECT_TRUE(follower.isLed());
    EXPECT_EQ(follower.call().leader, other.clock());
}

TEST_F(TakeFollowerTest, AnotherLeaderDoesNotTakeARecorderAwayFromItsTake) {
    TakeLeader leader(stage);
    TakeFollower follower(disk);
    leader.arm("walk");
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    const Link other(ownDomain());
    TakeLeader second(other);
    second.arm("run");
    TakeFollower witness(other);
    leader.start();
    ASSERT_TRUE(follows(follower, TakePhase::Recording));
    ASSERT_TRUE(eventually([&] { return witness.call().phase != TakePhase::Idle; }));
    EXPECT_EQ(follower.call().name, "walk");
    leader.end();
    ASSERT_TRUE(eventually([&] { return follower.call().name == "run"; }));
}

TEST(TakeFollowerThreads, InstantsAreJudgedWhileATakeIsCalledFor) {
    const Link stage(ownDomain());
    const Link disk(ownDomain());
    TakeLeader leader(stage);
    TakeFollower follower(disk);
    std::atomic<bool> isDone{false};
    std::thread device([&] {
        while (!isDone) {
            follower.placeOf(kit::SteadyClock().now());
            std::this_thread::yield();
        }
    });
    std::thread host([&] {
        while (!isDone) {
            follower.call();
            follower.report(reportOf(RecorderPhase::Recording));
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 20; ++i) {
        const std::uint64_t take = leader.arm("walk").take;
        leader.start(milliseconds(0));
        EXPECT_TRUE(eventually([&] { return follower.call().take == take; }));
        EXPECT_TRUE(eventually([&] { return leader.recorders().size() == 1; }));
        leader.end();
    }
    isDone = true;
    device.join();
    host.join();
}

} // namespace
} // namespace tarn::link
