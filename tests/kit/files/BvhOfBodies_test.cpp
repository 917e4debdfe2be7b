// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/session/TakeOf.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

namespace tarn::kit {
namespace {

/// An arm that turns about three axes.
std::shared_ptr<Rig> arm() {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Arm", -1, {0, 1, 0},
                  {Channel::Zrotation, Channel::Xrotation, Channel::Yrotation});
    rig->addEndSite(0, {1, 0, 0});
    return rig;
}

/// A recording of bodies that are turned about z by these degrees; nothing where a frame was lost.
std::shared_ptr<Tracks> bodiesAt(const Rig& rig, const std::vector<std::optional<float>>& turns) {
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(turns.size());
    for (const std::optional<float>& degrees : turns) {
        frames.push_back(degrees ? std::make_shared<Frame>(Time(0, 30), bodyDataType,
                                                           worldPose(rig, Pose{{*degrees, 0, 0}}))
                                 : nullptr);
    }
    auto take = takeOf(bodyDataType, std::move(frames), 30);
    take->setTracksName("wave");
    return take;
}

/// The first channel of each frame.
std::vector<float> turnsOf(const BvhTake& take) {
    std::vector<float> turns;
    turns.reserve(static_cast<std::size_t>(take.tracks->timeLength()));
    for (int i = 0; i < take.tracks->timeLength(); ++i) {
        turns.push_back(
            std::round(take.tracks->getFrame(i, poseDataType)->dataAs<Pose>().values[0]));
    }
    return turns;
}

TEST(BvhOfBodies, HasThePosesOfTheBodiesAtTheExactRate) {
    const auto rig = arm();
    const BvhTake take = bvhTakeOf(rig, bodiesAt(*rig, {10.0F, 20.0F, 30.0F}), Rate(30'000, 1'001));
    EXPECT_EQ(turnsOf(take), (std::vector<float>{10, 20, 30}));
    EXPECT_EQ(take.rig, rig);
    EXPECT_EQ(take.exactRate(), Rate(30'000, 1'001));
    EXPECT_TRUE(take.rateRounded);
    EXPECT_EQ(take.tracks->fps(), 30);
    EXPECT_EQ(take.tracks->tracksName(), "wave");
    EXPECT_EQ(take.tracks->getFrame(2, poseDataType)->time(), Time(2, 30));
}

TEST(BvhOfBodies, StaysWhereItWasWhileFramesAreLost) {
    const auto rig = arm();
    const auto bodies = bodiesAt(*rig, {{}, {}, 10.0F, {}, 30.0F, {}});
    EXPECT_EQ(turnsOf(bvhTakeOf(rig, bodies, Rate(30))),
              (std::vector<float>{10, 10, 10, 10, 30, 30}));
}

TEST(BvhOfBodies, HasNoFramesWithoutABody) {
    const auto rig = arm();
    const BvhTake take = bvhTakeOf(rig, bodiesAt(*rig, {{}, {}}), Rate(30));
    EXPECT_EQ(take.tracks->timeLength(), 0);
}

TEST(BvhOfBodies, DoesNotJumpWhileTheBodyTurnsOn) {
    const auto rig = arm();
    const auto bodies = bodiesAt(*rig, {170.0F, 180.0F, 190.0F, 200.0F});
    EXPECT_EQ(turnsOf(bvhTakeOf(rig, bodies, Rate(30))), (std::vector<float>{170, 180, 190, 200}));
}

TEST(BvhOfBodies, RefusesBodiesOfAnotherRig) {
    const auto rig = arm();
    Rig other;
    other.addJoint("Arm", -1, {0, 1, 0},
                   {Channel::Zrotation, Channel::Xrotation, Channel::Yrotation});
    EXPECT_THROW(bvhTakeOf(rig, bodiesAt(other, {10.0F}), Rate(30)), std::invalid_argument);
}

} // namespace
} // namespace tarn::kit
