// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/ReferenceTake.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Bvh.h>

#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::IsEmpty;
using Json = nlohmann::ordered_json;

class ExportJson : public ::testing::Test {
protected:
    Json exported(const std::string& take, const Arguments& more = {}) const {
        Arguments arguments{"export", take, "--format", "json", "--out", out_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_THAT(outcome.err, IsEmpty());
        return Json::parse(readFile(out_));
    }
    Json exportedText(const std::string& text) const {
        writeFile(directory_ / "take.bvh", text);
        return exported(directory_ / "take.bvh");
    }

    const TempDirectory directory_;
    const std::string out_ = directory_ / "out.json";
};

TEST_F(ExportJson, WritesTheDocumentOfATake) {
    TakeText take;
    take.height = 2;
    take.rootPositions = {"1 2 3", "4 5.5 6"};
    const Json expected = Json::parse(R"({
        "rate": 25,
        "exact_rate": [25, 1],
        "unit": "m",
        "up": "Y",
        "nodes": [
            {"name": "Hips", "parent": null, "end_site": false},
            {"name": "Head", "parent": 0, "end_site": false},
            {"name": "Head_End", "parent": 1, "end_site": true},
            {"name": "LeftLeg", "parent": 0, "end_site": false},
            {"name": "rLeg", "parent": 0, "end_site": false}],
        "poses": [
            {"frame": 0, "time": 0,
             "positions": [[1, 3, 3], [1, 3.75, 3], [1, 4, 3], [1.2, 2, 3], [0.8, 2, 3]]},
            {"frame": 1, "time": 0.04,
             "positions": [[4, 6.5, 6], [4, 7.25, 6], [4, 7.5, 6], [4.2, 5.5, 6], [3.8, 5.5, 6]]}]})");
    EXPECT_EQ(exportedText(take.text()), expected);
}

TEST_F(ExportJson, MovesAJointByItsOffsetAndPositionsAndThenTurnsItInTheOrderOfItsChannels) {
    // The turns of A take the x axis to -z, by way of -z (about y) and -z (about z); with the
    // rotations the other way round they would take it to y. B is moved by 3 + 4 along that, and
    // only its end site feels the turn of B: y goes to z (about x), to x (about y), to y (about z).
    const Json document = exportedText(R"(HIERARCHY
ROOT A
{
OFFSET 1 0 0
CHANNELS 5 Zrotation Yrotation Xposition Yposition Zposition
JOINT B
{
OFFSET 3 0 0
CHANNELS 2 Xrotation Xposition
End Site
{
OFFSET 0 2 0
}
}
}
MOTION
Frames: 1
Frame Time: 0.04
90 90 10 20 30 90 4
)");
    const Json positions = document["poses"][0]["positions"];
    const std::vector<Vector> expected{{11, 20, 30}, {11, 20, 23}, {11, 22, 23}};
    for (std::size_t node = 0; node < expected.size(); ++node) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(positions[node][axis].get<double>(), expected[node][axis], 1e-5);
        }
    }
}

TEST_F(ExportJson, AgreesWithAnIndependentComputationOnTheSampleTakes) {
    for (const char* name : {"cmu_131_01_walk", "cmu_60_12_salsa_a", "cmu_61_12_salsa_b"}) {
        const ReferenceTake reference(sampleTake(name));
        const Json document = exported(sampleTake(name));
        ASSERT_EQ(document["nodes"].size(), reference.nodes.size());
        for (std::size_t i = 0; i < reference.nodes.size(); ++i) {
            const Json& node = document["nodes"][i];
            EXPECT_EQ(node["name"], reference.nodes[i].name);
            EXPECT_EQ(node["parent"].is_null() ? -1 : node["parent"].get<int>(),
                      reference.nodes[i].parent);
            EXPECT_EQ(node["end_site"], reference.nodes[i].endSite);
        }
        ASSERT_EQ(document["poses"].size(), reference.frames.size());
        for (std::size_t frame = 0; frame < reference.frames.size(); ++frame) {
            const Json& pose = document["poses"][frame];
            EXPECT_EQ(pose["frame"], frame);
            EXPECT_NEAR(pose["time"].get<double>(),
                        static_cast<double>(frame) * reference.frameTime, 1e-3);
            const std::vector<Vector> positions = reference.positions(frame);
            ASSERT_EQ(pose["positions"].size(), positions.size());
            for (std::size_t node = 0; node < positions.size(); ++node) {
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    ASSERT_NEAR(pose["positions"][node][axis].get<double>(), positions[node][axis],
                                1e-3)
                        << name << ", frame " << frame << ", " << reference.nodes[node].name;
                }
            }
        }
    }
}

TEST_F(ExportJson, WritesNumbersThatReadBackToTheVeryValues) {
    const std::string file = sampleTake("cmu_60_12_salsa_a");
    const kit::BvhTake take = kit::readBvh(file);
    const Json document = exported(file);
    for (int frame = 0; frame < take.tracks->timeLength(); ++frame) {
        const Json& pose = document["poses"][static_cast<std::size_t>(frame)];
        EXPECT_EQ(pose["time"].get<double>(), frame / 30.0);
        const auto positions = kit::worldPositions(
            *take.rig, take.tracks->getFrame(frame, kit::poseDataType)->dataAs<kit::Pose>());
        for (std::size_t node = 0; node < positions.size(); ++node) {
            const Json& at = pose["positions"][node];
            ASSERT_EQ(at[0].get<float>(), positions[node].x);
            ASSERT_EQ(at[1].get<float>(), positions[node].y);
            ASSERT_EQ(at[2].get<float>(), positions[node].z);
        }
    }
}

TEST_F(ExportJson, WritesTheChosenFramesBothEndsIncluded) {
    const std::string file = sampleTake("cmu_131_01_walk");
    const Json all = exported(file);
    const Json some = exported(file, {"--frames", "10..15"});
    EXPECT_EQ(some["nodes"], all["nodes"]);
    ASSERT_EQ(some["poses"].size(), 6U);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(some["poses"][i]["frame"], 10 + i);
        EXPECT_EQ(some["poses"][i], all["poses"][10 + i]);
    }
    const Json last = exported(file, {"--frames", "993..993"});
    ASSERT_EQ(last["poses"].size(), 1U);
    EXPECT_EQ(last["poses"][0], all["poses"][993]);
}

TEST_F(ExportJson, WritesNodesAndNoPosesForATakeWithoutFrames) {
    TakeText take;
    take.rootPositions.clear();
    const Json document = exportedText(take.text());
    EXPECT_EQ(document["nodes"].size(), 5U);
    EXPECT_EQ(document["poses"], Json::array());
}

TEST_F(ExportJson, WritesNamesThatAreNoTextAsText) {
    TakeText take;
    take.root = "\"Hips\\ \xFF\xC3\xBC\xED\xA0\x80";
    // A surrogate is none of the characters of UTF-8, and each of its bytes is replaced.
    EXPECT_EQ(exportedText(take.text())["nodes"][0]["name"],
              "\"Hips\\ \xEF\xBF\xBD\xC3\xBC\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST_F(ExportJson, WritesNullForWhatDoesNotFitANumber) {
    const Json document = exportedText("HIERARCHY\nROOT Far\n{\nOFFSET 3e38 0 0\nCHANNELS 1 "
                                       "Xposition\n}\nMOTION\nFrames: 1\nFrame Time: 0.04\n3e38\n");
    EXPECT_EQ(document["poses"][0]["positions"][0], Json::parse("[null, 0, 0]"));
}

TEST_F(ExportJson, WritesALongChain) {
    const Json document = exportedText(chainTake(5000));
    ASSERT_EQ(document["nodes"].size(), 5000U);
    EXPECT_EQ(document["nodes"][4999]["parent"], 4998);
    EXPECT_EQ(document["poses"][0]["positions"].size(), 5000U);
}

} // namespace
} // namespace tarn::tests
