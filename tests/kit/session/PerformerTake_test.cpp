// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhWriterTesting.h"

#include <gtest/gtest.h>
#include <tarn_kit/session/PerformerTake.h>

#include <cmath>

namespace tarn::kit {
namespace {

std::shared_ptr<Tracks> takeWith(int dataType, std::any payload) {
    auto take = std::make_shared<Tracks>();
    take->setTimeLength(2);
    take->setFrame(1, dataType, std::make_shared<Frame>(Time(), dataType, std::move(payload)));
    return take;
}

std::shared_ptr<Rig> rig() {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Root", -1, {1, 2, 3}, {Channel::Xposition});
    return rig;
}

TEST(BodyAt, IsTheSolvedBodyOfAFrame) {
    const BodyPose body = {{{{4, 5, 6}, {0, 0, 0, 1}}}};
    const auto found = bodyAt(*rig(), *takeWith(bodyDataType, body), 1);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->segments.at(0).position.y, 5);
}

TEST(BodyAt, IsWhereThePoseOfAFramePutsTheRig) {
    const auto found = bodyAt(*rig(), *takeWith(poseDataType, Pose{{10}}), 1);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->segments.at(0).position.x, 11);
}

TEST(BodyAt, IsNothingWhereTheTakeHasNoBodyOfTheRig) {
    EXPECT_FALSE(bodyAt(*rig(), *takeWith(poseDataType, Pose{{10}}), 0));
    EXPECT_FALSE(bodyAt(*rig(), *takeWith(poseDataType, Pose{{10, 11}}), 1));
    EXPECT_FALSE(bodyAt(*rig(), *takeWith(bodyDataType, BodyPose{}), 1));
    EXPECT_FALSE(bodyAt(*rig(), *takeWith(poseDataType, std::string("no pose")), 1));
}

TEST(JointsAt, AreInMetresWithYUpRelativeToTheirParents) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Root", -1, {1, 2, 3}, {Channel::Zrotation});
    rig->addJoint("Arm", 0, {10, 0, 0}, {});
    Space space;
    space.up = UpAxis::Z;
    rig->setSpace(space);
    const PerformerTake posed = {"Anna", rig, takeWith(poseDataType, Pose{{90}}), Rate(), 0, ""};
    const auto found = jointsAt(posed, 0.01, 1);
    ASSERT_TRUE(found);
    EXPECT_DOUBLE_EQ(found->at(0).position.y, 0.03) << "Z is up";
    EXPECT_NEAR(found->at(0).rotation.y, std::sqrt(0.5), 1e-12);
    EXPECT_DOUBLE_EQ(found->at(1).position.z, 0.1) << "X goes to Z, whatever the root does";
    EXPECT_FALSE(jointsAt(posed, 0.01, 0));

    PerformerTake solved = posed;
    solved.take = takeWith(bodyDataType, bodyAt(*rig, *posed.take, 1).value());
    const auto same = jointsAt(solved, 0.01, 1);
    ASSERT_TRUE(same);
    EXPECT_NEAR(same->at(1).position.z, 0.1, 1e-7);
    EXPECT_NEAR(same->at(1).rotation.w, 1, 1e-7);
}

std::shared_ptr<Rig> rigOfHeight(float height, Space space = {}) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Root", -1, {0, 0, 0}, {});
    rig->addEndSite(0, {0, height, 0});
    rig->setSpace(space);
    return rig;
}

PerformerTake performerWith(std::shared_ptr<const Rig> rig) {
    return {"Anna", std::move(rig), nullptr, Rate(), 0, ""};
}

TEST(MetresPerUnit, AreThoseOfTheUnitWhereItIsKnown) {
    const Space inches = {{"in", "inches", 0.0254}};
    EXPECT_EQ(metresPerUnit({performerWith(rigOfHeight(70, inches))}), std::vector<double>{0.0254});
}

TEST(MetresPerUnit, OfUnknownUnitsAreTheSameForAllWhoShareASpace) {
    const Space metres = {{"m", "metres", 1}};
    const auto found =
        metresPerUnit({performerWith(rigOfHeight(2, metres)), performerWith(rigOfHeight(35)),
                       performerWith(rigOfHeight(70))});
    EXPECT_EQ(found, (std::vector<double>{1, adultHeight / 35, adultHeight / 35}));
}

TEST(MetresPerUnit, OfABodyWithoutHeightAreOne) {
    EXPECT_EQ(metresPerUnit({performerWith(rigOfHeight(0))}), std::vector<double>{1});
}

} // namespace
} // namespace tarn::kit
