// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhWriterTesting.h"
#include "kit/files/GltfReader.h"
#include "support/Samples.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Gltf.h>
#include <tarn_kit/session/TakeOf.h>

#include <limits>
#include <set>
#include <sstream>
#include <thread>

namespace tarn::kit {
namespace {

using gltf_testing::GltfFile;
using ::testing::HasSubstr;

PerformerTake performerOf(const BvhTake& take, const std::string& name = "Anna") {
    return {name, take.rig, take.tracks, take.exactRate(), 0, "somewhere.bvh"};
}

PerformerTake sample(const std::string& file) {
    const BvhTake take = readBvh(tarn::testing::samplePath(file));
    Space space = guessSpace(*take.rig);
    take.rig->setSpace(space);
    return performerOf(take, file.substr(0, file.find('.')));
}

std::string written(const std::vector<PerformerTake>& performers, const GltfOptions& options = {}) {
    std::ostringstream stream;
    writeGltf(performers, stream, options);
    return stream.str();
}

/// A take of a joint with a child and an end, in metres, whose frames are `rows` of X position and
/// Z and Y rotation of the root and X rotation of its child.
BvhTake armTake(const bvh_testing::Rows& rows, Space space = {{"m", "metres", 1}}) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Root", -1, {0, 1, 0},
                  {Channel::Xposition, Channel::Zrotation, Channel::Yrotation});
    rig->addJoint("Arm", 0, {0, 0.5F, 0}, {Channel::Xrotation});
    rig->addEndSite(1, {0.25F, 0, 0});
    rig->setSpace(space);
    return bvh_testing::takeOf(rig, rows);
}

double distance(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

/// The kit's own positions in metres with Y up.
std::vector<std::array<double, 3>> expectedPositions(const PerformerTake& performer, int frame) {
    std::vector<std::array<double, 3>> positions;
    const auto body = bodyAt(*performer.rig, *performer.take, frame);
    for (const Segment& segment : body.value().segments) {
        const Vector3f at = upright(segment.position, performer.rig->space().up);
        const double metres = metresPerUnit({performer}).at(0);
        positions.push_back({metres * static_cast<double>(at.x), metres * static_cast<double>(at.y),
                             metres * static_cast<double>(at.z)});
    }
    return positions;
}

/// The farthest that an independent reader has any joint from where the kit has it. `group` is the
/// performer's node, before those of its rig.
double largestError(const GltfFile& file, const PerformerTake& performer, std::size_t group,
                    int step = 1) {
    double largest = 0;
    for (int frame = 0; frame < performer.take->timeLength(); frame += step) {
        if (!bodyAt(*performer.rig, *performer.take, frame)) {
            continue;
        }
        const auto shown = file.positionsAt(performer.rate.at(frame).seconds());
        const auto expected = expectedPositions(performer, frame);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            largest = std::max(largest, distance(shown.at(group + 1 + i), expected[i]));
        }
    }
    return largest;
}

TEST(Gltf, ReadersFindEveryJointOfTheSamplesWhereTheKitHasIt) {
    for (const char* const name :
         {"cmu_131_01_walk.bvh", "cmu_60_12_salsa_a.bvh", "cmu_61_12_salsa_b.bvh"}) {
        const PerformerTake performer = sample(name);
        const GltfFile file(written({performer}));
        EXPECT_LT(largestError(file, performer, 0, 7), 1e-5) << name;
    }
}

TEST(Gltf, PerformersShareAFileAndItsOneAnimation) {
    const PerformerTake a = sample("cmu_60_12_salsa_a.bvh");
    const PerformerTake b = sample("cmu_61_12_salsa_b.bvh");
    const GltfFile file(written({a, b}));
    EXPECT_EQ(file.json["animations"].size(), 1U);
    EXPECT_LT(largestError(file, a, file.nodeNamed(a.name), 20), 1e-5);
    EXPECT_LT(largestError(file, b, file.nodeNamed(b.name), 20), 1e-5);
    EXPECT_NO_THROW(file.nodeNamed(a.name + ":" + a.rig->nodes()[0].name));
    EXPECT_NO_THROW(file.nodeNamed(b.name + ":" + b.rig->nodes()[0].name));
}

TEST(Gltf, TheTextFormSaysTheSame) {
    const PerformerTake performer = performerOf(armTake({{0, 0, 0, 0}, {1, 90, 0, 45}}));
    GltfOptions options;
    options.form = GltfForm::Text;
    const GltfFile text(written({performer}, options));
    const GltfFile binary(written({performer}));
    EXPECT_EQ(text.bytes, binary.bytes.substr(0, text.bytes.size()));
    EXPECT_EQ(text.json["nodes"], binary.json["nodes"]);
    EXPECT_LT(largestError(text, performer, 0), 1e-6);
}

TEST(Gltf, UnitsAndAxesOfTheRigBecomeMetresWithYUp) {
    Space space = {{"cm", "centimetres", 0.01}};
    space.up = UpAxis::Z;
    const PerformerTake performer = performerOf(armTake({{30, 0, 0, 0}, {30, 40, 50, 60}}, space));
    const GltfFile file(written({performer}));
    EXPECT_LT(largestError(file, performer, 0), 1e-6);
    // X of a world with Z up is Z of one with Y up, and Y is X.
    const auto root = file.positionsAt(0).at(1);
    EXPECT_NEAR(root[0], 0.01, 1e-7);
    EXPECT_NEAR(root[1], 0, 1e-7);
    EXPECT_NEAR(root[2], 0.30, 1e-7);
}

TEST(Gltf, ABodyInAnUnknownUnitIsAsTallAsAnAdult) {
    const PerformerTake performer = performerOf(armTake({{0, 0, 0, 0}}, Space()));
    const GltfFile file(written({performer}));
    EXPECT_NEAR(file.positionsAt(0).at(2)[1], 1.75 * 3, 1e-6) << "1.5 units, of a rig of 0.5 units";
    EXPECT_NEAR(file.json["nodes"][0]["extras"]["metresPerUnit"].get<double>(), 3.5, 1e-9);
}

TEST(Gltf, SolvedBodiesAreWrittenAndLostFramesHaveNoKeys) {
    const BvhTake take = armTake({{0, 0, 0, 0}, {1, 10, 20, 30}, {2, 20, 10, 0}, {3, 80, 5, 9}});
    std::vector<std::shared_ptr<Frame>> bodies(4);
    for (const int frame : {0, 1, 3}) {
        BodyPose body =
            worldPose(*take.rig, take.tracks->getFrame(frame, poseDataType)->dataAs<Pose>());
        for (Segment& segment : body.segments) {
            segment.position.x *= 1.25F; // as a solver that scales does
            segment.position.y *= 1.25F;
            segment.position.z *= 1.25F;
        }
        bodies[static_cast<std::size_t>(frame)] =
            std::make_shared<Frame>(Time(static_cast<unsigned>(frame), 50), bodyDataType, body);
    }
    PerformerTake performer = performerOf(take);
    performer.take = kit::takeOf(bodyDataType, bodies, 50);
    std::ostringstream stream;
    const GltfReport report = writeGltf({performer}, stream);
    const GltfFile file(stream.str());
    EXPECT_EQ(report.frames, 3U);
    EXPECT_LT(largestError(file, performer, 0), 1e-5);
    EXPECT_EQ(file.curve(1, "rotation").times.size(), 3U);
    EXPECT_TRUE(file.curve(2, "translation").times.empty()) << "a longer arm is no moving joint";
}

TEST(Gltf, OnlyJointsThatMoveHaveTranslationsAndOnlyThoseThatTurnRotations) {
    const GltfFile file(written({performerOf(armTake({{0, 1, 0, 0}, {1, 2, 0, 0}}))}));
    EXPECT_EQ(file.curve(file.nodeNamed("Root"), "translation").times.size(), 2U);
    EXPECT_EQ(file.curve(file.nodeNamed("Root"), "rotation").times.size(), 2U);
    EXPECT_TRUE(file.curve(file.nodeNamed("Arm"), "translation").times.empty());
    EXPECT_TRUE(file.curve(file.nodeNamed("Arm"), "rotation").times.empty());
}

TEST(Gltf, AJointThatIsTurnedOnceAndForAllHasOneKey) {
    const GltfFile file(written({performerOf(armTake({{0, 1, 0, 30}, {1, 2, 0, 30}}))}));
    EXPECT_EQ(file.curve(file.nodeNamed("Arm"), "rotation").values.size(), 1U);
}

TEST(Gltf, RotationsAreOfUnitLengthAndTheirSignDoesNotJump) {
    bvh_testing::Rows rows;
    for (int i = 0; i < 200; ++i) {
        const auto wrapped = [i](int degrees) { // as files have angles
            return std::remainder(static_cast<float>(degrees * i), 360.0F);
        };
        rows.push_back({0, wrapped(7), wrapped(-14), wrapped(7)});
    }
    const GltfFile file(written({performerOf(armTake(rows))}));
    for (const std::size_t node : {1U, 2U}) {
        const auto curve = file.curve(node, "rotation");
        ASSERT_EQ(curve.values.size(), 200U);
        for (std::size_t i = 0; i < curve.values.size(); ++i) {
            const auto& q = curve.values[i];
            EXPECT_NEAR(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3], 1, 1e-6);
            if (i > 0) {
                const auto& p = curve.values[i - 1];
                EXPECT_GT(p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3], 0) << i;
            }
        }
    }
}

TEST(Gltf, TimesAreThoseOfTheExactRate) {
    PerformerTake performer =
        performerOf(armTake(bvh_testing::Rows(3001, std::vector<float>{0, 0, 0, 0})));
    performer.rate = Rate(30000, 1001);
    for (int i = 0; i < 3001; ++i) {
        const auto pose = Pose{{static_cast<float>(i), 0, 0, 0}};
        performer.take->setFrame(i, poseDataType,
                                 std::make_shared<Frame>(Time(), poseDataType, pose));
    }
    const GltfFile file(written({performer}));
    const auto times = file.curve(file.nodeNamed("Root"), "translation").times;
    ASSERT_EQ(times.size(), 3001U);
    EXPECT_EQ(times[1], static_cast<double>(static_cast<float>(1001.0 / 30000)));
    EXPECT_EQ(times[3000], static_cast<double>(static_cast<float>(100.1)));
}

TEST(Gltf, NamesAreUniqueAndKeptInFull) {
    auto rig = std::make_shared<Rig>();
    const std::string longName(10'000, 'x');
    rig->addJoint("Hips", -1, {0, 0, 0}, {Channel::Yrotation});
    for (const std::string& name :
         {std::string("Hips"), std::string("Hips_2"), longName,
          std::string("</script>\"\\ \xF0\x9F\x92\x83"), std::string("\xFF"), std::string()}) {
        rig->addJoint(name, 0, {0, 1, 0}, {});
    }
    rig->setSpace({{"m", "metres", 1}});
    const GltfFile file(written({performerOf(bvh_testing::takeOf(rig))}));
    std::set<std::string> names;
    for (const auto& node : file.json["nodes"]) {
        EXPECT_TRUE(names.insert(node["name"]).second) << node["name"];
    }
    for (const std::string& name :
         {std::string("Hips"), std::string("Hips_2"), std::string("Hips_3"), longName,
          std::string("</script>\"\\ \xF0\x9F\x92\x83"), std::string("\xEF\xBF\xBD"),
          std::string("unnamed")}) {
        EXPECT_EQ(names.count(name), 1U) << name;
    }
}

TEST(Gltf, ASkinnedMeshMakesItsJointsBones) {
    const GltfFile file(written({performerOf(armTake({{0, 0, 0, 0}}))}));
    const auto& skin = file.json["skins"][0];
    EXPECT_EQ(skin["joints"], (std::vector<int>{1, 2, 3}));
    const auto& mesh = file.json["nodes"][file.nodeNamed("Anna_bones")];
    EXPECT_EQ(mesh["skin"], 0);
    // Where each joint is at rest, its binding has its origin.
    const auto bindings = file.rows(skin["inverseBindMatrices"]);
    EXPECT_NEAR(bindings[2][12], -0.25, 1e-7);
    EXPECT_NEAR(bindings[2][13], -1.5, 1e-7);
    const auto& attributes = file.json["meshes"][0]["primitives"][0]["attributes"];
    const auto joints = file.rows(attributes["JOINTS_0"]);
    EXPECT_EQ(joints.size(), 2U * 24) << "two bones";
    EXPECT_EQ(joints.front()[0], 0) << "the first bone moves with the joint that turns it";
    EXPECT_EQ(joints.back()[0], 1);
}

TEST(Gltf, WithoutAMeshThereAreNodesAndTheirAnimationAlone) {
    GltfOptions options;
    options.mesh = false;
    const GltfFile file(written({performerOf(armTake({{0, 0, 0, 0}, {1, 2, 3, 4}}))}, options));
    EXPECT_FALSE(file.json.contains("meshes"));
    EXPECT_FALSE(file.json.contains("skins"));
    EXPECT_EQ(file.json["nodes"].size(), 4U);
    EXPECT_EQ(file.json["animations"].size(), 1U);
}

TEST(Gltf, ATakeWithoutFramesIsABodyAtRest) {
    const GltfFile file(written({performerOf(armTake({}))}));
    EXPECT_FALSE(file.json.contains("animations"));
    EXPECT_NEAR(file.positionsAt(0).at(2)[1], 1.5, 1e-7);
}

TEST(Gltf, KeysAreLeftOutWithinATolerance) {
    const PerformerTake performer = sample("cmu_131_01_walk.bvh");
    std::ostringstream all;
    std::ostringstream fewer;
    GltfOptions options;
    options.tolerance = 0.005;
    const GltfReport whole = writeGltf({performer}, all);
    const GltfReport reduced = writeGltf({performer}, fewer, options);
    EXPECT_LT(whole.largestError, 1e-5);
    EXPECT_LT(reduced.keys, whole.keys / 2);
    EXPECT_LE(reduced.largestError, options.tolerance);
    EXPECT_GT(reduced.largestError, options.tolerance / 20);
    const GltfFile file(fewer.str());
    EXPECT_NEAR(largestError(file, performer, 0), reduced.largestError, 2e-5);
    const auto& extras = file.json["nodes"][0]["extras"];
    EXPECT_EQ(extras["toleranceMetres"], options.tolerance);
    EXPECT_EQ(extras["largestErrorMetres"], reduced.largestError);
}

TEST(Gltf, ExtrasSayWhereAPerformerComesFrom) {
    PerformerTake performer = performerOf(armTake({{0, 0, 0, 0}}));
    performer.rate = Rate(30000, 1001);
    performer.firstFrame = 31;
    const GltfFile file(written({performer}));
    const auto& extras = file.json["nodes"][file.nodeNamed("Anna")]["extras"];
    EXPECT_EQ(extras["source"], "somewhere.bvh");
    EXPECT_EQ(extras["rate"], "30000/1001");
    EXPECT_EQ(extras["timecode"], "00:00:01:01");
    EXPECT_EQ(extras["unit"], "m");
    EXPECT_EQ(extras["up"], "Y");
}

std::string refusalOf(const std::vector<PerformerTake>& performers,
                      const GltfOptions& options = {}) {
    std::ostringstream stream;
    try {
        writeGltf(performers, stream, options);
    } catch (const std::invalid_argument& error) {
        EXPECT_TRUE(stream.str().empty()) << "something was written";
        return error.what();
    }
    return "nothing was refused";
}

TEST(Gltf, WhatNoFileCanHoldIsRefusedBeforeAnythingIsWritten) {
    const PerformerTake good = performerOf(armTake({{0, 0, 0, 0}, {1, 0, 0, 0}}));
    EXPECT_THAT(refusalOf({}), HasSubstr("no performers"));
    PerformerTake bad = good;
    bad.rig = nullptr;
    EXPECT_THAT(refusalOf({good, bad}), HasSubstr("'Anna' has no rig"));
    bad.rig = std::make_shared<Rig>();
    EXPECT_THAT(refusalOf({bad}), HasSubstr("0 joints"));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(refusalOf({performerOf(armTake({{0, 0, 0, 0}, {0, nan, 0, 0}}))}),
                HasSubstr("frame index 1"));
    GltfOptions options;
    options.tolerance = -1;
    EXPECT_THAT(refusalOf({good}, options), HasSubstr("tolerance"));
}

TEST(GltfThreads, ATakeIsWrittenByManyAtOnce) {
    const PerformerTake performer = sample("cmu_60_12_salsa_a.bvh");
    const std::string expected = written({performer});
    std::vector<std::string> found(3);
    std::vector<std::thread> threads;
    threads.reserve(found.size());
    for (std::string& one : found) {
        threads.emplace_back([&one, &performer] { one = written({performer}); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& one : found) {
        EXPECT_TRUE(one == expected);
    }
}

} // namespace
} // namespace tarn::kit
