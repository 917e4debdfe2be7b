// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "support/Samples.h"

#include <gmock/gmock.h>
#include <tarn/Settings.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

// From a take of markers to an actor, and to bodies.

namespace tarn::tests {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

const std::string sample = tarn::testing::samplePath("cmu_01_01_jumps.c3d").string();

std::vector<std::vector<std::string>> tableIn(const std::filesystem::path& file) {
    std::istringstream text(readFile(file));
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(text, line);) {
        std::istringstream cells(line);
        rows.emplace_back();
        for (std::string cell; std::getline(cells, cell, ',');) {
            rows.back().push_back(cell);
        }
    }
    return rows;
}

/// One actor for all tests: calibrated once.
class Solve : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        shared = new TempDirectory;
        calibration = capture(
            {"calibrate", sample, "--markers", "cmu41", "--out", actor(), "--frames", "160..579"});
    }
    static void TearDownTestSuite() {
        delete shared;
        shared = nullptr;
    }
    static std::string actor() { return (shared->path() / "actor.xml").string(); }
    std::string out() const { return (directory.path() / "out").string(); }
    std::filesystem::path file(const char* ending) const {
        return directory.path() / "out" / (std::string("cmu_01_01_jumps") + ending);
    }

    static TempDirectory* shared;
    static Outcome calibration;
    TempDirectory directory;
};

TempDirectory* Solve::shared = nullptr;
Outcome Solve::calibration;

TEST_F(Solve, ACalibrationPrintsLengthsWithUncertaintyAndWeakSpots) {
    ASSERT_EQ(calibration.exitCode, 0) << calibration.err;
    EXPECT_THAT(calibration.out, HasSubstr("420 frames"));
    EXPECT_THAT(calibration.out, HasSubstr("LeftUpLeg"));
    EXPECT_THAT(calibration.out, HasSubstr("±"));
    EXPECT_THAT(calibration.out, HasSubstr("mm RMS"));
    EXPECT_THAT(calibration.out, HasSubstr("weak: "));
    EXPECT_THAT(calibration.out, Not(ContainsRegex("[^\n]{80}"))) << "a terminal's width";
    Settings document;
    ASSERT_TRUE(document.loadSettingsFromFile(actor()));
    EXPECT_THAT(document.value("MocapActor.BodyDimension.LeftLeg", ""), StartsWith("0.4"));
}

TEST_F(Solve, WritesBodiesTablesReportAndPicture) {
    const Outcome outcome =
        capture({"solve", sample, "--actor", actor(), "--out", out(), "--frames", "700..739"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const auto joints = tableIn(file(".joints.csv"));
    ASSERT_EQ(joints.size(), 41U);
    EXPECT_EQ(joints[0][0], "frame");
    EXPECT_EQ(joints[0][1], "time");
    EXPECT_EQ(joints[0][2], "Hips.x");
    EXPECT_EQ(joints[1][0], "700");
    EXPECT_EQ(joints[1][1], "4.500000");
    EXPECT_EQ(joints[40][0], "739");
    const auto markers = tableIn(file(".markers.csv"));
    ASSERT_EQ(markers.size(), 41U);
    ASSERT_EQ(markers[0].size(), 1U + 4 * 41);
    EXPECT_EQ(markers[0][4], markers[0][1].substr(0, markers[0][1].size() - 2) + ".residual");
    const kit::BvhTake bvh = kit::readBvh(file(".bvh"));
    EXPECT_EQ(bvh.tracks->timeLength(), 40);
    EXPECT_NEAR(bvh.frameTime, 1.0 / 120, 1e-6);
    EXPECT_GT(bvh.rig->height(), 150) << "in centimetres, standing along Y";
    EXPECT_THAT(readFile(file(".png")), HasSubstr("PNG"));
    Settings report;
    ASSERT_TRUE(report.loadSettingsFromFile(out() + "/solve.xml"));
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Frames", ""), "40");
    EXPECT_LT(std::stod(report.value("Solve.Trials.Trial1.RmsWithoutWorstPercent", "99")), 5);
    EXPECT_EQ(report.value("Solve.Trials.Trial1.FirstFrame", ""), "700");
}

TEST_F(Solve, SaysWhereAMarkerIsThatWasLeftOutAndHowFarItIsFromThere) {
    const Outcome outcome = capture({"solve", sample, "--actor", actor(), "--out", out(),
                                     "--frames", "700..704", "--without", "LKNE", "--no-pictures"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const auto markers = tableIn(file(".markers.csv"));
    std::size_t column = 0;
    while (markers[0].at(column) != "LKNE.residual") {
        ++column;
    }
    EXPECT_GT(std::stod(markers[1].at(column)), 0);
    EXPECT_LT(std::stod(markers[1].at(column)), 40);
    EXPECT_FALSE(std::filesystem::exists(file(".png")));
}

TEST_F(Solve, WritesTheSameLive) {
    ASSERT_EQ(capture({"solve", sample, "--actor", actor(), "--out", out(), "--frames", "700..719",
                       "--no-pictures"})
                  .exitCode,
              0);
    const std::string before = readFile(file(".joints.csv"));
    ASSERT_EQ(capture({"solve", sample, "--actor", actor(), "--out", out(), "--frames", "700..719",
                       "--no-pictures", "--live"})
                  .exitCode,
              0);
    EXPECT_EQ(readFile(file(".joints.csv")), before);
}

TEST_F(Solve, TakesLengthsAndAxesAsTheUserSaysThatTheyAre) {
    const auto solved = [&](const std::string& take, const Arguments& more) {
        Arguments arguments = {"solve", take,       "--actor",  actor(),        "--out",
                               out(),   "--frames", "700..704", "--no-pictures"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return tableIn(file(".joints.csv"));
    };
    const auto expectAlike = [](const auto& table, const auto& other, std::size_t shift) {
        ASSERT_EQ(table.size(), 6U);
        ASSERT_EQ(other.size(), 6U);
        for (std::size_t row = 1; row < table.size(); ++row) {
            for (std::size_t i = 2; i < table[row].size(); ++i) {
                const std::size_t axis = (i - 2) % 3;
                EXPECT_NEAR(std::stod(table[row][i]),
                            std::stod(other[row].at(i - axis + (axis + shift) % 3)), 0.5);
            }
        }
    };
    const auto plain = solved(sample, {});
    expectAlike(plain, solved(sample, {"--up", "y"}), 2); // what was along Z is along Y
    Settings report;
    ASSERT_TRUE(report.loadSettingsFromFile(out() + "/solve.xml"));
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Reading.Up", ""), "Y");
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Reading.Scale", "none"), "none");

    kit::C3dTake take = kit::readC3d(sample);
    take.unit = "cm"; // its lengths stay what they are
    take.metresPerUnit = 0.01;
    const std::string wrong = (directory.path() / "cmu_01_01_jumps.c3d").string();
    {
        std::ofstream stream(wrong, std::ios::binary);
        kit::writeC3d(take, stream);
    }
    expectAlike(plain, solved(wrong, {"--scale", "0.1"}), 0);
    expectAlike(plain, solved(sample, {"--unit", "in"}), 0);
    ASSERT_TRUE(report.loadSettingsFromFile(out() + "/solve.xml"));
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Reading.Unit", ""), "in");
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Unit", ""), "mm") << "of errors, all the same";
    const Outcome small = capture({"calibrate", wrong, "--markers", "cmu41", "--out",
                                   (directory.path() / "small.xml").string(), "--frames",
                                   "160..579", "--scale", "0.1"});
    ASSERT_EQ(small.exitCode, 0) << small.err;
    Settings document;
    ASSERT_TRUE(document.loadSettingsFromFile((directory.path() / "small.xml").string()));
    EXPECT_THAT(document.value("MocapActor.BodyDimension.LeftLeg", ""), StartsWith("0.4"));
}

TEST_F(Solve, RefusesWhatCannotBe) {
    const auto errorOf = [&](Arguments more) {
        Arguments arguments = {"solve", sample, "--actor", actor()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        if (more.front() != "--out") {
            arguments.insert(arguments.end(), {"--out", out()});
        }
        const Outcome outcome = capture(arguments);
        EXPECT_NE(outcome.exitCode, 0);
        return outcome.err;
    };
    EXPECT_THAT(errorOf({"--frames", "1..20"}), HasSubstr("has frames 160..999"));
    EXPECT_THAT(errorOf({"--without", "TAIL"}), HasSubstr("no such marker"));
    EXPECT_THAT(errorOf({"--subject", "Bert"}), HasSubstr("no performer 'Bert'"));
    EXPECT_THAT(errorOf({"--out", "-"}), HasSubstr("cannot go to standard output"));
    const std::string empty = (directory.path() / "empty.xml").string();
    writeFile(empty, "<MocapActor/>");
    const Outcome outcome = capture({"solve", sample, "--actor", empty, "--out", out()});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("tarn-capture calibrate"));
}

/// The frames of the sample from 160 on, with what `change` makes of each marker, as a file.
void writeChanged(const std::string& file, int count,
                  const std::function<kit::Marker(std::size_t, const kit::Marker&)>& change) {
    kit::C3dTake take = kit::readC3d(std::filesystem::path(sample));
    std::vector<std::shared_ptr<Frame>> frames;
    for (int i = 0; i < count; ++i) {
        const auto frame = take.tracks->getFrame(i, kit::markerDataType);
        const auto& measured = frame->dataAs<kit::MarkerFrame>();
        std::vector<kit::Marker> markers;
        for (std::size_t m = 0; m < measured.size(); ++m) {
            markers.push_back(change(m, measured[m]));
        }
        frames.push_back(std::make_shared<Frame>(frame->time(), kit::markerDataType,
                                                 kit::MarkerFrame(std::move(markers))));
    }
    take.tracks = kit::takeOf(kit::markerDataType, std::move(frames), 120);
    take.frameCount = count;
    take.source = nullptr;
    std::ofstream stream(file, std::ios::binary);
    kit::writeC3d(take, stream);
}

TEST_F(Solve, RefusesMarkersThatNoBodyWears) {
    const std::string file = (directory.path() / "take.c3d").string();
    const auto errorOf = [&](const auto& change) {
        writeChanged(file, 12, change);
        const Outcome outcome =
            capture({"solve", file, "--actor", actor(), "--out", out(), "--no-pictures"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_FALSE(std::filesystem::exists(out() + "/take.joints.csv"));
        return outcome.err;
    };
    EXPECT_THAT(errorOf([](std::size_t, const kit::Marker&) { return kit::Marker(); }),
                HasSubstr("take.c3d: none of the body's markers is ever seen"));
    EXPECT_THAT(errorOf([](std::size_t m, const kit::Marker& marker) {
                    return m == 2 ? marker : kit::Marker();
                }),
                HasSubstr("never more than 1 of the body's markers are seen at once, of LFWT; "));
    EXPECT_THAT(errorOf([](std::size_t, const kit::Marker&) {
                    return kit::Marker::at({1, 2, 3});
                }),
                HasSubstr("the markers of a frame are 0 mm apart, which is no body"));
    EXPECT_THAT(errorOf([](std::size_t, const kit::Marker& marker) {
                    return kit::Marker::at(marker.position * 0.001F);
                }),
                HasSubstr("is the unit of length right? In m it would be one"));
}

TEST_F(Solve, KnowsAMarkerToLeaveOutHoweverItsNameIsWritten) {
    const Outcome outcome = capture({"solve", sample, "--actor", actor(), "--out", out(),
                                     "--frames", "160..160", "--without", "l_kne"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("cmu_01_01_jumps: 1 frame; "));
    const Outcome unknown =
        capture({"solve", sample, "--actor", actor(), "--out", out(), "--without", "LKNEE"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_THAT(unknown.err, HasSubstr("--without LKNEE: the actor has no such marker, but C7, "));
}

TEST_F(Solve, SolvesTheTrialsThatHaveTheFramesThatWereAskedFor) {
    const std::string shorter = (directory.path() / "short.c3d").string();
    writeChanged(shorter, 12, [](std::size_t, const kit::Marker& marker) { return marker; });
    const Outcome outcome = capture({"solve", shorter, sample, "--actor", actor(), "--out", out(),
                                     "--frames", "180..182", "--no-pictures"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("short.c3d: --frames: the take has frames 160..171\n"));
    EXPECT_EQ(tableIn(file(".joints.csv")).size(), 4U);
}

TEST_F(Solve, TellsTrialsOfOneNameApart) {
    const Outcome outcome = capture({"solve", sample, sample, "--actor", actor(), "--out", out(),
                                     "--frames", "3", "--no-pictures"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(readFile(file(".joints.csv")), readFile(file("-2.joints.csv")));
    EXPECT_EQ(tableIn(file(".joints.csv"))[3][0], "162") << "the first three";
}

TEST_F(Solve, SolvesTheOtherTrialsWhenOneCannotBeRead) {
    const std::string body = tarn::testing::samplePath("cmu_131_01_walk.bvh").string();
    const Outcome outcome = capture({"solve", "nowhere.c3d", body, sample, "--actor", actor(),
                                     "--out", out(), "--frames", "3", "--no-pictures"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("nowhere.c3d: No such file"));
    EXPECT_THAT(outcome.err, HasSubstr("walk.bvh: holds a body, where markers are needed"));
    Settings report;
    ASSERT_TRUE(report.loadSettingsFromFile(out() + "/solve.xml"));
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Name", ""), "cmu_01_01_jumps");
}

TEST_F(Solve, SaysSoWhenTheBodyIsSomebodyElses) {
    const std::string other = tarn::testing::samplePath("cmu_85_02.c3d").string();
    const Outcome outcome = capture(
        {"solve", other, "--actor", actor(), "--out", out(), "--frames", "20", "--no-pictures"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("  the body hardly fits: "));
    Settings report;
    ASSERT_TRUE(report.loadSettingsFromFile(out() + "/solve.xml"));
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Fits", ""), "no");
}

TEST_F(Solve, AMarkerThatIsWrongThroughoutDoesNotMakeTheBodySomebodyElses) {
    const kit::C3dTake take = kit::readC3d(std::filesystem::path(sample));
    const auto at = std::find_if(take.markers.begin(), take.markers.end(),
                                 [](const kit::C3dMarker& m) { return m.name == "LKNE"; });
    const auto column = static_cast<std::size_t>(at - take.markers.begin());
    const std::string file = (directory.path() / "wrong.c3d").string();
    writeChanged(file, 60, [column](std::size_t m, kit::Marker marker) {
        marker.position.z += m == column ? 700 : 0;
        return marker;
    });
    const Outcome outcome =
        capture({"solve", file, "--actor", actor(), "--out", out(), "--no-pictures"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("LKNE is not where the body has it, frames 160..219"));
    Settings report;
    ASSERT_TRUE(report.loadSettingsFromFile(out() + "/solve.xml"));
    EXPECT_EQ(report.value("Solve.Trials.Trial1.Fits", ""), "yes");
}

TEST_F(Solve, NeverWritesOverWhatItReads) {
    const std::string take = (directory.path() / "take.bvh").string();
    std::filesystem::copy_file(sample, take);
    const Outcome outcome =
        capture({"solve", take, "--actor", actor(), "--out", directory.path().string()});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(readFile(take), readFile(sample));
}

TEST_F(Solve, ACalibrationNamesTheMarkersThatATakeDoesNotHave) {
    const std::string file = (directory.path() / "new.xml").string();
    const std::string set = (directory.path() / "set.xml").string();
    writeFile(set, "<MarkerSet><Markers><LASI><Segment>Hips</Segment></LASI>"
                   "<LKNE><Segment>LeftUpLeg</Segment></LKNE></Markers></MarkerSet>");
    const Outcome outcome = capture({"calibrate", sample, "--markers", set, "--out", file});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("missing: LASI"));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Solve, TheMarkerSetThatTheGuideShowsCalibratesItsTake) {
    const std::string page =
        readFile(tarn::testing::samplePath("../../docs/solving.md").lexically_normal());
    const std::string fence = "```xml\n";
    const std::size_t begin = page.find(fence) + fence.size();
    const std::string set = (directory.path() / "lower.xml").string();
    writeFile(set, page.substr(begin, page.find("```", begin) - begin));
    EXPECT_THAT(capture({"markers", "check", set, sample}).out, HasSubstr("has 16 of 16 markers"));
    const Outcome outcome = capture({"calibrate", sample, "--markers", set, "--frames", "160..300",
                                     "--out", (directory.path() / "legs.xml").string()});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
}

TEST_F(Solve, AMarkerSetIsCheckedAgainstATake) {
    const Outcome fits = capture({"markers", "check", "cmu41", sample});
    EXPECT_EQ(fits.exitCode, 0) << fits.err;
    EXPECT_THAT(fits.out, HasSubstr("has 41 of 41 markers"));
    EXPECT_THAT(fits.out, HasSubstr("not in the set: RBAC-1"));
    const Outcome misses = capture({"markers", "check", "cmu53", sample});
    EXPECT_EQ(misses.exitCode, 1);
    EXPECT_THAT(misses.out, HasSubstr("missing: "));
    EXPECT_EQ(capture({"markers", "check", "no-such-set"}).exitCode, 1);
}

} // namespace
} // namespace tarn::tests
