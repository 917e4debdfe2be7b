// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Scaling.h>

#include "support/Samples.h"

#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Bvh.h>

#include <gtest/gtest.h>

#include <vector>

namespace tarn::kit {
namespace {

TEST(Scaling, MultipliesAllLengthsAndLeavesTheRest) {
    Rig rig;
    rig.addJoint("Hips", -1, {1, 2, 3}, {Channel::Zrotation, Channel::Xposition});
    rig.addEndSite(0, {0, 4, 0});
    Space space;
    space.up = UpAxis::Z;
    rig.setSpace(space);
    rig.setStanding(UpAxis::X);
    const auto scaled = scaledRig(rig, 2);
    ASSERT_EQ(scaled->nodes().size(), 2U);
    EXPECT_EQ(scaled->nodes()[0].offset, (Vector3f{2, 4, 6}));
    EXPECT_EQ(scaled->nodes()[0].channels, rig.nodes()[0].channels);
    EXPECT_TRUE(scaled->nodes()[1].isEndSite());
    EXPECT_EQ(scaled->nodes()[1].offset, (Vector3f{0, 8, 0}));
    EXPECT_EQ(scaled->space().up, UpAxis::Z);
    EXPECT_EQ(scaled->standing(), UpAxis::X);
    EXPECT_EQ(scaledPose(rig, Pose{{90, 5}}, 2).values, (std::vector<float>{90, 10}));
}

TEST(ScaledTake, PutsEveryNodeOfARealTakeSoManyTimesAsFar) {
    const BvhTake take = readBvh(tarn::testing::samplePath("cmu_60_12_salsa_a.bvh"));
    const BvhTake scaled = scaledTake(take, 0.01);
    ASSERT_EQ(scaled.tracks->timeLength(), take.tracks->timeLength());
    EXPECT_EQ(scaled.tracks->tracksName(), take.tracks->tracksName());
    EXPECT_EQ(scaled.tracks->fps(), take.tracks->fps());
    EXPECT_EQ(scaled.frameTime, take.frameTime);
    for (const int frame : {0, 200, 422}) {
        const auto at = [frame](const BvhTake& of) {
            return worldPositions(*of.rig,
                                  of.tracks->getFrame(frame, poseDataType)->dataAs<Pose>());
        };
        const auto before = at(take);
        const auto after = at(scaled);
        for (std::size_t i = 0; i < before.size(); ++i) {
            EXPECT_NEAR(after[i].x, before[i].x * 0.01F, 1e-5);
            EXPECT_NEAR(after[i].y, before[i].y * 0.01F, 1e-5);
            EXPECT_NEAR(after[i].z, before[i].z * 0.01F, 1e-5);
        }
    }
}

} // namespace
} // namespace tarn::kit
