// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeLeader.h>

#include "link/together/TogetherTest.h"

#include <tarn_link/together/TakeFollower.h>

#include <memory>
#include <vector>

namespace tarn::link {
namespace {

class TakeLeaderTest : public TogetherTest {};

TEST_F(TakeLeaderTest, ATakeIsArmedStartedAndEnded) {
    TakeLeader leader(stage);
    TakeFollower follower(disk);
    EXPECT_EQ(leader.call().phase, TakePhase::Idle);
    EXPECT_EQ(leader.start().phase, TakePhase::Idle) << "nothing is armed";
    EXPECT_EQ(leader.end().phase, TakePhase::Idle);

    const TakeCall armed = leader.arm("walk");
    EXPECT_EQ(armed.phase, TakePhase::Armed);
    EXPECT_EQ(armed.take, 1U);
    EXPECT_EQ(armed.leader, stage.clock());
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    EXPECT_EQ(follower.call(), armed);
    EXPECT_TRUE(follower.isLed());

    const TakeCall started = leader.start();
    ASSERT_TRUE(follows(follower, TakePhase::Recording));
    EXPECT_EQ(follower.call(), started);
    EXPECT_EQ(leader.start(), started) << "it has started already";

    const TakeCall ended = leader.end();
    EXPECT_GE(ended.ends, ended.starts);
    ASSERT_TRUE(follows(follower, TakePhase::Ended));
    EXPECT_EQ(follower.call(), ended);

    EXPECT_EQ(leader.arm("run").take, 2U);
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    EXPECT_EQ(leader.end().phase, TakePhase::Idle) << "it never started";
    ASSERT_TRUE(follows(follower, TakePhase::Idle));
}

TEST_F(TakeLeaderTest, ALeaderHearsWhatEachRecorderSays) {
    TakeLeader leader(stage);
    TakeFollower first(disk);
    TakeFollower second(disk);
    leader.arm("walk");
    ASSERT_TRUE(follows(first, TakePhase::Armed));
    ASSERT_TRUE(follows(second, TakePhase::Armed));
    first.report(reportOf(RecorderPhase::Armed, "a.tarn"));
    RecorderReport failed = reportOf(RecorderPhase::Failed, "b.tarn");
    failed.text = "no space is left";
    failed.frames = 12;
    failed.lost = 3;
    second.report(failed);
    std::vector<RecorderReport> heard;
    ASSERT_TRUE(eventually([&] { return (heard = leader.recorders()).size() == 2; }));
    EXPECT_EQ(heard[0].file, "a.tarn");
    EXPECT_EQ(heard[0].phase, RecorderPhase::Armed);
    EXPECT_FALSE(heard[0].host.empty());
    EXPECT_EQ(heard[0].leader, stage.clock());
    EXPECT_EQ(heard[1].file, "b.tarn");
    EXPECT_EQ(heard[1].phase, RecorderPhase::Failed);
    EXPECT_EQ(heard[1].text, "no space is left");
    EXPECT_EQ(heard[1].frames, 12);
    EXPECT_EQ(heard[1].lost, 3);

    leader.arm("run");
    EXPECT_TRUE(leader.recorders().empty()) << "they speak of the last take";
}

TEST_F(TakeLeaderTest, WhatARecorderSaidLastIsKnownWhenItIsGone) {
    TakeLeader leader(stage);
    auto follower = std::make_unique<TakeFollower>(disk);
    leader.arm("walk");
    ASSERT_TRUE(follows(*follower, TakePhase::Armed));
    RecorderReport report = reportOf(RecorderPhase::Ended);
    report.frames = 99;
    follower->report(report);
    ASSERT_TRUE(eventually([&] { return leader.recorders().size() == 1; }));
    EXPECT_TRUE(leader.recorders()[0].isThere);
    follower.reset();
    ASSERT_TRUE(eventually([&] { return !leader.recorders()[0].isThere; }));
    EXPECT_EQ(leader.recorders()[0].frames, 99);
    EXPECT_EQ(leader.recorders()[0].phase, RecorderPhase::Ended);
}

} // namespace
} // namespace tarn::link
