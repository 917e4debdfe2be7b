// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "kit/files/GltfReader.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

namespace tarn::tests {
namespace {

using gltf_testing::GltfFile;
using ::testing::HasSubstr;

const std::string danceA = tarn::testing::samplePath("cmu_60_12_salsa_a.bvh").string();
const std::string danceB = tarn::testing::samplePath("cmu_61_12_salsa_b.bvh").string();
const std::string markers = tarn::testing::samplePath("cmu_85_02.c3d").string();

class Convert : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return (directory.path() / name).string(); }
    GltfFile file(const std::string& name) const { return GltfFile(readFile(path(name))); }

    TempDirectory directory;
};

TEST_F(Convert, WritesSeveralPerformersAsOneGltfFile) {
    const Outcome done = capture({"convert", danceA, danceB, path("dance.glb")});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    const GltfFile dance = file("dance.glb");
    EXPECT_NO_THROW(dance.nodeNamed("cmu_60_12_salsa_a"));
    EXPECT_NO_THROW(dance.nodeNamed("cmu_61_12_salsa_b"));
}

TEST_F(Convert, TakesTheUnitFromTheUser) {
    ASSERT_EQ(capture({"convert", danceA, path("cm.gltf"), "--unit", "cm"}).exitCode, 0);
    ASSERT_EQ(capture({"convert", danceA, path("m.gltf"), "--unit", "m"}).exitCode, 0);
    const auto small = file("cm.gltf").positionsAt(0).at(1);
    const auto large = file("m.gltf").positionsAt(0).at(1);
    EXPECT_NEAR(large[1], 100 * small[1], 1e-3);
    EXPECT_GT(small[1], 0.5);
}

TEST_F(Convert, WritesThePerformersOfASession) {
    ASSERT_EQ(capture({"run", danceA, danceB, "--out", path("session")}).exitCode, 0);
    const Outcome done = capture({"convert", path("session"), path("dance.glb"), "--no-mesh"});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    const GltfFile dance = file("dance.glb");
    EXPECT_FALSE(dance.json.contains("meshes"));
    EXPECT_EQ(dance.json["scenes"][0]["nodes"].size(), 2U);
    EXPECT_EQ(dance.json["nodes"][0]["extras"]["rate"], "30");
}

TEST_F(Convert, WritesThePerformersOfARecording) {
    const std::string recording = path("dance.tarn");
    ASSERT_EQ(
        capture({"run", danceA, danceB, "--out", path("session"), "--record", recording}).exitCode,
        0);
    ASSERT_EQ(capture({"convert", path("session"), path("session.glb"), "--no-mesh"}).exitCode, 0);
    const Outcome done = capture({"convert", recording, path("recording.glb"), "--no-mesh"});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    const GltfFile wanted = file("session.glb");
    const GltfFile written = file("recording.glb");
    EXPECT_NO_THROW(written.nodeNamed("cmu_61_12_salsa_b"));
    for (const double time : {0.0, 7.0, 14.0}) {
        const auto a = wanted.positionsAt(time);
        const auto b = written.positionsAt(time);
        ASSERT_EQ(a.size(), b.size());
        for (std::size_t node = 0; node < a.size(); ++node) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_NEAR(a[node][axis], b[node][axis], 1e-4) << node;
            }
        }
    }
    ASSERT_EQ(capture({"convert", recording + "#cmu_61_12_salsa_b", path("one.glb")}).exitCode, 0);
    EXPECT_EQ(file("one.glb").json["animations"].size(), 1U);
}

TEST_F(Convert, SaysHowFarAToleranceHasJointsOff) {
    const Outcome done = capture({"convert", danceA, path("dance.glb"), "--tolerance", "2"});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    EXPECT_THAT(done.err, HasSubstr("mm off"));
    EXPECT_LT(std::filesystem::file_size(path("dance.glb")), 300'000U);
}

TEST_F(Convert, NumbersPerformersOfOneName) {
    ASSERT_EQ(capture({"convert", danceA, danceA, path("dance.glb")}).exitCode, 0);
    EXPECT_NO_THROW(file("dance.glb").nodeNamed("cmu_60_12_salsa_a-2"));
}

TEST_F(Convert, ReadsNothingOutsideOfADocumentsDirectory) {
    std::filesystem::copy_file(danceA, path("dance.bvh"));
    std::filesystem::create_directory(path("session"));
    writeFile(path("session/session.xml"),
              "<Session><Characters><Character1><Name>../dance</Name></Character1></Characters>"
              "</Session>");
    const Outcome done = capture({"convert", path("session"), path("dance.glb")});
    EXPECT_EQ(done.exitCode, 1);
    EXPECT_THAT(done.err, HasSubstr("session.xml"));
    EXPECT_FALSE(std::filesystem::exists(path("dance.glb")));
}

TEST_F(Convert, RefusesWhatCannotBe) {
    const auto refusal = [&](const Arguments& arguments, int exitCode) {
        const Outcome done = capture(arguments);
        EXPECT_EQ(done.exitCode, exitCode) << done.err;
        return done.err;
    };
    EXPECT_THAT(refusal({"convert", danceA}, 2), HasSubstr("OUT is required"));
    EXPECT_THAT(refusal({"convert", danceA, path("x.fbx")}, 2), HasSubstr(".glb or .gltf"));
    EXPECT_THAT(refusal({"convert", markers, path("x.glb")}, 1), HasSubstr("markers are no body"));
    EXPECT_THAT(refusal({"convert", danceA, path("x.json")}, 1), HasSubstr("expected a C3D file"));
    EXPECT_THAT(refusal({"convert", markers, markers, path("x.json")}, 2), HasSubstr("one file"));
    EXPECT_THAT(refusal({"convert", markers, path("x.json"), "--tolerance", "1"}, 2),
                HasSubstr("--tolerance"));
    EXPECT_THAT(refusal({"convert", directory.path().string(), path("x.glb")}, 1),
                HasSubstr("without a session.xml"));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

} // namespace
} // namespace tarn::tests
