// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "Performances.h"

#include "drawing/CurvePanel.h"
#include "drawing/JointCurves.h"
#include "drawing/MotionPlot.h"
#include "drawing/Picture.h"
#include "drawing/TrackedJoints.h"
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace tarn::tests {
namespace {

using capture::JointCurves;
using capture::jointCurvesOf;
using capture::motionPlot;
using capture::Performance;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr int rate = 10;

class MotionPlot : public ::testing::Test {
    capture::DrawingSession session_;
};

std::vector<std::string> trackedNames(const std::vector<std::string>& children) {
    kit::Rig rig;
    rig.addJoint("Hips", -1, {0, 0, 0}, {});
    for (const std::string& name : children) {
        rig.addJoint(name, 0, {0, 1, 0}, {});
    }
    std::vector<std::string> names;
    for (const capture::TrackedJoint& joint : capture::trackedJoints(rig)) {
        names.push_back(joint.label + "=" + rig.nodes()[joint.node].name);
    }
    return names;
}

/// Somebody whose joints are all where a function of the frame says, along X.
Performance moving(int frames, float (*where)(int)) {
    return performance("Anna", frames, [where](int frame) { return standingAt(where(frame), 0); });
}

TEST(TrackedJoints, AreFoundByTheirNames) {
    EXPECT_THAT(trackedNames({"Neck", "Head", "LeftHand", "RightHand", "LeftFoot", "RightFoot"}),
                ElementsAre("root (Hips)=Hips", "head=Head", "left hand=LeftHand",
                            "right hand=RightHand", "left foot=LeftFoot", "right foot=RightFoot"));
    EXPECT_THAT(trackedNames({"head", "rHand", "rThumb1", "lHand", "rFoot", "lFoot"}),
                ElementsAre("root (Hips)=Hips", "head=head", "left hand=lHand", "right hand=rHand",
                            "left foot=lFoot", "right foot=rFoot"));
    EXPECT_THAT(trackedNames({"m:hand_l", "m:hand_r", "m:LeftAnkle"}),
                ElementsAre("root (Hips)=Hips", "left hand=m:hand_l", "right hand=m:hand_r",
                            "left foot=m:LeftAnkle"));
}

TEST(TrackedJoints, AreTheEndsOfChainsWhereNamesTellNothing) {
    EXPECT_THAT(trackedNames({"A", "B\n", "C", "D", "E", "F", "G"}),
                ElementsAre("root (Hips)=Hips", "A=A", "B\xEF\xBF\xBD=B\n", "C=C", "D=D", "E=E"));
    EXPECT_THAT(trackedNames({}), ElementsAre("root (Hips)=Hips"));
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
    const auto gap = performance("Anna", 8, [](int frame) {
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

TEST_F(MotionPlot, SaysInTextWhatItShows) {
    const auto still = [](int) { return 0.0F; };
    const capture::Picture picture = motionPlot({moving(20, still), moving(20, still)}, rate);
    EXPECT_EQ(picture.title, "Anna, Anna");
    EXPECT_THAT(picture.description,
                HasSubstr("2 performers; 20 frames at 10 per second, 2.000 s"));
    EXPECT_THAT(picture.description,
                HasSubstr("Performer 2: Anna: height and speed of root (Hips), head, left hand"));
}

TEST_F(MotionPlot, GrowsWithThePerformersAndNotWithTheFrames) {
    const auto still = [](int) { return 0.0F; };
    const double one = motionPlot({moving(2, still)}, rate).height;
    EXPECT_GT(motionPlot({moving(2, still), moving(2, still)}, rate).height, one + 500);
    EXPECT_EQ(motionPlot({moving(500, still)}, rate).height, one);
}

TEST_F(MotionPlot, DrawsManyFramesAsFewAndSaysSo) {
    const auto shaking = [](int frame) { return frame % 2 == 0 ? 0.0F : 5.0F; };
    const capture::Picture shortOne = motionPlot({moving(2'000, shaking)}, rate);
    const capture::Picture longOne = motionPlot({moving(40'000, shaking)}, rate);
    EXPECT_THAT(shortOne.description, ::testing::Not(HasSubstr("means")));
    EXPECT_THAT(longOne.description, HasSubstr("means of 80 frames each"));
    EXPECT_LT(capture::renderSvg(longOne).size(), 2 * capture::renderSvg(shortOne).size());
}

TEST_F(MotionPlot, SurvivesSessionsWithHardlyAnything) {
    const auto nobody = [](int) { return std::vector<Vector3f>(); };
    EXPECT_FALSE(capture::renderPng(motionPlot({}, rate)).empty());
    EXPECT_FALSE(capture::renderPng(motionPlot({performance("", 0, nobody)}, rate)).empty());
    EXPECT_FALSE(capture::renderPng(motionPlot({performance("", 9, nobody)}, rate)).empty());
    const auto empty = performance("", 2, nobody, std::make_shared<kit::Rig>());
    EXPECT_FALSE(capture::renderPng(motionPlot({empty}, rate)).empty());
}

TEST_F(MotionPlot, SurvivesAnyPositions) {
    for (const float far :
         {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
          std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()}) {
        const auto away = performance("", 20, [far](int frame) {
            std::vector<Vector3f> body = standingAt(frame % 4 == 0 ? far : 0, 0);
            body[1].y = far;
            return body;
        });
        EXPECT_FALSE(capture::renderPng(motionPlot({away}, rate)).empty());
    }
}

} // namespace
} // namespace tarn::tests
