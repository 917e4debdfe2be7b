// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/SessionTest.h"

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;

class SessionDocument : public SessionTest {
protected:
    std::string text() const { return readFile(output("session.xml")); }
};

std::string length(int number, const std::string& name, const std::string& mean) {
    const std::string key = "Length" + std::to_string(number);
    return "\t\t\t\t<" + key + ">\n\t\t\t\t\t<Name>" + name + "</Name>\n\t\t\t\t\t<Mean>" + mean +
           "</Mean>\n\t\t\t\t\t<Spread>0.000000</Spread>\n\t\t\t\t</" + key + ">\n";
}

std::string character(int number, const std::string& name, const std::string& take,
                      const std::string& frames) {
    const std::string key = "Character" + std::to_string(number);
    return "\t\t<" + key + ">\n\t\t\t<Name>" + name + "</Name>\n\t\t\t<Take>" + take +
           "</Take>\n\t\t\t<FramesIn>" + frames + "</FramesIn>\n\t\t\t<FramesOut>" + frames +
           "</FramesOut>\n\t\t\t<FramesLost>0</FramesLost>\n"
           "\t\t\t<Solver>\n\t\t\t\t<scale>1</scale>\n"
           "\t\t\t\t<smoothingWindow>1</smoothingWindow>\n\t\t\t</Solver>\n"
           "\t\t\t<Clock>\n\t\t\t\t<Missing>0</Missing>\n\t\t\t</Clock>\n\t\t\t<Dimensions>\n" +
           length(1, "Height", "1.750000") + length(2, "Hips", "0.656250") +
           length(3, "Head", "0.218750") + length(4, "Hips-LeftLeg", "0.892328") +
           length(5, "Hips-rLeg", "0.892328") + "\t\t\t</Dimensions>\n\t\t</" + key + ">\n";
}

TEST_F(SessionDocument, WritesDownAllThatASessionWas) {
    const std::string one = writeTake("one.bvh", 2);
    const std::string two = writeTake("two.bvh", 3);

    ASSERT_EQ(run({one, two}).exitCode, 0);

    EXPECT_EQ(text(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<Session>\n"
                      "\t<Complete>yes</Complete>\n"
                      "\t<Rate>25</Rate>\n"
                      "\t<Frames>3</Frames>\n"
                      "\t<Unit>m</Unit>\n\t<UnitIs>guessed</UnitIs>\n"
                      "\t<Up>Y</Up>\n\t<UpIs>guessed</UpIs>\n"
                      "\t<File>one.actor.xml</File>\n"
                      "\t<File>one.csv</File>\n"
                      "\t<File>one.bvh</File>\n"
                      "\t<File>two.actor.xml</File>\n"
                      "\t<File>two.csv</File>\n"
                      "\t<File>two.bvh</File>\n"
                      "\t<File>poses.png</File>\n"
                      "\t<File>poses.svg</File>\n"
                      "\t<File>motion.png</File>\n"
                      "\t<File>motion.svg</File>\n"
                      "\t<File>session.xml</File>\n"
                      "\t<Characters>\n" +
                          character(1, "one", "../one.bvh", "2") +
                          character(2, "two", "../two.bvh", "3") + "\t</Characters>\n</Session>\n");
}

TEST_F(SessionDocument, JudgesTheClockOfFramesThatWerePaced) {
    const Outcome outcome = run({writeTake("take.bvh", 8)}, {"--realtime", "--dimensions"});
    ASSERT_EQ(outcome.exitCode, 0);

    const std::string clock = "Session.Characters.Character1.Clock.";
    EXPECT_EQ(session(clock + "Missing"), "0");
    EXPECT_EQ(session(clock + "StatedRate"), "25.000000");
    // Whether a busy machine kept the beat is not for this test to say.
    const bool trusted = session(clock + "Trusted") == "yes";
    EXPECT_TRUE(trusted || session(clock + "Trusted") == "no");
    EXPECT_THAT(outcome.out, HasSubstr(trusted ? " trusted  " : " not trusted  "));
    // What was measured is what the summary says, in other digits.
    std::smatch said;
    ASSERT_TRUE(std::regex_search(
        outcome.out, said, std::regex("([0-9.]+) per second measured[^]*jitter ([0-9.]+) ms")));
    EXPECT_NEAR(std::stod(session(clock + "MeasuredRate")), std::stod(said[1]), 0.00051);
    EXPECT_NEAR(1000 * std::stod(session(clock + "Jitter")), std::stod(said[2]), 0.0011);
}

TEST_F(SessionDocument, NamesTakesAndJointsThatAreNoTextAsText) {
    TakeText take;
    std::string text = take.text();
    text.replace(text.find("JOINT Head"), 10,
                 "JOINT He\xFF\x01"
                 "d");
    const std::string file = directory_ / "ta\x02ke.bvh";
    writeFile(file, text);

    ASSERT_EQ(run({file}).exitCode, 0);

    const std::string character = "Session.Characters.Character1.";
    EXPECT_EQ(session(character + "Name"), "ta\xEF\xBF\xBDke");
    EXPECT_EQ(session(character + "Take"), "../ta\xEF\xBF\xBDke.bvh");
    EXPECT_EQ(session(character + "Dimensions.Length3.Name"), "He\xEF\xBF\xBD\xEF\xBF\xBD"
                                                              "d");
}

} // namespace
} // namespace tarn::tests
