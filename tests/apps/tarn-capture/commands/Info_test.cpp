// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Info : public ::testing::Test {
protected:
    /// What `info` prints on a take with this text.
    std::string infoOn(const std::string& text) const {
        writeFile(take_, text);
        const Outcome outcome = capture({"info", take_});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.err, IsEmpty());
        return outcome.out;
    }
    std::string infoOn(const TakeText& take) const { return infoOn(take.text()); }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
};

TEST_F(Info, ShowsEverythingAboutATake) {
    EXPECT_EQ(infoOn(TakeText()), take_ + R"(
  frames       3
  rate         25 frames per second
  length       00:00:00:03 (0.120 s)
  body height  1.75 m
  guesses
    Y is up
    lengths are in metres: the body is 1.75 high
  skeleton     4 joints, 1 end site, 1 root
    Hips  position XYZ, rotation ZYX
      Head  rotation ZXY
        Head_End  (end site)
      LeftLeg  rotation ZXY
      rLeg  rotation ZXY
  body         2 of 4 joints are segments of the body, 2 are ambiguous
    Hips                      Hips
    Head                      Head
    LeftLeg                   ambiguous: may be LeftUpLeg or LeftLeg
    rLeg                      ambiguous: may be RightUpLeg or RightLeg
)");
}

TEST_F(Info, DescribesASampleTake) {
    const std::string out = capture({"info", sampleTake("cmu_131_01_walk")}).out;
    EXPECT_THAT(out, HasSubstr("\n  frames       994\n"));
    EXPECT_THAT(out, HasSubstr("\n  rate         120 frames per second\n"));
    EXPECT_THAT(out, HasSubstr("\n  length       00:00:08:34 (8.283 s)\n"));
    EXPECT_THAT(out, HasSubstr("\n  skeleton     31 joints, 7 end sites, 1 root\n"));
    EXPECT_THAT(out, HasSubstr("\n                Head  rotation ZYX\n"
                               "                  Head_End  (end site)\n"));
    EXPECT_THAT(out, HasSubstr("LeftShoulder  rotation ZXY"));
    EXPECT_THAT(out, Not(HasSubstr("rounded"))); // 0.0083333 s is 120 Hz in few digits
}

TEST_F(Info, ShowsWhichJointsAreWhichSegmentsOfTheBody) {
    const std::string out = capture({"info", sampleTake("cmu_131_01_walk")}).out;
    EXPECT_THAT(out, HasSubstr("\n  body         26 of 31 joints are segments of the body\n"));
    EXPECT_THAT(out, HasSubstr("\n    LeftShoulder              LeftArm\n"));
    EXPECT_THAT(out, HasSubstr("\n    LHipJoint                 none: no segment has this name\n"));
}

TEST_F(Info, UnderstandsNamesThatADocumentSays) {
    writeFile(directory_ / "names.xml",
              "<BodyNames><LeftUpLeg>LeftLeg</LeftUpLeg><Head>rLeg</Head></BodyNames>");
    writeFile(take_, TakeText().text());
    const Outcome outcome = capture({"info", take_, "--names", directory_ / "names.xml"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("\n    LeftLeg                   LeftUpLeg\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\n    rLeg                      Head\n"));
    EXPECT_THAT(
        outcome.out,
        HasSubstr("\n    Head                      none: another joint is said to be Head\n"));
}

TEST_F(Info, RefusesADocumentOfNamesThatSaysWhatCannotBe) {
    const std::string names = directory_ / "names.xml";
    writeFile(names, "<BodyNames><LeftThigh>x</LeftThigh></BodyNames>");
    writeFile(take_, TakeText().text());
    const Outcome outcome = capture({"info", take_, "--names", names});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr(names + ": BodyNames.LeftThigh: no segment of the body has "
                                               "this name"));
    EXPECT_THAT(capture({"info", take_, "--names", directory_ / "none.xml"}).err,
                HasSubstr("none.xml: "));
}

TEST_F(Info, ShowsTheLengthAsTimecodeAndSeconds) {
    TakeText take;
    take.frameTime = "1";
    take.rootPositions.assign(3725, "0 0 0");
    EXPECT_THAT(infoOn(take), HasSubstr("\n  rate         1 frame per second\n"
                                        "  length       01:02:05:00 (3725.000 s)\n"));
}

TEST_F(Info, ShowsTheLengthOfATakeWithMoreThan256FramesPerSecond) {
    TakeText take;
    take.frameTime = "0.001";
    take.rootPositions.assign(1999, "0 0 0");
    EXPECT_THAT(infoOn(take), HasSubstr("\n  rate         1000 frames per second\n"
                                        "  length       00:00:01:999 (1.999 s)\n"));
}

TEST_F(Info, GuessesTheUnitOfLengthFromTheHeightOfTheBody) {
    const auto expectGuess = [this](double height, const std::string& text,
                                    const std::string& guess) {
        TakeText take;
        take.height = height;
        // In one line, which stands in two where it is long.
        const std::string out =
            std::regex_replace(infoOn(take), std::regex("\n      metres"), " metres");
        EXPECT_THAT(out, HasSubstr("\n  body height  " + text + "\n"));
        EXPECT_THAT(out, HasSubstr("\n    lengths are in " + guess + "\n"));
    };
    expectGuess(1.25, "1.25 m", "metres: the body is 1.25 high");
    expectGuess(2.25, "2.25 m", "metres: the body is 2.25 high");
    expectGuess(125, "125 cm", "centimetres: the body is 125 high");
    expectGuess(172.34, "172.3 cm", "centimetres: the body is 172.3 high");
    expectGuess(1725, "1725 mm", "millimetres: the body is 1725 high");
    expectGuess(68, "68 in", "inches: the body is 68 high");
    for (const std::string height :
         {"1", "1.15", "2.35", "30", "46", "91", "118", "232", "1190", "2310"}) {
        std::string guess = "a unit of the take's own: a body ";
        guess.append(height).append(" high fits none of metres, centimetres, millimetres, inches");
        expectGuess(std::stod(height), height + (height == "1" ? " unit" : " units"), guess);
    }
}

TEST_F(Info, ListsARateThatHadToBeRounded) {
    TakeText take;
    take.frameTime = "0.0333667";
    EXPECT_THAT(
        infoOn(take),
        HasSubstr("\n    the rate is 30000/1001 frames per second, rounded from 29.970: the file\n"
                  "      says 0.0333667 s from frame to frame\n"));
}

TEST_F(Info, ShowsTheRateThatAFrameTimeMeans) {
    TakeText take;
    take.frameTime = "0.0333667";
    EXPECT_THAT(infoOn(take), HasSubstr("\n  rate         29.97 (30000/1001) frames per second\n"));
}

TEST_F(Info, ShowsWhatWasSaidOfLengthsAndAxesInPlaceOfGuesses) {
    writeFile(take_, TakeText().text());
    const std::string out =
        capture({"info", take_, "--unit", "cm", "--up", "z", "--scale", "100"}).out;
    EXPECT_THAT(out, HasSubstr("\n  body height  175 cm\n  unit         cm, as given\n"
                               "  up           Z, as given\n  skeleton "));
}

TEST_F(Info, GuessesTheUnitOfWhatIsScaled) {
    writeFile(take_, TakeText().text());
    EXPECT_THAT(capture({"info", take_, "--scale", "1000"}).out,
                HasSubstr("\n    lengths are in millimetres: the body is 1750 high\n"));
}

TEST_F(Info, RefusesUnitsAxesAndScalesThatAreNone) {
    const auto errorOf = [this](const std::string& flag, const std::string& value) {
        const Outcome outcome = capture({"info", take_, flag, value});
        EXPECT_EQ(outcome.exitCode, 2);
        return outcome.err;
    };
    EXPECT_THAT(errorOf("--unit", "cubits"),
                HasSubstr("--unit 'cubits': expected m, cm, mm, in or ft"));
    EXPECT_THAT(errorOf("--up", "w"), HasSubstr("--up 'w': expected x, y or z"));
    for (const char* const scale : {"0", "-1", "nan", "inf", "", "1e9", "2x"}) {
        EXPECT_THAT(errorOf("--scale", scale), HasSubstr("expected a number from 0.000001"));
    }
}

TEST_F(Info, DescribesATakeWithoutFrames) {
    TakeText take;
    take.rootPositions.clear();
    EXPECT_THAT(infoOn(take), HasSubstr("\n  frames       0\n"
                                        "  rate         25 frames per second\n"
                                        "  length       00:00:00:00 (0.000 s)\n"));
}

TEST_F(Info, DescribesASingleJointWithoutHeight) {
    const std::string out = infoOn("HIERARCHY\nROOT Point\n{\nOFFSET 0 0 0\nCHANNELS 1 Xposition\n}"
                                   "\nMOTION\nFrames: 1\nFrame Time: 0.04\n5\n");
    EXPECT_THAT(out, HasSubstr("\n  body height  0 units\n"));
    EXPECT_THAT(out, HasSubstr("\n  skeleton     1 joint, 0 end sites, 1 root\n"
                               "    Point  position X\n"));
}

TEST_F(Info, ShowsEveryRootOfATake) {
    const std::string root = "\n{\nOFFSET 0 1 0\nCHANNELS 0\n}\n";
    EXPECT_THAT(infoOn("HIERARCHY\nROOT First" + root + "ROOT Second" + root +
                       "MOTION\nFrames: 0\nFrame Time: 0.04\n"),
                HasSubstr("\n  skeleton     2 joints, 0 end sites, 2 roots\n"
                          "    First\n    Second\n"));
}

TEST_F(Info, ShowsMixedChannelsInTheOrderOfTheFile) {
    EXPECT_THAT(infoOn("HIERARCHY\nROOT Odd\n{\nOFFSET 0 0 0\nCHANNELS 4 Yrotation Zposition "
                       "Xrotation Zrotation\n}\nMOTION\nFrames: 0\nFrame Time: 0.04\n"),
                HasSubstr("\n    Odd  rotation Y, position Z, rotation XZ\n"));
}

TEST_F(Info, NumbersTheLevelsOfADeepSkeleton) {
    const std::string out = infoOn(chainTake(5000));
    EXPECT_THAT(out, HasSubstr("\n" + std::string(4 + 2 * 39, ' ') + "j39  rotation X\n"));
    EXPECT_THAT(out, HasSubstr("\n" + std::string(4 + 2 * 40, ' ') + "(40) j40  rotation X\n"));
    EXPECT_THAT(out, HasSubstr("\n" + std::string(4 + 2 * 40, ' ') + "(4999) j4999  rotation X\n"));
    EXPECT_LT(out.size(), 5000U * 120);
}

TEST_F(Info, PrintsNamesThatAreNoTextAsText) {
    TakeText take;
    take.root = "Hi\xFFps\x1B[31m\xC3\xBC";
    const std::string out = infoOn(take);
    EXPECT_THAT(out, HasSubstr("    Hi\xEF\xBF\xBDps\xEF\xBF\xBD[31m\xC3\xBC  position"));
}

TEST_F(Info, PrintsTheNameOfTheFileInOneLine) {
    writeFile(directory_ / "a\nb.bvh", TakeText().text());
    EXPECT_THAT(capture({"info", directory_ / "a\nb.bvh"}).out, HasSubstr("/a\xEF\xBF\xBD"
                                                                          "b.bvh\n  frames "));
}

TEST_F(Info, IsALinePerTakeIfItIsToBeBrief) {
    writeFile(take_, TakeText().text());
    const std::string walk = sampleTake("cmu_131_01_walk");
    const Outcome outcome = capture({"info", "--brief", take_, "missing", walk});
    EXPECT_EQ(outcome.exitCode, 1); // of the one that is not there
    EXPECT_EQ(outcome.out,
              "      3 frames    25/s  00:00:00:03     4 joints        1.75 m  " + take_ + "\n" +
                  "    994 frames   120/s  00:00:08:34    31 joints   24.27 units  " + walk + "\n");
}

TEST_F(Info, BreaksLongGuessesAtTheWidthOfTheTerminal) {
    TakeText take;
    take.frameTime = "0.0333667";
    take.height = 0.5;
    std::istringstream out(infoOn(take));
    for (std::string line; std::getline(out, line);) {
        const bool isName = line.find(".bvh") != std::string::npos;
        EXPECT_TRUE(isName || line.size() < 80) << line;
    }
}

TEST_F(Info, SaysWhatAFileIsThatIsNoTakeAndWhoReadsIt) {
    const auto saidOf = [this](const std::string& text) {
        writeFile(take_, text);
        const Outcome outcome = capture({"info", take_});
        EXPECT_EQ(outcome.exitCode, 1) << text;
        EXPECT_THAT(outcome.err, HasSubstr(take_ + ": is "));
        return outcome.err;
    };
    const std::string xml = "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- <BodyNames> -->\n";
    EXPECT_THAT(saidOf(xml + "<MocapActor>"), HasSubstr("'actor' reads it"));
    EXPECT_THAT(saidOf(xml + "<MarkerSet/>"), HasSubstr("--markers takes it"));
    EXPECT_THAT(saidOf("<BodyNames>\n"), HasSubstr("--names takes it"));
    EXPECT_THAT(saidOf(xml + "<Session>"), HasSubstr("'view' and 'convert' read it"));
    EXPECT_THAT(saidOf("<!DOCTYPE html>\n<html lang='en'>"), HasSubstr("a page for a browser"));
    EXPECT_THAT(saidOf(xml + "<svg width='1'>"), HasSubstr("a picture"));
    EXPECT_THAT(saidOf(xml + "<other>"), HasSubstr("an XML document of other"));
    EXPECT_THAT(saidOf(" {\"asset\": {}}"), HasSubstr("a glTF file"));
    EXPECT_THAT(saidOf(std::string("glTF\2\0\0\0", 8)), HasSubstr("a glTF file"));
    EXPECT_THAT(saidOf("{\"nodes\": []}"), HasSubstr("a JSON document"));
    EXPECT_THAT(saidOf("frame,time [s],Hips.x"), HasSubstr("a table"));
    EXPECT_THAT(saidOf("\x1F\x8B\x08"), HasSubstr("unpack it first"));
}

TEST_F(Info, SaysWhatIsInADirectory) {
    const std::string session = (directory_.path() / "session").string();
    std::filesystem::create_directory(session);
    EXPECT_THAT(capture({"info", session}).err,
                HasSubstr(session + ": is a directory, not a take; name the takes in it"));
    writeFile(session + "/session.xml", "<Session/>");
    EXPECT_THAT(capture({"info", session}).err, HasSubstr("is a directory with a session"));
}

TEST_F(Info, LeavesWhatIsNotKnownToTheReadersOfTakes) {
    writeFile(take_, "<");
    EXPECT_THAT(capture({"info", take_}).err, HasSubstr("1:1: expected HIERARCHY"));
    writeFile(take_, "no take at all");
    EXPECT_THAT(capture({"info", take_}).err, HasSubstr("1:1: expected HIERARCHY"));
}

TEST_F(Info, ShowsSeveralTakesInOrder) {
    writeFile(take_, TakeText().text());
    const std::string one = capture({"info", take_}).out;
    const Outcome both = capture({"info", take_, take_});
    EXPECT_EQ(both.exitCode, 0);
    EXPECT_EQ(both.out, one + "\n" + one);
}

TEST_F(Info, ShowsTheOtherTakesWhenOneCannotBeRead) {
    writeFile(take_, TakeText().text());
    const std::string one = capture({"info", take_}).out;
    const std::string missing = directory_ / "missing.bvh";
    const Outcome outcome = capture({"info", missing, take_, missing, take_});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, one + "\n" + one);
    const std::string reason = "tarn-capture: " + missing + ": No such file or directory\n";
    EXPECT_EQ(outcome.err, reason + reason);
}

} // namespace
} // namespace tarn::tests
