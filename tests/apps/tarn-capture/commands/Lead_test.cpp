// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/LinkedTest.h"

#include <gmock/gmock.h>

#include <csignal>
#include <regex>
#include <string>
#include <unistd.h>

// One takes the lead, others record: all of them the same take.

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// From which second of the take on a recorder has data, as its leader says.
double beginOf(const std::string& file, const std::string& report) {
    std::smatch found;
    const std::regex line(file + " on [^\n]*, from ([0-9.-]+) s on, safe\n");
    EXPECT_TRUE(std::regex_search(report, found, line)) << report;
    return found.empty() ? -1 : std::stod(found[1]);
}

class Lead : public LinkedTest {
protected:
    /// Streams that go on for longer than any of these tests.
    Arguments published(const std::string& take, const std::string& name) const {
        return linked({"publish", take, "--as", name, "--await", "1", "--speed", "0.2"});
    }
    Arguments following(const std::string& stream, const std::string& file) const {
        return linked({"record", "--follow", "--from", stream, "--out", file, "--wait", "60"});
    }

    const std::string own_ = std::to_string(getpid());
    const std::string left_ = "left" + own_;
    const std::string right_ = "right" + own_;
    const std::string leftFile_ = directory_ / "left.tarn";
    const std::string rightFile_ = directory_ / "right.tarn";
    const std::string first_ = sampleTake("cmu_60_12_salsa_a");
    const std::string second_ = sampleTake("cmu_61_12_salsa_b");
};

TEST_F(Lead, HasRecordersTakeTheSameTakeWhichIsThenJoined) {
    const RunningCapture leftStage(published(first_, left_));
    const RunningCapture rightStage(published(second_, right_));
    RunningCapture left(following(left_, leftFile_));
    RunningCapture right(following(right_, rightFile_));
    const Outcome lead = capture(linked({"lead", "scene 1", "--await", "2", "--for", "2"}));
    EXPECT_EQ(lead.exitCode, 0) << lead.err;
    EXPECT_THAT(lead.out,
                AllOf(HasSubstr("'scene 1' is armed in domain "), HasSubstr("left.tarn on "),
                      HasSubstr("right.tarn on "), HasSubstr(", 0 lost"), HasSubstr(", safe\n"),
                      Not(HasSubstr("no data"))));
    for (RunningCapture* const recorder : {&left, &right}) {
        const Outcome outcome = recorder->wait();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_THAT(outcome.out,
                    AllOf(HasSubstr("armed: 'scene 1'"), HasSubstr("recording 'scene 1'")));
    }
    const std::string joined = directory_ / "joined.tarn";
    const Outcome join = capture({"take", "join", leftFile_, rightFile_, joined});
    EXPECT_EQ(join.exitCode, 0) << join.err;
    EXPECT_THAT(capture({"take", "ls", joined}).out,
                AllOf(HasSubstr("cmu_60_12_salsa_a"), HasSubstr("cmu_61_12_salsa_b")));
}

TEST_F(Lead, SaysFromWhenOnARecorderHasDataThatJoinedLate) {
    const RunningCapture leftStage(published(first_, left_));
    const RunningCapture rightStage(published(second_, right_));
    RunningCapture left(following(left_, leftFile_));
    RunningCapture lead(linked({"lead", "scene 2"}));
    EXPECT_TRUE(left.awaitOutput("recording 'scene 2'")); // so the take has begun
    RunningCapture right(following(right_, rightFile_));
    EXPECT_TRUE(right.awaitOutput("recording 'scene 2'"));
    lead.signal(SIGINT);
    const Outcome outcome = lead.wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_GT(beginOf("right.tarn", outcome.out), beginOf("left.tarn", outcome.out));
    EXPECT_GE(beginOf("left.tarn", outcome.out), 0);
    EXPECT_EQ(left.wait().exitCode, 0);
    EXPECT_EQ(right.wait().exitCode, 0);
}

TEST_F(Lead, FailsWhereARecorderIsGoneBeforeTheEnd) {
    const RunningCapture stage(published(first_, left_));
    RunningCapture recorder(following(left_, leftFile_));
    RunningCapture lead(linked({"lead", "scene 3"}));
    EXPECT_TRUE(recorder.awaitOutput("recording 'scene 3'"));
    recorder.signal(SIGKILL);
    recorder.wait();
    lead.signal(SIGINT);
    const Outcome outcome = lead.wait();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("'scene 3' is not safe everywhere"));
}

TEST_F(Lead, FailsWhereARecorderIsInterruptedBeforeTheEnd) {
    const RunningCapture stage(published(first_, left_));
    RunningCapture recorder(following(left_, leftFile_));
    RunningCapture lead(linked({"lead", "scene 5"}));
    EXPECT_TRUE(recorder.awaitOutput("recording 'scene 5'"));
    recorder.signal(SIGINT);
    EXPECT_EQ(recorder.wait().exitCode, 128 + SIGINT);
    lead.signal(SIGINT);
    const Outcome outcome = lead.wait();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, HasSubstr(", failed: interrupted before the end"));
    EXPECT_THAT(outcome.err, HasSubstr("'scene 5' is not safe everywhere"));
}

TEST_F(Lead, TakesATakeBackThatNobodyWasReadyFor) {
    const Outcome outcome =
        captureInterrupted(linked({"lead", "scene 4"}), "waiting for 1 recorder");
    EXPECT_EQ(outcome.exitCode, 128 + SIGINT);
    EXPECT_THAT(outcome.err, HasSubstr("the take was taken back"));
}

TEST_F(Lead, RefusesACommandLineThatCannotBe) {
    for (const Arguments& arguments :
         {Arguments{"lead"}, Arguments{"lead", "a*"}, Arguments{"lead", "a", "--await", "0"},
          Arguments{"lead", "a", "--for", "-1"}}) {
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << outcome.err;
        EXPECT_THAT(outcome.out, IsEmpty());
    }
}

} // namespace
} // namespace tarn::tests
