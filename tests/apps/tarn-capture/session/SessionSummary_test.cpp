// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/SessionTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>

namespace tarn::tests {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class SessionSummary : public SessionTest {};

/// A take of a stick, whose end rises from one frame to the next.
std::string stick(const std::string& rise, const std::string& length = "1") {
    return "HIERARCHY\nROOT Base\n{\nOFFSET 0 0 0\nCHANNELS 0\nJOINT Tip\n{\nOFFSET 0 " + length +
           " 0\nCHANNELS 1 Yposition\n}\n}\nMOTION\nFrames: 2\nFrame Time: 0.04\n0\n" + rise + "\n";
}

TEST_F(SessionSummary, IsALineForEachPerformerAndAVerdict) {
    EXPECT_EQ(run({writeTake("one.bvh", 2), writeTake("two.bvh", 3)}).out,
              "calibrating over 3 frames\nplaying 3 frames\n"
              "performer       in      out     lost  clock         height\n"
              "one              2        2        0  not paced     1.75 m\n"
              "two              3        3        0  not paced     1.75 m\n"
              "complete, nothing lost; 11 files written to " +
                  out_ + "\n");
}

TEST_F(SessionSummary, PrintsWhatWasMeasuredWhenItIsAskedFor) {
    const Outcome outcome =
        run({writeTake("one.bvh", 2), writeTake("two.bvh", 3)}, {"--dimensions"});

    const auto performer = [](const std::string& name, const std::string& frames) {
        return "\n" + name +
               "\n  clock       0 missing; rate and jitter not measured: frames did not come at\n"
               "              the rate of the take\n"
               "  dimensions  mean over " +
               frames +
               " frames; ± spread where it exceeds 0.1 mm\n"
               "    Height       1.75 m    Hips         0.6562 m  Head         0.2188 m\n"
               "    Hips-LeftLeg 0.8923 m  Hips-rLeg    0.8923 m\n"
               "  time        T s to read, T to wait, T to solve, T to record,\n"
               "              T to write\n";
    };
    EXPECT_THAT(std::regex_replace(outcome.out, std::regex("[0-9]\\.[0-9]{3}\\b(?= s| to)"), "T"),
                EndsWith("not paced     1.75 m\n" + performer("one", "2") + performer("two", "3") +
                         "\npictures drawn in T s\ncomplete, nothing lost; 11 files written to " +
                         out_ + "\n"));
}

TEST_F(SessionSummary, MeasuresTheTimeOfWhatTakesTime) {
    const std::string out = run({writeTake("take.bvh", 2000)}, {"--dimensions"}).out;
    EXPECT_THAT(out, Not(HasSubstr("drawn in 0.000 s")));
    EXPECT_THAT(out, Not(HasSubstr("0.000 to write")));
    EXPECT_THAT(out, Not(HasSubstr("0.000 s to read")));
}

TEST_F(SessionSummary, SaysHowMuchALengthVaried) {
    // The end of the stick is 1 and 1.2 from the root.
    writeFile(directory_ / "stick.bvh", stick("0.2"));
    EXPECT_THAT(run({directory_ / "stick.bvh"}, {"--dimensions"}).out,
                HasSubstr("\n    Height 1.1 units ± 0.1  Base   1.1 units ± 0.1\n"));
    const std::string length = "Session.Characters.Character1.Dimensions.Length2.";
    EXPECT_EQ(session(length + "Mean"), "1.100000");
    EXPECT_EQ(session(length + "Spread"), "0.100000");
}

TEST_F(SessionSummary, KeepsQuietAboutASpreadOfLessThanATenthOfAMillimetre) {
    // Of a body in metres: the end of the stick is at two heights, half a spread from their mean.
    const auto outOf = [this](const std::string& rise) {
        writeFile(directory_ / "stick.bvh", stick(rise, "1.75"));
        return run({directory_ / "stick.bvh"}, {"--dimensions", "--force"}).out;
    };
    EXPECT_THAT(outOf("0.00018"), HasSubstr("\n    Height 1.75 m  Base   1.75 m\n"));
    EXPECT_THAT(outOf("0.00022"), HasSubstr("\n    Height 1.75 m ± 0.00011  Base   1.75 m ± "));
}

TEST_F(SessionSummary, StaysWithinTheTerminal) {
    const std::string name(100, 'n');
    std::string text = TakeText().text();
    const std::string joint = "JOINT Head";
    text.replace(text.find(joint), joint.size(), "JOINT A\x01_very_long_name_of_a_head");
    writeFile(directory_ / (name + ".bvh"), text);

    std::istringstream out(run({directory_ / (name + ".bvh")}, {"--dimensions"}).out);

    for (std::string line; std::getline(out, line);) {
        const bool isVerdict = line.find("files written to") != std::string::npos;
        const bool isName = line == name;
        const auto isBegin = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
        EXPECT_TRUE(isVerdict || isName || std::count_if(line.begin(), line.end(), isBegin) < 80)
            << line;
    }
}

TEST_F(SessionSummary, CutsLongNamesOfJoints) {
    std::string text = TakeText().text();
    const std::string name = "JOINT Head";
    text.replace(text.find(name), name.size(), "JOINT A\x01_very_long_name_of_a_head");
    writeFile(directory_ / "take.bvh", text);
    EXPECT_THAT(run({directory_ / "take.bvh"}, {"--dimensions"}).out,
                HasSubstr("  A\xEF\xBF\xBD_very_long_name_of_a_he… 0.2188 m"));
}

TEST_F(SessionSummary, IsOneLinePerFactWhateverTheDirectoryIsCalled) {
    const std::string out = directory_ / "a\nb";
    const Outcome outcome = capture({"run", writeTake("take.bvh", 1), "--out", out});
    EXPECT_THAT(outcome.out, EndsWith("/a\xEF\xBF\xBD"
                                      "b\n"));
}

} // namespace
} // namespace tarn::tests
