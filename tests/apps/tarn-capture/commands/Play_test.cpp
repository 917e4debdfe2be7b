// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class Play : public ::testing::Test {
protected:
    Play() { writeFrames(5); }

    /// 25 frames per second.
    void writeFrames(int count) const {
        TakeText take;
        take.rootPositions.assign(static_cast<std::size_t>(count), "0 0 0");
        writeFile(take_, take.text());
    }
    Outcome play(const Arguments& more = {}) const {
        Arguments arguments{"play", take_, "--out", out_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return capture(arguments);
    }
    /// The line that a successful run prints.
    std::string line(const std::string& shown) const {
        return shown + ": " + out_ + "/poses.png, " + out_ + "/poses.svg\n";
    }
    /// The frames that are drawn, according to the drawing.
    std::vector<int> drawnFrames() const {
        const std::string svg = readFile(out_ + "/poses.svg");
        const std::string caption = ": frame ";
        std::vector<int> frames;
        for (std::size_t at = 0; (at = svg.find(caption, at)) != std::string::npos;) {
            at += caption.size();
            frames.push_back(std::stoi(svg.substr(at)));
        }
        return frames;
    }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
    const std::string out_ = directory_ / "out";
};

TEST_F(Play, ShowsEveryFrameOnceAtTheRateOfTheTake) {
    const Outcome outcome = play();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, line("5 frames shown, 0.200 s at 25 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Play, CreatesTheDirectoryWithTheTwoPictures) {
    const std::string deep = directory_ / "new/directory";
    EXPECT_EQ(capture({"play", take_, "--out", deep}).exitCode, 0);
    EXPECT_THAT(readFile(deep + "/poses.png"), StartsWith("\x89PNG\r\n\x1A\n"));
    EXPECT_THAT(readFile(deep + "/poses.svg"), StartsWith("<?xml"));
}

TEST_F(Play, ReplacesPicturesAndLeavesNothingElseBehind) {
    fs::create_directory(out_);
    writeFile(out_ + "/poses.png", "old");
    writeFile(out_ + "/poses.svg", "old");
    writeFile(out_ + "/notes.txt", "mine");
    EXPECT_EQ(play().exitCode, 0);
    EXPECT_THAT(directory_.names(), ElementsAre("out", "take.bvh"));
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(out_)) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names, ::testing::UnorderedElementsAre("notes.txt", "poses.png", "poses.svg"));
    EXPECT_THAT(readFile(out_ + "/poses.png"), StartsWith("\x89PNG"));
    EXPECT_EQ(readFile(out_ + "/notes.txt"), "mine");
}

TEST_F(Play, ALowerRateSkipsFrames) {
    EXPECT_EQ(play({"--rate", "12.5"}).out, line("3 frames shown, 0.200 s at 12.5 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0, 2, 4));
    EXPECT_EQ(play({"--rate", "10"}).out, line("2 frames shown, 0.200 s at 10 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0, 2));
    EXPECT_EQ(play({"--rate", "0.001"}).out, line("1 frame shown, 0.200 s at 0.001 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0));
}

TEST_F(Play, AHigherRateShowsFramesMoreThanOnce) {
    EXPECT_EQ(play({"--rate", "50"}).out, line("10 frames shown, 0.200 s at 50 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_EQ(play({"--rate", "1000"}).out, line("200 frames shown, 0.200 s at 1000 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Play, ARateThatIsNoFractionOfTheOthersStaysWithinTheTake) {
    EXPECT_EQ(play({"--rate", "29.97"}).out, line("6 frames shown, 0.200 s at 29.97 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Play, InRealTimeItTakesAsLongAsTheTakeLasts) {
    writeFrames(25);
    for (const Arguments& more :
         {Arguments{"--realtime"}, Arguments{"--realtime", "--rate", "0.001"},
          Arguments{"--speed", "1"}}) {
        const auto begin = std::chrono::steady_clock::now();
        const Outcome outcome = play(more);
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        EXPECT_EQ(outcome.exitCode, 0);
    }
}

TEST_F(Play, AtHalfTheSpeedItTakesTwiceAsLong) {
    writeFrames(13); // 0.52 s
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(play({"--speed", "0.5"}).exitCode, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1040));
}

TEST_F(Play, PlaysTheChosenFrames) {
    EXPECT_EQ(play({"--frames", "1..3"}).out, line("3 frames shown, 0.120 s at 25 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(1, 2, 3));
    EXPECT_EQ(play({"--frames", "3..", "--rate", "12.5"}).out,
              line("1 frame shown, 0.080 s at 12.5 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(3));
}

TEST_F(Play, DrawsEachOfSeveralTakes) {
    const std::string other = directory_ / "other.bvh";
    writeFile(other, TakeText().text());

    const Outcome outcome = capture({"play", take_, "missing.bvh", other, "--out", out_});

    EXPECT_EQ(outcome.exitCode, 1); // of the one that is not there
    EXPECT_EQ(outcome.err, "tarn-capture: missing.bvh: No such file or directory\n");
    EXPECT_EQ(outcome.out, "5 frames shown, 0.200 s at 25 per second: " + out_ +
                               "/take.poses.png, " + out_ + "/take.poses.svg\n" +
                               "3 frames shown, 0.120 s at 25 per second: " + out_ +
                               "/other.poses.png, " + out_ + "/other.poses.svg\n");
    EXPECT_THAT(readFile(out_ + "/take.poses.svg"), HasSubstr(": frame 4"));
    EXPECT_THAT(readFile(out_ + "/other.poses.svg"), Not(HasSubstr(": frame 3")));
    EXPECT_THAT(readFile(out_ + "/other.poses.png"), StartsWith("\x89PNG"));
}

TEST_F(Play, PlaysATakeWithOneFrame) {
    writeFrames(1);
    EXPECT_EQ(play().out, line("1 frame shown, 0.040 s at 25 per second"));
    EXPECT_THAT(drawnFrames(), ElementsAre(0));
}

TEST_F(Play, DrawsTheRestPoseOfATakeWithoutFrames) {
    writeFrames(0);
    for (const Arguments& more : {Arguments{}, Arguments{"--realtime"}}) {
        const Outcome outcome = play(more);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.out, line("0 frames shown, 0.000 s at 25 per second"));
    }
    EXPECT_THAT(readFile(out_ + "/poses.svg"),
                HasSubstr("Pose 1: rest pose: the take has no frames"));
}

TEST_F(Play, DrawsNoBarWhereThereIsNoTerminal) { EXPECT_THAT(play().err, IsEmpty()); }

TEST_F(Play, ShowsOnATerminalHowFarItIs) {
    const Outcome outcome = captureOnTerminal({"play", take_, "--out", out_}, 80);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, line("5 frames shown, 0.200 s at 25 per second"));
    std::string expected;
    for (int done = 1; done <= 5; ++done) {
        const std::string percent = std::to_string(20 * done) + "%";
        expected += "\r[" + std::string(static_cast<std::size_t>(10 * done), '#') +
                    std::string(static_cast<std::size_t>(50 - 10 * done), '.') + "] " +
                    std::string(4 - percent.size(), ' ') + percent;
    }
    EXPECT_EQ(outcome.err, expected + "\r\x1B[K");
}

TEST_F(Play, TakesATerminalOfUnknownWidthForOneOfTheUsual) {
    EXPECT_THAT(captureOnTerminal({"play", take_, "--out", out_}, 0).err,
                HasSubstr("\r[" + std::string(50, '#') + "] 100%"));
}

TEST_F(Play, LeavesATerminalAloneWhereThereIsNothingToShow) {
    writeFrames(0);
    EXPECT_THAT(captureOnTerminal({"play", take_, "--out", out_}, 80).err, IsEmpty());
}

TEST_F(Play, SaysWhereThePicturesAreInOneLine) {
    const Outcome outcome = capture({"play", take_, "--out", directory_ / "a\nb"});
    EXPECT_THAT(outcome.out, EndsWith("/a\xEF\xBF\xBD"
                                      "b/poses.svg\n"));
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1);
}

TEST_F(Play, RedrawsTheBarOnlyWhenItChanges) {
    writeFrames(1000);
    const std::string text = captureOnTerminal({"play", take_, "--out", out_}, 80).err;
    EXPECT_EQ(std::count(text.begin(), text.end(), '%'), 101); // 0% to 100%
}

TEST_F(Play, KeepsTheBarOnOneLineOfANarrowTerminal) {
    for (const int columns : {40, 9, 8}) {
        const std::string text = captureOnTerminal({"play", take_, "--out", out_}, columns).err;
        EXPECT_THAT(text, Not(HasSubstr("\n")));
        EXPECT_THAT(text, EndsWith("100%\r\x1B[K"));
        std::size_t begin = 1;
        while (begin < text.size()) {
            const std::size_t end = text.find('\r', begin);
            EXPECT_LT(std::min(end, text.size()) - begin, columns) << text;
            begin = end == std::string::npos ? text.size() : end + 1;
        }
    }
}

TEST_F(Play, LeavesATerminalCleanWhenItFails) {
    fs::create_directories(out_ + "/poses.svg");
    const Outcome outcome = captureOnTerminal({"play", take_, "--out", out_}, 80);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("\r\x1B[Ktarn-capture: cannot write '"));
}

TEST_F(Play, APictureThatCannotBeWrittenLeavesTheOtherAsItWas) {
    fs::create_directories(out_ + "/poses.svg");
    writeFile(out_ + "/poses.png", "old");
    const Outcome outcome = play();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: cannot write '" + out_ + "/poses.svg': Is a directory\n");
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_EQ(readFile(out_ + "/poses.png"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(out_), fs::directory_iterator()), 2);
}

TEST_F(Play, AWriteThatFailsLeavesThePicturesThatWereThere) {
    fs::create_directory(out_);
    writeFile(out_ + "/poses.png", "old");
    writeFile(out_ + "/poses.svg", "old");
    const Outcome outcome =
        runProgram("sh", {"-c", "trap '' XFSZ; ulimit -f 8; exec '" + captureProgram() +
                                    "' play '" + take_ + "' --out '" + out_ + "'"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("cannot write '" + out_ + "/poses.png': File too large"));
    EXPECT_EQ(readFile(out_ + "/poses.png"), "old");
    EXPECT_EQ(readFile(out_ + "/poses.svg"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(out_), fs::directory_iterator()), 2);
}

TEST_F(Play, ADirectoryThatCannotBeMadeIsAFailure) {
    const auto expectFailure = [this](const std::string& out, const std::string& reason) {
        const Outcome outcome = capture({"play", take_, "--out", out});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.err,
                  "tarn-capture: cannot create the directory '" + out + "': " + reason + "\n");
        EXPECT_THAT(outcome.out, IsEmpty());
    };
    expectFailure(take_, "Not a directory");
    expectFailure(take_ + "/below", "Not a directory");
}

} // namespace
} // namespace tarn::tests
