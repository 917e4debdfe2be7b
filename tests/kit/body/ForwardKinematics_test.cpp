// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/ForwardKinematics.h>

#include <gtest/gtest.h>

#include <vector>

namespace tarn::kit {
namespace {

void expectNear(const Vector3f& position, float x, float y, float z) {
    EXPECT_NEAR(position.x, x, 1e-6F);
    EXPECT_NEAR(position.y, y, 1e-6F);
    EXPECT_NEAR(position.z, z, 1e-6F);
}

/// Where the end of an arm of length 1 along X is, one joint turning it.
Vector3f armEnd(const std::vector<Channel>& channels, const std::vector<float>& values) {
    Rig rig;
    rig.addJoint("Arm", -1, {}, channels);
    rig.addEndSite(0, {1, 0, 0});
    return worldPositions(rig, {values}).at(1);
}

TEST(ForwardKinematics, OfNoNodesGivesNoPositions) {
    EXPECT_TRUE(worldPositions(Rig(), Pose()).empty());
}

TEST(ForwardKinematics, AddsUpOffsets) {
    Rig rig;
    rig.addJoint("Hips", -1, {1, 2, 3}, {});
    rig.addJoint("Leg", 0, {10, 20, 30}, {});
    rig.addEndSite(1, {100, 200, 300});
    rig.addJoint("Spine", 0, {0, 5, 0}, {});
    const std::vector<Vector3f> positions = worldPositions(rig, {});
    ASSERT_EQ(positions.size(), 4U);
    expectNear(positions[0], 1, 2, 3);
    expectNear(positions[1], 11, 22, 33);
    expectNear(positions[2], 111, 222, 333);
    expectNear(positions[3], 1, 7, 3);
}

TEST(ForwardKinematics, TurnsCounterClockwiseInDegrees) {
    expectNear(armEnd({Channel::Xrotation}, {90}), 1, 0, 0);
    expectNear(armEnd({Channel::Yrotation}, {90}), 0, 0, -1);
    expectNear(armEnd({Channel::Zrotation}, {90}), 0, 1, 0);
    expectNear(armEnd({Channel::Zrotation}, {-30}), 0.8660254F, -0.5F, 0);
}

TEST(ForwardKinematics, TurnsUpTowardsTheFrontAboutX) {
    Rig rig;
    rig.addJoint("Body", -1, {}, {Channel::Xrotation});
    rig.addEndSite(0, {0, 1, 0});
    expectNear(worldPositions(rig, {{90}}).at(1), 0, 0, 1);
}

TEST(ForwardKinematics, TurnsAboutAxesThatTheRotationsBeforeHaveTurned) {
    const std::vector<Channel> zThenY = {Channel::Zrotation, Channel::Yrotation};
    const std::vector<Channel> yThenZ = {Channel::Yrotation, Channel::Zrotation};
    expectNear(armEnd(zThenY, {90, 90}), 0, 0, -1);
    expectNear(armEnd(yThenZ, {90, 90}), 0, 1, 0);
}

TEST(ForwardKinematics, TurnsTwiceAboutAnAxisThatIsListedTwice) {
    expectNear(armEnd({Channel::Yrotation, Channel::Xrotation, Channel::Yrotation}, {30, 0, 60}), 0,
               0, -1);
    expectNear(armEnd({Channel::Yrotation, Channel::Zrotation, Channel::Yrotation}, {90, 90, 90}),
               -1, 0, 0);
}

TEST(ForwardKinematics, TurnsBelowAJointButNotTheJointItself) {
    Rig rig;
    rig.addJoint("Shoulder", -1, {5, 0, 0}, {Channel::Zrotation});
    rig.addJoint("Elbow", 0, {2, 0, 0}, {Channel::Zrotation});
    rig.addEndSite(1, {1, 0, 0});
    const std::vector<Vector3f> positions = worldPositions(rig, {{90, 90}});
    expectNear(positions[0], 5, 0, 0);
    expectNear(positions[1], 5, 2, 0);
    expectNear(positions[2], 4, 2, 0);
}

TEST(ForwardKinematics, AddsPositionsToTheOffset) {
    Rig rig;
    rig.addJoint("Hips", -1, {1, 2, 3},
                 {Channel::Xposition, Channel::Yposition, Channel::Zposition});
    expectNear(worldPositions(rig, {{10, 20, 30}}).at(0), 11, 22, 33);
}

TEST(ForwardKinematics, TakesPositionsInTheOrderOfTheChannels) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {Channel::Zposition, Channel::Xposition});
    expectNear(worldPositions(rig, {{10, 20}}).at(0), 20, 0, 10);
}

TEST(ForwardKinematics, MovesAnInnerJointAlongTheAxesOfItsParent) {
    Rig rig;
    rig.addJoint("Shoulder", -1, {}, {Channel::Zrotation});
    rig.addJoint("Elbow", 0, {2, 0, 0}, {Channel::Xposition});
    expectNear(worldPositions(rig, {{90, 3}}).at(1), 0, 5, 0);
}

TEST(ForwardKinematics, MovesAJointTheSameWhereverItsRotationsAreListed) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {Channel::Zrotation, Channel::Xposition, Channel::Yrotation});
    rig.addEndSite(0, {1, 0, 0});
    const std::vector<Vector3f> positions = worldPositions(rig, {{90, 7, 0}});
    expectNear(positions[0], 7, 0, 0);
    expectNear(positions[1], 7, 1, 0);
}

TEST(ForwardKinematics, PlacesEachRootInTheWorld) {
    Rig rig;
    rig.addJoint("Dancer", -1, {1, 0, 0}, {Channel::Zrotation});
    rig.addJoint("Prop", -1, {2, 0, 0}, {Channel::Xposition});
    rig.addEndSite(1, {0, 0, 4});
    const std::vector<Vector3f> positions = worldPositions(rig, {{90, 3}});
    expectNear(positions[0], 1, 0, 0);
    expectNear(positions[1], 5, 0, 0);
    expectNear(positions[2], 5, 0, 4);
}

TEST(ForwardKinematics, TurnsEachNodeWithItsParent) {
    Rig rig;
    rig.addJoint("Shoulder", -1, {}, {Channel::Zrotation});
    rig.addJoint("Elbow", 0, {2, 0, 0}, {Channel::Xrotation, Channel::Yrotation});
    rig.addEndSite(1, {1, 0, 0});
    const Pose pose{{90, 30, 40}};

    const Quaterniond shoulder = fromAxisAngle({0, 0, 1}, pi / 2);
    const Quaterniond elbow =
        fromAxisAngle({1, 0, 0}, radiansOf(30.0)) * fromAxisAngle({0, 1, 0}, radiansOf(40.0));
    const auto local = localRotations(rig, pose);
    ASSERT_EQ(local.size(), 3U);
    EXPECT_NEAR(radiansBetween(local[0], shoulder), 0, 1e-7);
    EXPECT_NEAR(radiansBetween(local[1], elbow), 0, 1e-7);
    EXPECT_EQ(local[2], Quaterniond());

    const BodyPose body = worldPose(rig, pose);
    ASSERT_EQ(body.segments.size(), 3U);
    expectNear(body.segments[1].position, 0, 2, 0);
    EXPECT_NEAR(radiansBetween(toDouble(body.segments[1].rotation), shoulder * elbow), 0, 1e-6);
    EXPECT_NEAR(radiansBetween(toDouble(body.segments[2].rotation), shoulder * elbow), 0, 1e-6);
}

TEST(ForwardKinematics, MakesABodyOfLocalRotations) {
    Rig rig;
    rig.addJoint("Shoulder", -1, {1, 0, 0}, {});
    rig.addJoint("Elbow", 0, {2, 0, 0}, {});
    rig.addEndSite(1, {1, 0, 0});
    rig.addJoint("Prop", -1, {0, 0, 5}, {});
    const Quaterniond quarter = fromAxisAngle({0, 0, 1}, pi / 2);

    const BodyPose body = worldPose(rig, {quarter, quarter, {}, {}}, {10, 20, 30});
    ASSERT_EQ(body.segments.size(), 4U);
    expectNear(body.segments[0].position, 11, 20, 30);
    expectNear(body.segments[1].position, 11, 22, 30);
    expectNear(body.segments[2].position, 10, 22, 30);
    expectNear(body.segments[3].position, 10, 20, 35);
    EXPECT_NEAR(radiansBetween(toDouble(body.segments[0].rotation), quarter), 0, 1e-6);
    EXPECT_NEAR(radiansBetween(toDouble(body.segments[2].rotation), quarter * quarter), 0, 1e-6);
}

TEST(ForwardKinematics, TurnsLocalRotationsBackIntoTheBodyThatTheyAreOf) {
    Rig rig;
    rig.addJoint("Shoulder", -1, {1, 2, 3}, {Channel::Zrotation, Channel::Yrotation});
    rig.addJoint("Elbow", 0, {2, 0, 0}, {Channel::Xrotation, Channel::Yrotation});
    rig.addEndSite(1, {1, 0, 0});
    const Pose pose{{90, 12, 30, 40}};
    const BodyPose expected = worldPose(rig, pose);
    const BodyPose body = worldPose(rig, localRotations(rig, pose));
    ASSERT_EQ(body.segments.size(), expected.segments.size());
    for (std::size_t i = 0; i < body.segments.size(); ++i) {
        EXPECT_EQ(body.segments[i].position, expected.segments[i].position) << i;
        EXPECT_EQ(body.segments[i].rotation, expected.segments[i].rotation) << i;
    }
}

#ifndef NDEBUG
TEST(ForwardKinematicsDeathTest, AssertsThatThePoseIsOneOfTheRig) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Rig rig;
    rig.addJoint("Hips", -1, {}, {Channel::Xposition, Channel::Yposition});
    EXPECT_DEATH(worldPositions(rig, {{1}}), "valueCount");
    EXPECT_DEATH(worldPositions(rig, {{1, 2, 3}}), "valueCount");
}
#endif

} // namespace
} // namespace tarn::kit
