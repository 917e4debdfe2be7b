// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/body/Rotations.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

/// What an export says of nodes besides their positions.
class ExportWhat : public ::testing::Test {
protected:
    std::string exported(const std::string& what, const std::string& format) const {
        const Outcome outcome =
            capture({"export", take_, "--format", format, "--out", "-", "--what", what});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return outcome.out;
    }
    /// The lines of a table, each as its cells.
    std::vector<std::vector<std::string>> table(const std::string& what) const {
        std::vector<std::vector<std::string>> lines;
        std::istringstream text(exported(what, "csv"));
        for (std::string line; std::getline(text, line);) {
            std::istringstream cells(line);
            lines.emplace_back();
            for (std::string cell; std::getline(cells, cell, ',');) {
                lines.back().push_back(cell);
            }
        }
        return lines;
    }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
};

/// An arm whose root turns about z, whose hand turns in an order of its own, and whose tip is an
/// end site; 25 frames per second.
std::string armTake(const std::string& frames, int count) {
    return "HIERARCHY\nROOT Arm\n{\nOFFSET 0 0 0\nCHANNELS 4 Xposition Zrotation Xrotation "
           "Yrotation\nJOINT Hand\n{\nOFFSET 1 0 0\nCHANNELS 3 Yrotation Zrotation Xrotation\n"
           "End Site\n{\nOFFSET 1 0 0\n}\n}\n}\nMOTION\nFrames: " +
           std::to_string(count) + "\nFrame Time: 0.04\n" + frames;
}

TEST_F(ExportWhat, NamesTheColumnsOfEachKind) {
    writeFile(take_, armTake("0 0 0 0 0 0 0\n", 1));
    EXPECT_EQ(exported("velocities,angles,rotations,positions", "csv").substr(0, 430),
              exported("positions,rotations,angles,velocities", "csv").substr(0, 430));
    EXPECT_THAT(exported("positions,rotations,angles,velocities", "csv"),
                StartsWith("frame,time [s],"
                           "Arm.x [unit],Arm.y [unit],Arm.z [unit],"
                           "Hand.x [unit],Hand.y [unit],Hand.z [unit],"
                           "Hand_End.x [unit],Hand_End.y [unit],Hand_End.z [unit],"
                           "Arm.qx,Arm.qy,Arm.qz,Arm.qw,Hand.qx,Hand.qy,Hand.qz,Hand.qw,"
                           "Arm.rz [deg],Arm.rx [deg],Arm.ry [deg],"
                           "Hand.ry [deg],Hand.rz [deg],Hand.rx [deg],"
                           "Arm.vx [unit/s],Arm.vy [unit/s],Arm.vz [unit/s],"
                           "Hand.vx [unit/s],Hand.vy [unit/s],Hand.vz [unit/s],"
                           "Hand_End.vx [unit/s],Hand_End.vy [unit/s],Hand_End.vz [unit/s]\n"));
}

TEST_F(ExportWhat, GivesAnglesAsTheTakeStatesThem) {
    writeFile(take_, armTake("0 10 20 30 -40 50 60\n0 170 0 0 0 0 0\n0 190 0 0 0 0 0\n", 3));
    const auto lines = table("angles");
    ASSERT_EQ(lines.size(), 4U);
    const std::vector<double> expected{10, 20, 30, -40, 50, 60};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(std::stod(lines[1].at(2 + i)), expected[i], 1e-4);
    }
    EXPECT_NEAR(std::stod(lines[2].at(2)), 170, 1e-4);
    EXPECT_NEAR(std::stod(lines[3].at(2)), 190, 1e-4); // no jump to -170
}

TEST_F(ExportWhat, GivesRotationsFromTheAxesOfANodeToTheWorlds) {
    writeFile(take_, armTake("0 90 0 0 0 0 90\n", 1));
    const Json pose = Json::parse(exported("rotations,positions", "json"))["poses"][0];
    const auto rotation = [&](std::size_t node) {
        const auto q = pose["rotations"][node].get<std::vector<double>>();
        return kit::Quaterniond{q.at(0), q.at(1), q.at(2), q.at(3)};
    };
    const kit::Quaterniond arm = kit::fromAxisAngle({0, 0, 1}, kit::pi / 2);
    const kit::Quaterniond hand = arm * kit::fromAxisAngle({1, 0, 0}, kit::pi / 2);
    EXPECT_NEAR(kit::radiansBetween(rotation(0), arm), 0, 1e-6);
    EXPECT_NEAR(kit::radiansBetween(rotation(1), hand), 0, 1e-6);
    EXPECT_TRUE(pose["rotations"][2].is_null()); // an end site
    EXPECT_EQ(pose["positions"].size(), 3U);
}

TEST_F(ExportWhat, GivesVelocitiesByTheTimesOfTheFramesAround) {
    writeFile(take_, armTake("0 0 0 0 0 0 0\n1 0 0 0 0 0 0\n4 0 0 0 0 0 0\n", 3));
    const auto lines = table("velocities");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_FLOAT_EQ(std::stof(lines[1].at(2)), 25.0F); // 1 in 0.04 s
    EXPECT_FLOAT_EQ(std::stof(lines[2].at(2)), 50.0F); // 4 in 0.08 s
    EXPECT_FLOAT_EQ(std::stof(lines[3].at(2)), 75.0F); // 3 in 0.04 s
    // A part of the take has the velocities of the whole.
    const Outcome part = capture({"export", take_, "--format", "csv", "--out", "-", "--what",
                                  "velocities", "--frames", "1..1"});
    EXPECT_THAT(part.out, HasSubstr("\n1,0.04,50,0,0,50,0,0,50,0,0\n"));
}

TEST_F(ExportWhat, LeavesTheVelocityOfASingleFrameOpen) {
    writeFile(take_, armTake("5 0 0 0 0 0 0\n", 1));
    EXPECT_THAT(exported("velocities", "csv"), HasSubstr("\n0,0,,,,,,,,,\n"));
    const Json pose = Json::parse(exported("velocities", "json"))["poses"][0];
    EXPECT_EQ(pose["velocities"], Json::parse("[null, null, null]"));
    EXPECT_FALSE(pose.contains("positions"));
}

TEST_F(ExportWhat, SaysInJsonInWhichOrderAnglesTurn) {
    writeFile(take_, armTake("0 1 2 3 4 5 6\n", 1));
    const Json document = Json::parse(exported("angles", "json"));
    EXPECT_EQ(document["nodes"][0]["angles"], "zxy");
    EXPECT_EQ(document["nodes"][1]["angles"], "yzx");
    EXPECT_FALSE(document["nodes"][2].contains("angles"));
    EXPECT_NEAR(document["poses"][0]["angles"][1][0].get<double>(), 4, 1e-4);
    EXPECT_TRUE(document["poses"][0]["angles"][2].is_null());
}

TEST_F(ExportWhat, KeepsTheColumnsOfSeveralPerformersApart) {
    const std::string performer = "\n{\nOFFSET 0 0 0\nCHANNELS 0\nJOINT Head\n{\nOFFSET 0 1 0\n"
                                  "CHANNELS 0\n}\n}\n";
    writeFile(take_, "HIERARCHY\nROOT Ada" + performer + "ROOT Hips" + performer + "ROOT Hips" +
                         performer + "MOTION\nFrames: 0\nFrame Time: 0.04\n");
    const auto header = table("positions,rotations,angles,velocities").at(0);
    EXPECT_EQ(std::set<std::string>(header.begin(), header.end()).size(), header.size());
    EXPECT_THAT(std::vector<std::string>(header.begin() + 2, header.begin() + 6),
                ElementsAre("Ada:Ada.x [unit]", "Ada:Ada.y [unit]", "Ada:Ada.z [unit]",
                            "Ada:Head.x [unit]"));
    EXPECT_THAT(header, ::testing::Contains("Hips:Head.x [unit]"));
    EXPECT_THAT(header, ::testing::Contains("Hips-2:Head.x [unit]"));
}

TEST_F(ExportWhat, KeepsTheColumnsOfJointsOfOneNameApart) {
    writeFile(take_, "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\nCHANNELS 0\nJOINT Leg\n{\nOFFSET 0 1 "
                     "0\nCHANNELS 0\n}\nJOINT Leg\n{\nOFFSET 0 1 0\nCHANNELS 0\n}\n}\nMOTION\n"
                     "Frames: 0\nFrame Time: 0.04\n");
    EXPECT_THAT(table("positions").at(0),
                ElementsAre("frame", "time [s]", "Hips.x [unit]", "Hips.y [unit]", "Hips.z [unit]",
                            "Leg.x [unit]", "Leg.y [unit]", "Leg.z [unit]", "Leg-2.x [unit]",
                            "Leg-2.y [unit]", "Leg-2.z [unit]"));
}

TEST_F(ExportWhat, IsRefusedBeforeAnyFileIsOpenedIfItIsNotKnown) {
    for (const std::string what : {"", "position", "positions,", ",angles", "positions angles"}) {
        const Outcome outcome =
            capture({"export", "missing.bvh", "--format", "csv", "--out", "-", "--what", what});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_THAT(outcome.err, StartsWith("tarn-capture: --what '" + what +
                                            "': expected one or "
                                            "more of positions, rotations, angles and velocities"));
    }
}

} // namespace
} // namespace tarn::tests
