// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/SessionTest.h"
#include "apps/support/Takes.h"
#include "apps/support/Xml.h"

#include <gmock/gmock.h>
#include <tarn/Actor.h>
#include <tarn_kit/files/Bvh.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tarn::tests {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class Run : public SessionTest {
protected:
    struct ActorFacts {
        std::string name;
        float shoe; ///< a dimension that nobody measures; 0 if it is not there
    };
    /// What the document of an actor says, by the name of the take.
    ActorFacts actorOf(const std::string& name) const {
        Actor actor;
        EXPECT_TRUE(actor.loadSettingsFromFile(output(name + ".actor.xml")));
        return {actor.actorName(), actor.bodyDimension("Shoe", 0)};
    }
};

TEST_F(Run, PlaysTakesOfDifferentLengthsToTheEndOfTheLongest) {
    const Outcome outcome = run({writeTake("short.bvh", 3), writeTake("long.bvh", 40)});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("calibrating over 25 frames\n"),
                      HasSubstr("\nshort            3        3        0  not paced     1.75 m\n"),
                      HasSubstr("\nlong            40       40        0  not paced     1.75 m\n")));
    EXPECT_EQ(session("Session.Frames"), "40");
}

TEST_F(Run, HasNothingToRecordOfATakeWithoutFrames) {
    const Outcome outcome = run({writeTake("empty.bvh", 0)});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(outcome.out, AllOf(Not(HasSubstr("calibrating")), HasSubstr("playing 0 frames\n"),
                                   HasSubstr("\nempty            0        0        0  not "
                                             "measured  not measured\n")));
    EXPECT_EQ(session("Session.Complete"), "yes");
    EXPECT_EQ(session("Session.Frames"), "0");
    EXPECT_EQ(session("Session.Characters.Character1.Dimensions"), "(not there)");
    EXPECT_EQ(session("Session.Characters.Character1.Clock"), "(not there)");
    EXPECT_EQ(kit::readBvh(output("empty.bvh")).tracks->timeLength(), 0);
}

TEST_F(Run, TellsPerformersOfTheSameNameApart) {
    fs::create_directory(directory_ / "b");
    const Outcome outcome = run({writeTake("take.bvh", 2), writeTake("b/take.bvh", 2)});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outputs(), ElementsAre("motion.png", "motion.svg", "poses.png", "poses.svg",
                                       "session.xml", "take-2.actor.xml", "take-2.bvh",
                                       "take-2.csv", "take.actor.xml", "take.bvh", "take.csv"));
}

TEST_F(Run, WithoutACalibrationLeavesTheActorsAsTheyAre) {
    const Outcome outcome = run({writeTake("take.bvh", 30)}, {"--calibrate", "0"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out,
                AllOf(Not(HasSubstr("calibrating")),
                      HasSubstr("\ntake            30       30        0  not measured  not "
                                "measured\n")));
    EXPECT_THAT(readFile(output("take.actor.xml")), Not(HasSubstr("Height")));
}

TEST_F(Run, BeginsWithTheActorOfADocument) {
    const std::string document = directory_ / "actor.xml";
    ASSERT_EQ(capture({"actor", document, "--name", "Ada", "--dimension", "Shoe=0.26",
                       "--dimension", "Height=9"})
                  .exitCode,
              0);

    const Outcome outcome = run({writeTake("take.bvh", 30)}, {"--actor", document});

    EXPECT_EQ(outcome.exitCode, 0);
    Actor actor;
    ASSERT_TRUE(actor.loadSettingsFromFile(output("take.actor.xml")));
    EXPECT_EQ(actor.actorName(), "Ada");
    EXPECT_FLOAT_EQ(actor.bodyDimension("Shoe", 0), 0.26F);
    EXPECT_NEAR(actor.bodyDimension("Height", 0), 1.75F, 0.0175F);
}

TEST_F(Run, NamesAnActorAfterItsTakeWhereTheDocumentDoesNot) {
    const std::string document = directory_ / "actor.xml";
    ASSERT_EQ(capture({"actor", document, "--dimension", "Shoe=0.26"}).exitCode, 0);

    EXPECT_EQ(run({writeTake("take.bvh", 2)}, {"--actor", document}).exitCode, 0);

    EXPECT_EQ(actorOf("take").name, "take");
    EXPECT_FLOAT_EQ(actorOf("take").shoe, 0.26F);
}

TEST_F(Run, NamesEachOfSeveralActorsAfterItsTakeWhateverTheDocumentSays) {
    const std::string document = directory_ / "actor.xml";
    ASSERT_EQ(capture({"actor", document, "--name", "Ada", "--dimension", "Shoe=0.26"}).exitCode,
              0);

    EXPECT_EQ(
        run({writeTake("one.bvh", 2), writeTake("two.bvh", 2)}, {"--actor", document}).exitCode, 0);

    for (const char* const name : {"one", "two"}) {
        EXPECT_EQ(actorOf(name).name, name);
        EXPECT_FLOAT_EQ(actorOf(name).shoe, 0.26F);
    }
}

TEST_F(Run, NamesActorsWithoutADocumentAfterTheirTakes) {
    EXPECT_EQ(run({writeTake("one.bvh", 2), writeTake("two.bvh", 2)}).exitCode, 0);
    EXPECT_EQ(actorOf("one").name, "one");
    EXPECT_EQ(actorOf("two").name, "two");
}

TEST_F(Run, LosesNothingInRealTimeAndJudgesTheClock) {
    const Outcome outcome =
        run({writeTake("take.bvh", 8)}, {"--realtime", "--calibrate", "0.3", "--dimensions"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("calibrating over 8 frames\n"),
                                   HasSubstr("\ntake             8        8        0  "),
                                   HasSubstr(" per second measured, 25 stated; jitter "),
                                   HasSubstr("complete, nothing lost")));
    EXPECT_EQ(session("Session.Characters.Character1.FramesIn"), "8");
    EXPECT_EQ(session("Session.Characters.Character1.FramesLost"), "0");
}

TEST_F(Run, InRealTimeTakesAsLongAsCalibrationAndTakeLast) {
    const std::string take = writeTake("take.bvh", 25); // the last frame is due after 0.96 s
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(run({take}, {"--realtime", "--calibrate", "1"}).exitCode, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(2 * 960));
}

TEST_F(Run, ShowsOnATerminalHowFarItIs) {
    const Outcome outcome =
        captureOnTerminal({"run", writeTake("take.bvh", 30), "--out", out_}, 18);

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, StartsWith("\r[..........]   4%")); // 1 of 25
    const std::string end = "\r[##########] 100%\r\x1B[K";
    EXPECT_THAT(outcome.err, HasSubstr(end + "\r[..........]   3%")); // 1 of 30
    EXPECT_THAT(outcome.err, EndsWith(end));
}

TEST_F(Run, ShowsNothingOnATerminalOfATakeWithoutFrames) {
    const Outcome outcome = captureOnTerminal({"run", writeTake("take.bvh", 0), "--out", out_}, 80);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(Run, StopsWhenInterruptedAndKeepsWhatWasRecorded) {
    const std::string take = writeTake("take.bvh", 5000); // 200 s
    const Outcome outcome = captureInterrupted(
        {"run", take, "--out", out_, "--realtime", "--calibrate", "0"}, "playing 5000 frames\n");

    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("interrupted after "), HasSubstr(" of 5000 frames"),
                                   HasSubstr("marked as not complete")));
    EXPECT_EQ(session("Session.Complete"), "no");
    const int frames = std::stoi(session("Session.Frames"));
    EXPECT_LT(frames, 5000);
    EXPECT_EQ(kit::readBvh(output("take.bvh")).tracks->timeLength(), frames);
    EXPECT_EQ(session("Session.Characters.Character1.FramesOut"), std::to_string(frames));
    EXPECT_EQ(session("Session.Characters.Character1.FramesLost"), "0");
}

TEST_F(Run, KeepsWhatWasRecordedWhenItsTerminalHangsUpOrItIsTerminated) {
    const std::string take = writeTake("take.bvh", 5000);
    for (const auto& [signal, exitCode] : {std::pair(SIGHUP, 129), std::pair(SIGTERM, 143)}) {
        const Outcome outcome =
            captureInterrupted({"run", take, "--out", out_, "--realtime", "--calibrate", "0"},
                               "playing 5000 frames\n", signal);

        EXPECT_EQ(outcome.exitCode, exitCode);
        EXPECT_THAT(outcome.err, HasSubstr("marked as not complete"));
        EXPECT_EQ(session("Session.Complete"), "no");
        fs::remove_all(out_);
    }
}

TEST_F(Run, KeepsNothingWhenInterruptedWhileCalibrating) {
    const std::string take = writeTake("take.bvh", 5000);
    const Outcome outcome =
        captureInterrupted({"run", take, "--out", out_, "--realtime", "--calibrate", "100"},
                           "calibrating over 2500 frames\n");

    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted while calibrating; nothing was kept"));
    EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(Run, SaysWhatWasKeptWhenAFileCannotBeWritten) {
    const std::string take = writeTake("take.bvh", 3);
    fs::create_directories(output("take.bvh"));

    const Outcome outcome = run({take});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: cannot write '" + output("take.bvh") +
                               "': Is a directory; kept in " + out_ +
                               ": take.actor.xml, take.csv, poses.png, poses.svg, motion.png, "
                               "motion.svg, session.xml\n");
    EXPECT_EQ(session("Session.Complete"), "no");
}

TEST_F(Run, SaysWhichFileCannotHoldATakeAndKeepsTheOthers) {
    TakeText take;
    std::string text = take.text();
    const std::string axes = "Zrotation Xrotation Yrotation";
    const std::size_t at = text.find(axes);
    ASSERT_NE(at, std::string::npos) << text;
    text.replace(at, axes.size(), "Xrotation Yrotation Xrotation");
    writeFile(directory_ / "odd.bvh", text);

    const Outcome outcome = run({directory_ / "odd.bvh"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(
        outcome.err,
        AllOf(HasSubstr("cannot write '" + output("odd.bvh") + "': joint Head turns about "),
              HasSubstr("; kept in " + out_ + ": odd.actor.xml, odd.csv, poses.png")));
}

TEST_F(Run, LeavesNoDocumentOfAnOlderSessionBehindAFailure) {
    const std::string take = writeTake("take.bvh", 3);
    ASSERT_EQ(run({take}).exitCode, 0);
    fs::remove(output("motion.png"));
    fs::create_symlink("/dev/full", output("motion.png"));

    const Outcome outcome = run({take}, {"--force"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write '" + output("motion.png") +
                                       "': No space left on device; kept in "));
    EXPECT_EQ(session("Session.Complete"), "no");
}

TEST_F(Run, SeesBeforeItPlaysThatAFileCannotBeMade) {
    const std::string take = writeTake(std::string(248, 'x') + ".bvh", 3);

    const Outcome outcome = run({take});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(".actor.xml': File name too long"),
                                   HasSubstr("; nothing was kept\n")));
    EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(Run, SaysThatNothingWasKeptWhenThereCanBeNoDirectory) {
    const std::string take = writeTake("take.bvh", 3);
    writeFile(out_, "a file");

    const Outcome outcome = run({take});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("cannot create the directory '" + out_),
                                   HasSubstr("; nothing was kept\n")));
}

TEST_F(Run, WritesOneXmlElementWhateverJointsAreCalled) {
    TakeText take;
    take.root = "-9 \xff\x01<h/i.p>";
    writeFile(directory_ / "take.bvh", take.text());

    const Outcome outcome = run({directory_ / "take.bvh"});

    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(xmlError(readFile(output("take.actor.xml"))), "");
    EXPECT_EQ(xmlError(readFile(output("session.xml"))), "");
}

TEST_F(Run, CalibratesNoLongerThanTheTakeLasts) {
    TakeText take;
    take.frameTime = "0.000001";
    writeFile(directory_ / "take.bvh", take.text());

    const Outcome outcome = run({directory_ / "take.bvh"}, {"--calibrate", "3600"});

    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("calibrating over 3 frames\n"));
}

TEST_F(Run, RefusesToOverwriteAnythingItReads) {
    const std::string table = writeTake("take.csv", 3);
    const std::string before = readFile(table);
    EXPECT_EQ(capture({"run", table, "--out", directory_.path().string()}).exitCode, 2);
    EXPECT_EQ(readFile(table), before);

    const std::string take = writeTake("b.bvh", 3);
    fs::create_directory(out_);
    ASSERT_EQ(capture({"actor", output("b.actor.xml"), "--name", "Ada"}).exitCode, 0);
    EXPECT_EQ(run({take}, {"--actor", output("b.actor.xml")}).exitCode, 2);
    EXPECT_THAT(outputs(), ElementsAre("b.actor.xml"));
}

TEST_F(Run, NeedsADirectory) {
    const Outcome outcome = capture({"run", writeTake("take.bvh", 3), "--out", ""});

    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("--out must name a directory"));
}

TEST_F(Run, RefusesATakeThatCannotBeRead) {
    const Outcome outcome = run({writeTake("take.bvh", 3), directory_ / "nowhere.bvh"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("nowhere.bvh: No such file or directory"));
    EXPECT_FALSE(fs::exists(out_));
}

TEST_F(Run, RefusesTakesOfDifferentRates) {
    TakeText other;
    other.frameTime = "0.01";
    writeFile(directory_ / "other.bvh", other.text());

    const Outcome outcome = run({writeTake("take.bvh", 3), directory_ / "other.bvh"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("other.bvh: 100 frames per second, but "), HasSubstr(" has 25")));
}

TEST_F(Run, RefusesToOverwriteATake) {
    const std::string take = writeTake("take.bvh", 3);
    const std::string before = readFile(take);

    const Outcome outcome = capture({"run", take, "--out", directory_.path().string()});

    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(readFile(take), before);
}

TEST_F(Run, RefusesAnActorThatIsNone) {
    const std::string take = writeTake("take.bvh", 3);
    writeFile(directory_ / "actor.xml", "<Cat/>");

    const Outcome outcome = run({take}, {"--actor", directory_ / "actor.xml"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("actor.xml: not an actor's document"));
    EXPECT_FALSE(fs::exists(out_));
}

TEST_F(Run, RefusesACalibrationOfNegativeOrEndlessLength) {
    const std::string take = writeTake("take.bvh", 3);
    for (const char* const seconds : {"-1", "nan", "inf", "1e9"}) {
        const Outcome outcome = run({take}, {"--calibrate", seconds});
        EXPECT_EQ(outcome.exitCode, 2) << seconds;
        EXPECT_THAT(outcome.err, HasSubstr("--calibrate must be from 0 to 3600 seconds"));
    }
}

} // namespace
} // namespace tarn::tests
