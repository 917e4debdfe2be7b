// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <utility>

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;

class Stream : public ::testing::Test {
protected:
    Stream() { writeFile(take_, TakeText().text()); }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
};

TEST_F(Stream, RecordsASampleTakeFrameForFrame) {
    const std::string take = sampleTake("cmu_131_01_walk");

    const Outcome outcome = capture({"stream", take, "--speed", "0"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(outcome.out, AllOf(HasSubstr(take + "\n  streamed  994 frames of 994\n"
                                                    "  lost      0\n  duration  "),
                                   HasSubstr("  jitter    none: frames were not paced\n"),
                                   HasSubstr("\n  recording identical to the take\n")));
}

TEST_F(Stream, SaysHowFastItStreamedAndHowLong) {
    // 3 frames at 25 per second, ten times as fast: the last one is due 8 ms after the first.
    const Outcome outcome = capture({"stream", take_, "--speed", "10"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, MatchesRegex(".*\n  streamed  3 frames of 3\n"
                                          "  lost      0\n"
                                          "  duration  [0-9]+\\.[0-9][0-9][0-9] s\n"
                                          "  jitter    median [0-9.]+ ms, 99 % within [0-9.]+ ms, "
                                          "largest [0-9.]+ ms\n"
                                          "  recording identical to the take\n"));
}

TEST_F(Stream, TakesLongerAtALowerSpeed) {
    // The last of 3 frames is due after 80 ms, or ten times that.
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(capture({"stream", take_, "--speed", "0.1"}).exitCode, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(800));
}

TEST_F(Stream, StopsAfterAsManyFramesAsAreWanted) {
    const Outcome outcome = capture({"stream", take_, "--speed", "0", "--frames", "2"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("  streamed  2 frames of 3\n  lost      0\n"),
                                   HasSubstr("identical")));
}

TEST_F(Stream, MayBeAskedForAllFrames) {
    EXPECT_THAT(capture({"stream", take_, "--speed", "0", "--frames", "3"}).out,
                HasSubstr("  streamed  3 frames of 3\n  lost      0\n"));
}

TEST_F(Stream, BeginsWithTheFirstFrameThatIsWanted) {
    for (const auto& [frames, count] : {std::pair("1..1", "1 frame"), std::pair("1..", "2 frames"),
                                        std::pair("0..2", "3 frames")}) {
        EXPECT_THAT(capture({"stream", take_, "--speed", "0", "--frames", frames}).out,
                    AllOf(HasSubstr("  streamed  " + std::string(count) + " of 3\n  lost      0\n"),
                          HasSubstr("identical")));
    }
}

TEST_F(Stream, HasNothingToStreamInATakeWithoutFrames) {
    TakeText take;
    take.rootPositions.clear();
    writeFile(take_, take.text());

    const Outcome outcome = capture({"stream", take_});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("  streamed  0 frames of 0\n  lost      0\n"
                                       "  duration  0.000 s\n"
                                       "  jitter    none: frames were not paced\n"));
}

TEST_F(Stream, ServesAPageOnThisMachineWhereThatIsAskedFor) {
    for (const Arguments& port : {Arguments{"--view"}, Arguments{"--view", "0"}}) {
        Arguments arguments{"stream", take_, "--speed", "0"};
        arguments.insert(arguments.end(), port.begin(), port.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.err, IsEmpty());
        EXPECT_THAT(outcome.out, MatchesRegex("watch at http://127\\.0\\.0\\.1:[1-9][0-9]*/"
                                              "\\?token=[0-9a-f]+\n.*identical to the take\n"));
    }
    EXPECT_THAT(capture({"stream", take_, "--speed", "0"}).out, Not(HasSubstr("watch at")));
}

TEST_F(Stream, SaysWhyAPageCannotBeServed) {
    const auto outcomeWith = [this](const std::string& address) {
        return capture({"stream", take_, "--view", "--view-address", address});
    };
    const Outcome foreign = outcomeWith("203.0.113.1"); // of nobody's machine
    EXPECT_EQ(foreign.exitCode, 1);
    EXPECT_THAT(foreign.err, HasSubstr("--view: cannot listen on 203.0.113.1:0: "));
    EXPECT_THAT(outcomeWith("here").err, HasSubstr("--view: 'here' is no IP address"));
}

TEST_F(Stream, ShowsItsProgressOnATerminalOnly) {
    EXPECT_THAT(capture({"stream", take_, "--speed", "0"}).err, IsEmpty());
    EXPECT_THAT(captureOnTerminal({"stream", take_, "--speed", "0"}, 40).err, HasSubstr("100%"));
}

TEST_F(Stream, FailsOnABadFileWithItsPlace) {
    writeFile(take_, "HIERARCHY\nROOT\n");

    const Outcome outcome = capture({"stream", take_});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr(take_ + ":2:5: expected the name of the joint"));
    EXPECT_EQ(capture({"stream", directory_ / "missing.bvh"}).exitCode, 1);
}

TEST_F(Stream, RefusesWhatMakesNoSense) {
    const auto expectUsageError = [this](const Arguments& more, const std::string& reason) {
        Arguments arguments{"stream", take_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_THAT(outcome.err, HasSubstr(reason));
        EXPECT_THAT(outcome.out, IsEmpty());
    };
    for (const std::string speed : {"-1", "nan", "inf", "fast", ""}) {
        expectUsageError({"--speed", speed},
                         "--speed '" + speed + "': expected a number from 0 on");
    }
    for (const std::string port : {"-1", "65536", "http", "80.5"}) {
        expectUsageError({"--view", port},
                         "--view '" + port + "': expected a port, from 0 to 65535");
    }
    expectUsageError({"--view-address", "127.0.0.1"}, "--view");
    expectUsageError({"--frames", "0"}, "--frames '0': expected A..B");
    expectUsageError({"--frames", "4"}, "--frames: the take has frames 0..2");
    expectUsageError({"--frames", "many"}, "--frames");
    EXPECT_EQ(capture({"stream"}).exitCode, 2);
}

TEST_F(Stream, ExplainsItself) {
    const Outcome outcome = capture({"stream", "--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("--speed"), HasSubstr("--frames")));
}

} // namespace
} // namespace tarn::tests
