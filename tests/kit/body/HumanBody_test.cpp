// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/HumanBody.h>

#include <tarn/BoneID.h>

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

using namespace tarn::kit;

namespace {

const HumanJoint& joint(const HumanBody& body, const std::string& name) {
    return body.joints().at(static_cast<std::size_t>(body.jointOf(name)));
}

/// Where a joint is when the hips are at the origin.
Vector3d placeOf(const HumanBody& body, const std::string& name) {
    Vector3d place;
    for (int j = body.jointOf(name); j >= 0;
         j = body.joints()[static_cast<std::size_t>(j)].parent) {
        place = place + body.joints()[static_cast<std::size_t>(j)].offset;
    }
    return place;
}

} // namespace

TEST(HumanBody, HasThePublishedProportions) {
    const HumanBody body(2);
    EXPECT_NEAR(joint(body, "LeftLeg").offset.y, -0.490, 1e-9);
    EXPECT_NEAR(joint(body, "LeftFoot").offset.y, -0.492, 1e-9);
    EXPECT_NEAR(joint(body, "LeftForeArm").offset.x, 0.372, 1e-9);
    EXPECT_NEAR(joint(body, "LeftHand").offset.x, 0.292, 1e-9);
    EXPECT_NEAR(placeOf(body, "LeftArm").y, 2 * (0.818 - 0.530), 0.02);
}

TEST(HumanBody, IsTheSameOnBothSides) {
    const HumanBody body;
    for (const HumanJoint& left : body.joints()) {
        if (left.name.substr(0, 4) == "Left") {
            const HumanJoint& right = joint(body, "Right" + left.name.substr(4));
            EXPECT_EQ(right.offset, (Vector3d{-left.offset.x, left.offset.y, left.offset.z}));
            EXPECT_EQ(right.lowest.y, -left.highest.y) << left.name;
            EXPECT_EQ(right.lowest.x, left.lowest.x) << left.name;
        }
    }
}

TEST(HumanBody, NamesItsJointsAsTheBonesOfTheSdk) {
    const HumanBody body;
    for (const HumanJoint& each : body.joints()) {
        EXPECT_GE(static_cast<int>(tarn::boneNameToBoneID(each.name)), 0) << each.name;
    }
    EXPECT_EQ(body.jointOf("Tail"), -1);
}

TEST(HumanBody, MovesTheJointsThatALengthMoves) {
    HumanBody body;
    ASSERT_TRUE(body.setLength("LeftUpLeg", 0.5));
    EXPECT_EQ(joint(body, "LeftLeg").offset.y, -0.5);
    EXPECT_EQ(joint(body, "LeftUpLeg").tip.y, -0.5);
    ASSERT_TRUE(body.setLength("HipsWidth", 0.2));
    EXPECT_EQ(joint(body, "RightUpLeg").offset.x, -0.1);
    EXPECT_FALSE(body.setLength("Tail", 1));
    EXPECT_FALSE(body.setLength("LeftUpLeg", std::nan("")));
    EXPECT_EQ(joint(body, "LeftLeg").offset.y, -0.5);
}

TEST(HumanBody, StandsAsTallAsItsLengthsMakeIt) {
    const HumanBody usual(1.8);
    EXPECT_NEAR(usual.stature(), 1.8, 1e-12);
    HumanBody body = usual;
    const double reach = static_cast<double>(body.rig()->height()) - 0.09 * 1.8; // without the head
    ASSERT_TRUE(body.setLength("LeftUpLeg", 0.245 * 1.8 + 0.05));
    ASSERT_TRUE(body.setLength("RightUpLeg", 0.245 * 1.8 + 0.05));
    EXPECT_NEAR(body.stature(), 1.8 * (1 + 0.05 / reach), 1e-6);
    ASSERT_TRUE(body.setLength("RightUpLeg", 0.245 * 1.8));
    EXPECT_NEAR(body.stature(), 1.8 * (1 + 0.025 / reach), 1e-6);
    ASSERT_TRUE(body.setLength("LeftUpLeg", 0.245 * 1.8));
    ASSERT_TRUE(body.setLength("LeftArm", 0.5));
    ASSERT_TRUE(body.setLength("HipsWidth", 0.5));
    EXPECT_NEAR(body.stature(), 1.8, 1e-12);
}

TEST(HumanBody, IsARigInTPose) {
    const HumanBody body(1.8);
    const auto rig = body.rig(100);
    EXPECT_EQ(rig->jointCount(), static_cast<int>(body.joints().size()));
    EXPECT_EQ(rig->valueCount(), 3 * body.joints().size() + 3);
    ASSERT_EQ(rig->skeletons().size(), 1U);
    EXPECT_NEAR(static_cast<double>(rig->height()), 180, 15);
}

TEST(HumanBody, RefusesAHeightThatNobodyHas) {
    EXPECT_THROW(HumanBody(0.2), std::invalid_argument);
    EXPECT_THROW(HumanBody(3.1), std::invalid_argument);
    EXPECT_THROW(HumanBody(std::nan("")), std::invalid_argument);
}
