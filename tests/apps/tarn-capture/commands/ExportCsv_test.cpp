// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/ReferenceTake.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Bvh.h>

#include <sstream>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ExportCsv : public ::testing::Test {
protected:
    std::string exported(const std::string& take, const Arguments& more = {}) const {
        Arguments arguments{"export", take, "--format", "csv", "--out", out_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_THAT(outcome.err, IsEmpty());
        return readFile(out_);
    }
    std::string exportedText(const std::string& text) const {
        writeFile(directory_ / "take.bvh", text);
        return exported(directory_ / "take.bvh");
    }

    const TempDirectory directory_;
    const std::string out_ = directory_ / "out.csv";
};

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

constexpr const char* pointTake = "HIERARCHY\nROOT Point\n{\nOFFSET 0 0.1 0\nCHANNELS 3 Xposition "
                                  "Yposition Zposition\n}\nMOTION\nFrames: 3\nFrame Time: 0.04\n"
                                  "0.1 0 -3\n1e-7 0 1e20\n0.333333 1 2\n";

TEST_F(ExportCsv, WritesATableWithNamesAndUnitsInItsFirstRow) {
    EXPECT_EQ(exportedText(pointTake),
              "frame,time [s],Point.x [unit],Point.y [unit],Point.z [unit]\n"
              "0,0,0.1,0.1,-3\n"
              "1,0.04,1e-07,0.1,1e+20\n"
              "2,0.08,0.333333,1.1,2\n");
}

TEST_F(ExportCsv, WritesTheChosenFramesBothEndsIncluded) {
    writeFile(directory_ / "take.bvh", pointTake);
    EXPECT_EQ(exported(directory_ / "take.bvh", {"--frames", "1..2"}),
              "frame,time [s],Point.x [unit],Point.y [unit],Point.z [unit]\n"
              "1,0.04,1e-07,0.1,1e+20\n"
              "2,0.08,0.333333,1.1,2\n");
}

TEST_F(ExportCsv, NamesTheGuessedUnit) {
    TakeText take;
    take.height = 170;
    EXPECT_THAT(exportedText(take.text()), StartsWith("frame,time [s],Hips.x [cm],Hips.y [cm],"));
}

TEST_F(ExportCsv, SaysWhatWasSaidOfTheUnitAndTheAxisThatIsUpAndScales) {
    writeFile(directory_ / "take.bvh", TakeText().text());
    EXPECT_THAT(exported(directory_ / "take.bvh",
                         {"--unit", "mm", "--up", "z", "--scale", "1000", "--frames", "0..0"}),
                ::testing::AllOf(
                    StartsWith("frame,time [s],Hips.x [mm],Hips.y [mm],Hips.z [mm] up,Head.x [mm]"),
                    HasSubstr("\n0,0,0,875,0,")));
}

TEST_F(ExportCsv, NamesEndSitesAfterTheirParents) {
    EXPECT_THAT(exportedText(TakeText().text()),
                HasSubstr(",Head.z [m],Head_End.x [m],Head_End.y [m],Head_End.z [m],LeftLeg.x"));
}

TEST_F(ExportCsv, QuotesNamesThatWouldBreakTheTable) {
    TakeText take;
    take.root = "Hips, the \"root\"";
    EXPECT_THAT(exportedText(take.text()),
                StartsWith("frame,time [s],\"Hips, the \"\"root\"\".x [m]\",\"Hips, the "
                           "\"\"root\"\".y [m]\",\"Hips, the \"\"root\"\".z [m]\",Head.x"));
}

TEST_F(ExportCsv, QuotesNamesThatHoldAQuote) {
    TakeText take;
    take.root = "\"H\"";
    EXPECT_THAT(exportedText(take.text()),
                StartsWith("frame,time [s],\"\"\"H\"\".x [m]\",\"\"\"H\"\".y [m]\","));
}

TEST_F(ExportCsv, WritesNamesThatAreNoTextAsText) {
    TakeText take;
    take.root = "Hi\xFFps";
    EXPECT_THAT(exportedText(take.text()), StartsWith("frame,time [s],Hi\xEF\xBF\xBDps.x [m],"));
}

TEST_F(ExportCsv, WritesTheFirstRowAloneForATakeWithoutFrames) {
    TakeText take;
    take.rootPositions.clear();
    const std::string table = exportedText(take.text());
    EXPECT_THAT(table, StartsWith("frame,time [s],Hips.x [m]"));
    EXPECT_EQ(split(table, '\n').size(), 1U);
}

TEST_F(ExportCsv, WritesNumbersThatReadBackToTheVeryValues) {
    const std::string file = sampleTake("cmu_131_01_walk");
    const kit::BvhTake take = kit::readBvh(file);
    const std::vector<std::string> rows = split(exported(file), '\n');
    ASSERT_EQ(rows.size(), 995U);
    for (int frame = 0; frame < 994; ++frame) {
        const auto cells = split(rows[static_cast<std::size_t>(frame) + 1], ',');
        ASSERT_EQ(cells.size(), 2U + 3 * 38);
        EXPECT_EQ(cells[0], std::to_string(frame));
        EXPECT_EQ(std::stod(cells[1]), frame / 120.0);
        const auto positions = kit::worldPositions(
            *take.rig, take.tracks->getFrame(frame, kit::poseDataType)->dataAs<kit::Pose>());
        for (std::size_t node = 0; node < positions.size(); ++node) {
            ASSERT_EQ(std::stof(cells[2 + 3 * node]), positions[node].x);
            ASSERT_EQ(std::stof(cells[3 + 3 * node]), positions[node].y);
            ASSERT_EQ(std::stof(cells[4 + 3 * node]), positions[node].z);
        }
    }
}

TEST_F(ExportCsv, AgreesWithAnIndependentComputation) {
    const ReferenceTake reference(sampleTake("cmu_131_01_walk"));
    const std::vector<std::string> rows =
        split(exported(sampleTake("cmu_131_01_walk"), {"--frames", "400..500"}), '\n');
    ASSERT_EQ(rows.size(), 102U);
    for (std::size_t row = 1; row < rows.size(); ++row) {
        const auto cells = split(rows[row], ',');
        const auto positions = reference.positions(399 + row);
        for (std::size_t i = 0; i < 3 * positions.size(); ++i) {
            ASSERT_NEAR(std::stod(cells[2 + i]), positions[i / 3][i % 3], 1e-3) << rows[row];
        }
    }
}

} // namespace
} // namespace tarn::tests
