// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A body that a solver's thread and a host's thread look at.
#include "support/Polling.h"

#include <tarn/Bone.h>
#include <tarn/BoneID.h>
#include <tarn/Joint.h>
#include <tarn/Rotation.h>
#include <tarn/Skeleton.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>

using tarn::Bone;
using tarn::Skeleton;
using tarn::testing::whilePolling;

TEST(BodyThreads, ASkeletonThatNobodyChangesMayBeReadByManyAtOnce) {
    Bone hips("Hips");
    Bone spine("Spine");
    hips.addChildBone(&spine);
    Skeleton skeleton("Ada");
    skeleton.setBone(&hips);
    const auto isWhole = [&] {
        return skeleton.bones().size() == 2 && skeleton.findBoneByName("Spine") == &spine &&
               spine.parentBone() == &hips && spine.joint()->parentJoint() == hips.joint() &&
               spine.sensorBinded() == -1;
    };
    int whole = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < 500; ++i) {
                whole += isWhole() ? 1 : 0;
            }
        },
        [&] { EXPECT_TRUE(isWhole()); });
    EXPECT_EQ(whole, 500);
}

TEST(BodyThreads, ABodyThatChangesIsSharedUnderTheHostsLock) {
    std::mutex mutex;
    Bone hips("Hips");
    Skeleton skeleton("Ada");
    skeleton.setBone(&hips);
    std::atomic<int> heard{-1};
    hips.onSensorBindChanged().connect([&](int sensor) { heard = sensor; });
    whilePolling(
        [&] {
            for (int i = 0; i < 500; ++i) {
                const std::lock_guard<std::mutex> lock(mutex);
                skeleton.setSkeletonName("Ada " + std::to_string(i));
                hips.bindSensor(i);
            }
        },
        [&] {
            const std::lock_guard<std::mutex> lock(mutex);
            EXPECT_EQ(hips.sensorBinded(), heard);
            EXPECT_EQ(skeleton.skeletonName().substr(0, 3), "Ada");
        });
    EXPECT_EQ(heard, 499);
}

TEST(BodyThreads, NamesAndRotationsMayBeWorkedOutByManyAtOnce) {
    const tarn::Quaternionf quarter{0, 0, 0.70710678F, 0.70710678F};
    const auto turn = [&quarter] { return tarn::toEulerAngle(quarter, {2, 1, 0}); };
    const auto name = [] { return tarn::boneIDToBoneName(tarn::boneNameToBoneID("Hips")); };
    const tarn::EulerAngle angles = turn();
    int right = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < 500; ++i) {
                right += turn() == angles && name() == "Hips" ? 1 : 0;
            }
        },
        [&] {
            EXPECT_TRUE(turn() == angles);
            EXPECT_EQ(name(), "Hips");
        });
    EXPECT_EQ(right, 500);
}
