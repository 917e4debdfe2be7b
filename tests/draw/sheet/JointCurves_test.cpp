// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/JointCurves.h>

#include "draw/Subjects.h"

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::ElementsAre;

constexpr int rate = 10;

/// Somebody whose joints are all where a function of the frame says, along X.
Subject moving(int frames, float (*where)(int)) {
    return subject("Anna", frames, [where](int frame) { return standingAt(where(frame), 0); });
}

TEST(JointCurves, HeightsAreThoseOfTheJoints) {
    const JointCurves curves = jointCurvesOf(moving(2, [](int) { return 0.0F; }), 2, rate);
    EXPECT_THAT(curves.heights.at(0).values, ElementsAre(10, 10)); // hips
    EXPECT_THAT(curves.heights.at(1).values, ElementsAre(20, 20)); // head
    EXPECT_THAT(curves.heights.at(5).values, ElementsAre(0, 0));   // right foot
}

TEST(JointCurves, SpeedsArePerSecondFromTheFirstFrameToTheLast) {
    const auto even = moving(6, [](int frame) { return 3.0F * static_cast<float>(frame); });
    EXPECT_THAT(jointCurvesOf(even, 6, rate).speeds.at(0).values,
                ElementsAre(30, 30, 30, 30, 30, 30));
}

TEST(JointCurves, SpeedsReachTwoFramesBackAndTwoFramesAhead) {
    const auto jump = moving(9, [](int frame) { return frame < 4 ? 0.0F : 8.0F; });
    EXPECT_THAT(jointCurvesOf(jump, 9, rate).speeds.at(0).values,
                ElementsAre(0, 0, 20, 20, 20, 20, 0, 0, 0));
}

TEST(JointCurves, HaveGapsWhereNobodyIs) {
    const auto gap = subject("Anna", 8, [](int frame) {
        return frame == 4 ? std::vector<Vector3f>() : standingAt(0, 0);
    });
    const JointCurves curves = jointCurvesOf(gap, 8, rate);
    EXPECT_TRUE(std::isnan(curves.heights.at(0).values.at(4)));
    EXPECT_TRUE(std::isnan(curves.speeds.at(0).values.at(2)));
    EXPECT_EQ(curves.speeds.at(0).values.at(1), 0);
}

TEST(JointCurves, HaveNoSpeedInASingleFrame) {
    const JointCurves curves = jointCurvesOf(moving(1, [](int) { return 0.0F; }), 1, rate);
    EXPECT_TRUE(std::isnan(curves.speeds.at(0).values.at(0)));
}

} // namespace
} // namespace tarn::draw
