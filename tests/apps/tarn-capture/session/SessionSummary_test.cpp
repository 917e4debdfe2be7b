// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/SessionTest.h"

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace tarn::tests {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class SessionSummary : public SessionTest {};

/// What was printed, with a T for each time that was measured.
std::string timeless(const std::string& text) {
    return std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3} s\\b"), "T");
}

TEST_F(SessionSummary, SaysWhatBecameOfEachPerformer) {
    const Outcome outcome = run({writeTake("one.bvh", 2), writeTake("two.bvh", 3)});

    const auto performer = [](const std::string& name, const std::string& frames) {
        return name + "\n  frames       " + frames + " in, " + frames +
               " out, 0 lost\n"
               "  clock        0 missing; rate and jitter not measured: frames were not paced\n"
               "  height       1.75 m ± 0\n"
               "  dimensions   mean ± spread over " +
               frames +
               " frames\n"
               "    Head             0.6562 m ± 0            Head_End         0.2188 m ± 0   "
               "         LeftLeg          0.8923 m ± 0\n"
               "    rLeg             0.8923 m ± 0\n"
               "  time         read T, wait T, solve T, record T, write T\n";
    };
    EXPECT_EQ(timeless(outcome.out), "calibrating over 3 frames\nplaying 3 frames\n" +
                                         performer("one", "2") + performer("two", "3") +
                                         "pictures drawn in T; 11 files written to " + out_ + "\n");
}

TEST_F(SessionSummary, MeasuresTheTimeOfWhatTakesTime) {
    const std::string out = run({writeTake("take.bvh", 2000)}).out;
    EXPECT_THAT(out, Not(HasSubstr("drawn in 0.000 s")));
    EXPECT_THAT(out, Not(HasSubstr("write 0.000 s")));
    EXPECT_THAT(out, Not(HasSubstr("read 0.000 s")));
}

TEST_F(SessionSummary, SaysHowMuchALengthVaried) {
    // The end of the stick is 1 and 1.2 from the root.
    writeFile(directory_ / "stick.bvh", "HIERARCHY\nROOT Base\n{\nOFFSET 0 0 0\nCHANNELS 0\n"
                                        "JOINT Tip\n{\nOFFSET 0 1 0\nCHANNELS 1 Yposition\n}\n}\n"
                                        "MOTION\nFrames: 2\nFrame Time: 0.04\n0\n0.2\n");
    EXPECT_THAT(run({directory_ / "stick.bvh"}).out,
                HasSubstr("  dimensions   mean ± spread over 2 frames\n"
                          "    Tip              1.1 units ± 0.1\n"));
    const std::string length = "Session.Characters.Character1.Dimensions.Length2.";
    EXPECT_EQ(session(length + "Mean"), "1.100000");
    EXPECT_EQ(session(length + "Spread"), "0.100000");
}

TEST_F(SessionSummary, KeepsNamesOfJointsInTheirColumn) {
    std::string text = TakeText().text();
    const std::string name = "JOINT Head";
    text.replace(text.find(name), name.size(), "JOINT A\x01_very_long_name_of_a_head");
    writeFile(directory_ / "take.bvh", text);
    EXPECT_THAT(run({directory_ / "take.bvh"}).out,
                HasSubstr("\n    A\xEF\xBF\xBD_very_long_na… 0.6562 m ± 0 "));
}

TEST_F(SessionSummary, LeavesNoLineEmptyWhereTheLastOneIsFull) {
    std::string text = TakeText().text(); // four lengths, of which one goes
    const std::size_t end = text.find("End Site");
    text.erase(end, text.find('}', end) + 2 - end);
    writeFile(directory_ / "take.bvh", text);
    EXPECT_THAT(run({directory_ / "take.bvh"}).out,
                HasSubstr(" rLeg             0.8923 m ± 0\n  time "));
}

TEST_F(SessionSummary, IsOneLinePerFactWhateverTheDirectoryIsCalled) {
    const std::string out = directory_ / "a\nb";
    const Outcome outcome = capture({"run", writeTake("take.bvh", 1), "--out", out});
    EXPECT_THAT(outcome.out, EndsWith("/a\xEF\xBF\xBD"
                                      "b\n"));
}

} // namespace
} // namespace tarn::tests
