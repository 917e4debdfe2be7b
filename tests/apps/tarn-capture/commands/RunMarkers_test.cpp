// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/MarkerTakes.h"
#include "apps/support/Programs.h"
#include "apps/support/SessionTest.h"
#include "support/Samples.h"

#include <gmock/gmock.h>
#include <tarn/Actor.h>
#include <tarn_kit/files/Bvh.h>

#include <cmath>
#include <cstddef>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

// Sessions of takes of markers: who performs, with which body, and what is left of them.

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const char* const jumps = "cmu_01_01_jumps.c3d";
const char* const acrobat = "cmu_85_02.c3d";
constexpr int frames = 240;

std::string samplePath(const char* name) { return tarn::testing::samplePath(name).string(); }

/// The cells of a table by the names of their columns, without the unit, one map per row.
std::vector<std::map<std::string, double>> tableIn(const std::string& file) {
    std::istringstream text(readFile(file));
    std::vector<std::string> names;
    std::vector<std::map<std::string, double>> rows;
    for (std::string line; std::getline(text, line);) {
        std::istringstream cells(line);
        std::size_t column = 0;
        const bool isHead = names.empty();
        if (!isHead) {
            rows.emplace_back();
        }
        for (std::string cell; std::getline(cells, cell, ','); ++column) {
            if (isHead) {
                names.push_back(cell.substr(0, cell.find(' ')));
            } else if (!cell.empty()) {
                rows.back()[names.at(column)] = std::stod(cell);
            }
        }
    }
    return rows;
}

double distance(const std::map<std::string, double>& a, const std::string& nameA,
                const std::map<std::string, double>& b, const std::string& nameB) {
    return std::hypot(a.at(nameA + ".x") - b.at(nameB + ".x"),
                      a.at(nameA + ".y") - b.at(nameB + ".y"),
                      a.at(nameA + ".z") - b.at(nameB + ".z"));
}

std::string valueIn(const std::string& file, const std::string& key) {
    Settings settings;
    EXPECT_TRUE(settings.loadSettingsFromFile(file));
    return settings.value(key, "(not there)");
}

/// Two performers and a box in one take, calibrated and solved: one session for all tests.
class RunTwoInOneTake : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        directory = new TempDirectory;
        const auto onlyFour = [](const std::string& name) {
            return name.size() > 3 && name.compare(1, 2, "WR") == 0 ? "corner" + name
                                                                    : std::string();
        };
        writeMarkerTake(*directory / "duo.c3d",
                        {{jumps, "Ada", 300}, {acrobat, "Ben", 400}, {acrobat, "Box", 0, onlyFour}},
                        frames);
        outcome = capture({"run", *directory / "duo.c3d", "--out", out(""), "--calibrate", "1.5"});
    }
    static void TearDownTestSuite() {
        delete directory;
        directory = nullptr;
    }
    static std::string out(const std::string& name) { return (*directory / "out") + "/" + name; }

    static TempDirectory* directory;
    static Outcome outcome;
};

TempDirectory* RunTwoInOneTake::directory = nullptr;
Outcome RunTwoInOneTake::outcome;

TEST_F(RunTwoInOneTake, IsASessionOfTwoPerformersNamedAsTheirLabelsSay) {
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("passed over: 'Box' has 0 of "),
                                   HasSubstr("calibrating over 180 frames\n"),
                                   HasSubstr("\nAda            240      240        0  "),
                                   HasSubstr("\nBen            240      240        0  "),
                                   HasSubstr("complete, nothing lost; 15 files written")));
    const std::string session = out("session.xml");
    EXPECT_EQ(valueIn(session, "Session.Complete"), "yes");
    EXPECT_EQ(valueIn(session, "Session.Unit"), "cm");
    EXPECT_EQ(valueIn(session, "Session.Up"), "Y");
    EXPECT_EQ(valueIn(session, "Session.Characters.Character1.Name"), "Ada");
    EXPECT_EQ(valueIn(session, "Session.Characters.Character2.Name"), "Ben");
    EXPECT_EQ(valueIn(session, "Session.Characters.Character2.FramesOut"), "240");
    EXPECT_EQ(valueIn(session, "Session.Characters.Character3.Name"), "(not there)");
}

TEST_F(RunTwoInOneTake, PutsEachBodyAmongItsOwnMarkers) {
    for (const char* const name : {"Ada", "Ben"}) {
        const std::string report = std::string("Session.Characters.Character") +
                                   (name[0] == 'A' ? "1" : "2") + ".Markers.";
        EXPECT_LT(std::stod(valueIn(out("session.xml"), report + "RmsWithoutWorstPercent")), 8)
            << name;
        const auto joints = tableIn(out(name + std::string(".csv")));
        const auto markers = tableIn(out(name + std::string(".markers.csv")));
        ASSERT_EQ(joints.size(), static_cast<std::size_t>(frames));
        ASSERT_EQ(markers.size(), joints.size());
        EXPECT_EQ(joints[0].at("frame"), 11) << "as the file numbers it";
        EXPECT_EQ(markers[0].at("frame"), 11);
        for (std::size_t i = 0; i < joints.size(); i += 40) {
            EXPECT_LT(distance(joints[i], "LeftFoot", markers[i], "LANK"), 10) << name << i;
            EXPECT_LT(distance(joints[i], "RightForeArm", markers[i], "RELB"), 10) << name << i;
        }
    }
}

TEST_F(RunTwoInOneTake, HasEverythingInOneSpaceWithYUp) {
    const auto ada = tableIn(out("Ada.csv"));
    EXPECT_GT(ada[0].at("Head.y"), ada[0].at("LeftFoot.y") + 100) << "centimetres";
    const kit::BvhTake motion = kit::readBvh(out("Ada.bvh"));
    EXPECT_EQ(motion.tracks->timeLength(), frames);
    EXPECT_GT(motion.rig->height(), 150);
    EXPECT_LT(motion.rig->height(), 200);
}

TEST_F(RunTwoInOneTake, GivesEachPerformerItsOwnCalibratedActor) {
    Actor ada;
    Actor ben;
    ASSERT_TRUE(ada.loadSettingsFromFile(out("Ada.actor.xml")));
    ASSERT_TRUE(ben.loadSettingsFromFile(out("Ben.actor.xml")));
    EXPECT_EQ(ada.actorName(), "Ada");
    EXPECT_EQ(ben.actorName(), "Ben");
    EXPECT_NEAR(ada.bodyDimension("LeftUpLeg", 0), 0.42, 0.06);
    EXPECT_NEAR(ben.bodyDimension("LeftUpLeg", 0), 0.42, 0.06);
    EXPECT_NE(ada.bodyDimension("LeftUpLeg", 0), ben.bodyDimension("LeftUpLeg", 0));
}

class RunMarkers : public SessionTest {
protected:
    /// An actor calibrated with the jumps, once for all tests.
    std::string calibrate() const {
        static const std::string document = calibrated();
        writeFile(directory_ / "actor.xml", document);
        return directory_ / "actor.xml";
    }
    static std::string calibrated() {
        const TempDirectory directory;
        const std::string actor = directory / "actor.xml";
        EXPECT_EQ(capture({"calibrate", samplePath(jumps), "--markers", "cmu41", "--frames",
                           "500..560", "--out", actor})
                      .exitCode,
                  0);
        return readFile(actor);
    }
    /// The first frames of a sample.
    std::string part(const std::string& name, const std::string& subject, int count = 30) const {
        writeMarkerTake(directory_ / name, {{jumps, subject, 400}}, count);
        return directory_ / name;
    }
};

TEST_F(RunMarkers, WithACalibratedActorGivesTheBodiesThatSolveGives) {
    const std::string actor = calibrate();
    const std::string take = part("take.c3d", "");

    const Outcome outcome = run({take}, {"--actor", actor, "--calibrate", "0"});

    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, Not(HasSubstr("calibrating")));
    ASSERT_EQ(
        capture({"solve", take, "--actor", actor, "--no-pictures", "--out", directory_ / "solved"})
            .exitCode,
        0);
    const auto ours = tableIn(output("take.csv"));
    const auto theirs = tableIn((directory_ / "solved") + "/take.joints.csv");
    ASSERT_EQ(ours.size(), 30U);
    ASSERT_EQ(theirs.size(), 30U);
    for (std::size_t i = 0; i < ours.size(); ++i) {
        // The file's X, Y and Z, in millimetres, are Z, X and Y here.
        EXPECT_NEAR(10 * ours[i].at("LeftHand.y"), theirs[i].at("LeftHand.z"), 0.05);
        EXPECT_NEAR(10 * ours[i].at("LeftHand.z"), theirs[i].at("LeftHand.x"), 0.05);
        EXPECT_NEAR(10 * ours[i].at("LeftHand.x"), theirs[i].at("LeftHand.y"), 0.05);
    }
}

TEST_F(RunMarkers, RecordsTheMarkersOfEachOfSeveralFilesOfOneName) {
    for (const char* const folder : {"a", "b"}) {
        std::filesystem::create_directory(directory_ / folder);
    }
    const std::string first = part("a/walk.c3d", "");
    const std::string second = directory_ / "b/walk.c3d";
    writeMarkerTake(second, {{jumps, "", 500}}, 20);
    const std::string record = directory_ / "session.tarn";

    const Outcome outcome =
        run({first, second}, {"--actor", "walk=" + calibrate(), "--actor", "walk-2=" + calibrate(),
                              "--calibrate", "0", "--record", record});

    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(capture({"take", "ls", record}).out,
                AllOf(HasSubstr("  walk.c3d\n"), HasSubstr("  walk-2.c3d\n")));
    const auto tableOf = [this](const std::string& take, const Arguments& more) {
        const std::string out = directory_ / "table.csv";
        Arguments arguments = {"export", take, "--format", "csv", "--out", out};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome exported = capture(arguments);
        EXPECT_EQ(exported.exitCode, 0) << exported.err;
        return tableIn(out);
    };
    const Arguments asRecorded = {"--unit", "cm", "--up", "Y"};
    EXPECT_EQ(tableOf(record + "#walk.c3d", {}), tableOf(first, asRecorded));
    EXPECT_EQ(tableOf(record + "#walk-2.c3d", {}), tableOf(second, asRecorded));
}

TEST_F(RunMarkers, LosesNothingAtThePaceOfTheTake) {
    const Outcome outcome =
        run({part("take.c3d", "")}, {"--actor", calibrate(), "--realtime", "--calibrate", "0.2"});

    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("calibrating over 24 frames\n"),
                                   HasSubstr("\ntake            30       30        0  ")));
}

TEST_F(RunMarkers, PlaysBesideTakesOfBodiesInTheirSpace) {
    const Outcome outcome = run({samplePath("cmu_131_01_walk.bvh"), part("take.c3d", "")},
                                {"--actor", "take=" + calibrate(), "--unit", "m", "--scale",
                                 "0.056444", "--calibrate", "0.1"});

    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(session("Session.Unit"), "m");
    EXPECT_EQ(session("Session.Frames"), "994");
    EXPECT_EQ(session("Session.Characters.Character1.Name"), "cmu_131_01_walk");
    EXPECT_EQ(session("Session.Characters.Character2.Name"), "take");
    EXPECT_EQ(session("Session.Characters.Character2.FramesIn"), "30");
    const auto walk = tableIn(output("cmu_131_01_walk.csv"));
    const auto take = tableIn(output("take.csv"));
    EXPECT_NEAR(walk[0].at("Head.y") - walk[0].at("LeftAnkle.y"), 1.2, 0.3);
    EXPECT_NEAR(take[0].at("Head.y") - take[0].at("LeftFoot.y"), 1.5, 0.3);
}

TEST_F(RunMarkers, TellsPerformersOfSeveralTakesApart) {
    const std::string actor = calibrate();
    const Outcome outcome = run({part("one.c3d", "Ada", 12), part("two.c3d", "Ada", 12)},
                                {"--actor", "Ada=" + actor, "--actor", "Ada-2=" + actor});

    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(session("Session.Characters.Character1.Name"), "Ada");
    EXPECT_EQ(session("Session.Characters.Character2.Name"), "Ada-2");
}

TEST_F(RunMarkers, AsksForTheMarkerSetWhereLabelsDoNotTellIt) {
    const auto renamed = [](const std::string& name) { return "M_" + name; };
    writeMarkerTake(directory_ / "take.c3d", {{jumps, "", 0, renamed}}, 20);

    const Outcome outcome = run({directory_ / "take.c3d"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("take.c3d: it cannot be told which marker set is worn"),
                      HasSubstr("'take' has 0 of "), HasSubstr("--markers SET")));
    EXPECT_FALSE(std::filesystem::exists(out_));
}

TEST_F(RunMarkers, SaysThatNobodyWearsTheSetThatWasAskedFor) {
    const auto renamed = [](const std::string& name) {
        return name == "LKNE" ? name : "M_" + name;
    };
    writeMarkerTake(directory_ / "take.c3d", {{jumps, "Ada", 0, renamed}}, 20);

    const Outcome outcome = run({directory_ / "take.c3d"}, {"--markers", "gait16"});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr("nobody wears the marker set: 'Ada' has 1 of 16 markers of gait16"),
                      HasSubstr("tarn-capture markers check gait16")));
}

TEST_F(RunMarkers, NeedsACalibrationOrACalibratedActor) {
    const Outcome outcome = run({part("take.c3d", "Ada")}, {"--calibrate", "0"});

    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("--actor names an actor that was calibrated"));
}

TEST_F(RunMarkers, SaysWhyACalibrationFailsAndKeepsNothing) {
    const Outcome outcome = run({part("take.c3d", "Ada", 5)});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("'Ada' cannot be calibrated: "),
                                   HasSubstr("it takes 10; nothing was kept")));
    EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(RunMarkers, RefusesOneBodyForTwoPerformersAndActorsOfNobody) {
    const std::string actor = calibrate();
    writeMarkerTake(directory_ / "duo.c3d", {{jumps, "Ada", 0}, {jumps, "Ben", 100}}, 20);
    const auto errorOf = [&](const Arguments& actors) {
        const Outcome outcome = run({directory_ / "duo.c3d"}, actors);
        EXPECT_EQ(outcome.exitCode, 2);
        return outcome.err;
    };
    EXPECT_THAT(errorOf({"--actor", actor}),
                HasSubstr("one calibrated body for Ada and Ben; say whose it is"));
    EXPECT_THAT(errorOf({"--actor", "Eve=" + actor}),
                HasSubstr("there is no performer 'Eve', but 'Ada', 'Ben'"));
    EXPECT_THAT(errorOf({"--actor", "Ada=" + actor, "--actor", "Ada=" + actor}),
                HasSubstr("two documents for 'Ada'"));
}

TEST_F(RunMarkers, RefusesTakesOfAnotherRate) {
    const Outcome outcome = run({part("take.c3d", "Ada"), samplePath("cmu_60_12_salsa_a.bvh")});

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("30 frames per second, but "), HasSubstr(" has 120")));
}

} // namespace
} // namespace tarn::tests
