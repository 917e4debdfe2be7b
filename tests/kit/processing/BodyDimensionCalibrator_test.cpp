// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/processing/BodyDimensionTesting.h"

#include <tarn/Solver.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using namespace body_dimension_testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(BodyDimensionCalibrator, SaysWhatItIs) {
    const BodyDimensionCalibrator calibrator("dimensions 1");
    EXPECT_EQ(calibrator.id(), "dimensions 1");
    EXPECT_EQ(calibrator.calibratorType(), "body-dimensions");
    EXPECT_EQ(calibrator.solverType(), "forward-kinematics");
}

TEST(BodyDimensionCalibrator, IsAvailableWithAKinematicsSolver) {
    BodyDimensionCalibrator calibrator("dimensions");
    EXPECT_FALSE(calibrator.isAvailable());
    Solver other("other", "solver");
    calibrator.setSolver(&other);
    EXPECT_FALSE(calibrator.isAvailable());
    ForwardKinematicsSolver solver("solver", smallRig());
    calibrator.setSolver(&solver);
    EXPECT_TRUE(calibrator.isAvailable());
}

TEST(BodyDimensionCalibrator, DoesNotBeginWithoutAKinematicsSolver) {
    BodyDimensionCalibrator calibrator("dimensions");
    const Announced announced(calibrator);
    EXPECT_FALSE(calibrator.start());
    calibrator.globalStart();
    EXPECT_FALSE(calibrator.isCalibrating());
    EXPECT_THAT(announced.all(), IsEmpty());
}

TEST(BodyDimensionCalibrator, HasTheNumberOfFramesAsAFactor) {
    const int factor = BodyDimensionCalibrator::frameCountFactor;
    BodyDimensionCalibrator calibrator("dimensions");
    EXPECT_EQ(std::any_cast<int>(calibrator.queryFactor(factor)), 100);
    for (const std::any& value : {std::any(7), std::any(7.0F), std::any(7.0)}) {
        calibrator.setFactor(factor, 1);
        calibrator.setFactor(factor, value);
        EXPECT_EQ(std::any_cast<int>(calibrator.queryFactor(factor)), 7);
    }
    for (const std::any& value : {std::any(0), std::any(-3), std::any(1.5), std::any(1e10),
                                  std::any(std::nan("")), std::any(), std::any(std::string("9"))}) {
        calibrator.setFactor(factor, value);
        EXPECT_EQ(std::any_cast<int>(calibrator.queryFactor(factor)), 7);
    }
}

TEST(BodyDimensionCalibrator, AnnouncesBeginProgressAndEnd) {
    Bench bench(4);
    const Announced announced(bench.calibrator);
    EXPECT_TRUE(bench.calibrator.start());
    EXPECT_TRUE(bench.calibrator.isCalibrating());
    bench.give(0);
    bench.give(1);
    EXPECT_EQ(bench.calibrator.currentCalibrateProgress(), 0.5F);
    bench.calibrator.finish();
    EXPECT_FALSE(bench.calibrator.isCalibrating());
    EXPECT_THAT(announced.all(), ElementsAre("begin", "0.00", "0.25", "0.50", "end"));
}

TEST(BodyDimensionCalibrator, GoesOnWhenItIsStartedAgain) {
    Bench bench(4);
    bench.calibrator.start();
    bench.give(0);
    const Announced announced(bench.calibrator);
    EXPECT_TRUE(bench.calibrator.start());
    bench.calibrator.globalStart();
    EXPECT_EQ(bench.calibrator.collectedFrames(), 1);
    EXPECT_THAT(announced.all(), IsEmpty());
}

TEST(BodyDimensionCalibrator, BeginsAnewWhenItIsStartedAfterItsEnd) {
    Bench bench(4);
    bench.calibrator.start();
    bench.give(0);
    bench.calibrator.finish();
    EXPECT_EQ(bench.calibrator.collectedFrames(), 1);
    bench.calibrator.start();
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
    EXPECT_EQ(bench.calibrator.height().mean, 0);
}

TEST(BodyDimensionCalibrator, CollectsUntilItHasItsFrames) {
    Bench bench(2);
    const Announced announced(bench.calibrator);
    bench.calibrator.start();
    for (unsigned i = 0; i < 5; ++i) {
        bench.give(i);
    }
    EXPECT_EQ(bench.calibrator.collectedFrames(), 2);
    EXPECT_TRUE(bench.calibrator.isCalibrating());
    EXPECT_THAT(announced.all(), ElementsAre("begin", "0.00", "0.50", "1.00"));
}

TEST(BodyDimensionCalibrator, IgnoresFramesWhileItDoesNotRun) {
    Bench bench(4);
    bench.give(0);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
    bench.calibrator.start();
    bench.calibrator.finish();
    bench.give(1);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
}

TEST(BodyDimensionCalibrator, PassesOverFramesWithoutAnOutputOfTheirTime) {
    Bench bench(4);
    bench.calibrator.start();
    bench.flush(0);
    bench.solve(0);
    bench.flush(1);
    bench.calibrator.flushFrame(nullptr);
    bench.calibrator.flushFrame(std::make_shared<Timeline>(Time(0, 50)));
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
    bench.flush(0);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 1);
}

TEST(BodyDimensionCalibrator, CountsAnOutputOnce) {
    Bench bench(4);
    bench.calibrator.start();
    bench.give(0);
    bench.flush(0);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 1);
    bench.give(0);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 2);
}

TEST(BodyDimensionCalibrator, PassesOverBodiesWithALengthThatIsNotFinite) {
    Bench bench(4);
    bench.calibrator.start();
    bench.give(0, {0, 0, 0, 0, std::nanf("")});
    bench.give(1, {std::nanf(""), 0, 0, 0, 0});
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
}

TEST(BodyDimensionCalibrator, PassesOverBodiesOfAnotherRig) {
    Bench bench(4);
    bench.calibrator.start();
    const auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {}, {});
    ForwardKinematicsSolver other("other", rig);
    bench.calibrator.setSolver(&other);
    other.addInput(poseFrame(0, {}));
    ASSERT_TRUE(other.evaluate());
    bench.flush(0);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
    bench.calibrator.setSolver(&bench.solver);
}

TEST(BodyDimensionCalibrator, MeasuresSegmentsAndHeight) {
    Bench bench(4);
    bench.calibrator.start();
    bench.give(0, {5, 6, 7, 80, 90});
    const auto segments = bench.calibrator.segments();
    ASSERT_EQ(segments.size(), 2U);
    EXPECT_EQ(segments[0].name, "Hips"); // from the hips to the leg
    EXPECT_NEAR(segments[0].mean, 2, 1e-6);
    EXPECT_EQ(segments[0].spread, 0);
    EXPECT_EQ(segments[1].name, "Leg");
    EXPECT_NEAR(segments[1].mean, 1.5, 1e-6);
    EXPECT_EQ(bench.calibrator.height().name, "Height");
    EXPECT_NEAR(bench.calibrator.height().mean, 3.5, 1e-6);
    EXPECT_EQ(bench.calibrator.height().spread, 0);
}

TEST(BodyDimensionCalibrator, MeasuresMeanAndSpread) {
    Bench bench(8);
    bench.calibrator.start();
    unsigned index = 0;
    for (const float scale : {1.0F, 2.0F, 4.0F, 5.0F}) { // mean 3, deviations 2, 1, 1, 2
        bench.solver.setFactor(ForwardKinematicsSolver::Scale, scale);
        bench.give(index++);
    }
    const double spread = std::sqrt(2.5);
    const auto segments = bench.calibrator.segments();
    EXPECT_NEAR(segments.at(0).mean, 6, 1e-6);
    EXPECT_NEAR(segments.at(0).spread, 2 * spread, 1e-6);
    EXPECT_NEAR(segments.at(1).mean, 4.5, 1e-6);
    EXPECT_NEAR(segments.at(1).spread, 1.5 * spread, 1e-6);
    EXPECT_NEAR(bench.calibrator.height().mean, 10.5, 1e-6);
    EXPECT_NEAR(bench.calibrator.height().spread, 3.5 * spread, 1e-6);
}

TEST(BodyDimensionCalibrator, NamesLengthsAsItIsToldToUnderstandNames) {
    const auto rig = std::make_shared<Rig>();
    rig->addJoint("bone 1", -1, {}, {});
    rig->addJoint("bone 2", 0, {0, -2, 0}, {});
    ForwardKinematicsSolver solver("solver", rig);
    auto names = std::make_shared<BodyNames>();
    names->addJoint("bone 1", BoneLeftUpLeg);
    BodyDimensionCalibrator calibrator("dimensions");
    calibrator.setBodyNames(names);
    calibrator.setSolver(&solver);
    calibrator.start();
    solver.addInput(poseFrame(0, {}));
    ASSERT_TRUE(solver.evaluate());
    calibrator.flushFrame(std::make_shared<Timeline>(Time(0, 100)));
    ASSERT_EQ(calibrator.segments().size(), 1U);
    EXPECT_EQ(calibrator.segments().front().name, "LeftUpLeg");
}

TEST(BodyDimensionCalibrator, MeasuresTheHeightOfTheRestPoseWithSegmentsAsLongAsTheyAre) {
    // The leg is let down by a position channel, from 2 to 3, on its way to the side.
    const auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {0, 1, 0}, {Channel::Zrotation});
    rig->addJoint("Leg", 0, {0, -2, 0}, {Channel::Yposition, Channel::Xrotation});
    rig->addEndSite(1, {0, -3, 4});
    rig->addJoint("Spine", 0, {0, 4, 0}, {});
    rig->addJoint("Twin", 0, {0, 0, 0}, {Channel::Yposition});
    ForwardKinematicsSolver solver("solver", rig);
    BodyDimensionCalibrator calibrator("dimensions");
    calibrator.setSolver(&solver);
    calibrator.start();
    solver.addInput(poseFrame(0, {90, -1, 50, 70}));
    ASSERT_TRUE(solver.evaluate());
    calibrator.flushFrame(std::make_shared<Timeline>(Time(0, 100)));
    EXPECT_NEAR(calibrator.height().mean, 4 + 3 + 3, 1e-5);
    std::vector<std::string> names;
    for (const MeasuredLength& segment : calibrator.segments()) {
        names.push_back(segment.name);
    }
    EXPECT_THAT(names, ElementsAre("Hips-Leg", "Leg", "Hips"));
}

TEST(BodyDimensionCalibrator, HasNothingMeasuredAtFirst) {
    const BodyDimensionCalibrator calibrator("dimensions");
    EXPECT_EQ(calibrator.collectedFrames(), 0);
    EXPECT_EQ(calibrator.height().mean, 0);
    EXPECT_EQ(calibrator.height().spread, 0);
    EXPECT_THAT(calibrator.segments(), IsEmpty());
}

TEST(BodyDimensionCalibrator, HasNoCalibrationDataWithoutFrames) {
    Bench bench(4);
    EXPECT_EQ(bench.calibrator.calibrationData(), nullptr);
    bench.calibrator.start();
    EXPECT_EQ(bench.calibrator.calibrationData(), nullptr);
}

TEST(BodyDimensionCalibrator, KeepsItsFramesAsATakeOfOneTrack) {
    Bench bench(4);
    bench.calibrator.start();
    bench.give(7);
    bench.give(3);
    bench.calibrator.finish();
    const auto data = bench.calibrator.calibrationData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->trackCount(), 1);
    EXPECT_EQ(data->fps(), 100);
    EXPECT_EQ(data->timeLength(), 2);
    EXPECT_EQ(data->frameCount(), 2);
    EXPECT_EQ(data->workRangeBegin(), 0);
    EXPECT_EQ(data->workRangeEnd(), 1);
    EXPECT_EQ(data->getFrame(0, bodyDataType), outputsOf(bench.solver).at(0));
    EXPECT_EQ(data->getFrame(1, bodyDataType), outputsOf(bench.solver).at(1));
    EXPECT_EQ(data->getTrack(0)->frameCount(), 2);
}

TEST(BodyDimensionCalibrator, MeasuresTheSameFromFramesThatWereKept) {
    Bench bench(3);
    bench.calibrator.start();
    for (unsigned i = 0; i < 3; ++i) {
        bench.solver.setFactor(ForwardKinematicsSolver::Scale, 1.0F + 0.1F * static_cast<float>(i));
        bench.give(i);
    }
    BodyDimensionCalibrator other("other", 2);
    other.setSolver(&bench.solver);
    other.setCalibrationData(bench.calibrator.calibrationData());
    EXPECT_EQ(other.collectedFrames(), 3);
    EXPECT_EQ(other.height().mean, bench.calibrator.height().mean);
    EXPECT_EQ(other.height().spread, bench.calibrator.height().spread);
    EXPECT_GT(other.height().spread, 0);
    EXPECT_EQ(other.segments().at(1).mean, bench.calibrator.segments().at(1).mean);
    other.removeChild(&bench.solver);
}

TEST(BodyDimensionCalibrator, LeavesOutKeptBodiesThatDoNotFit) {
    Bench bench(3);
    bench.calibrator.start();
    bench.give(0);
    const auto data = bench.calibrator.calibrationData();
    const auto track = data->getTrack(0);
    track->setFrameCount(5);
    track->setFrame(1, std::make_shared<Frame>(Time(), bodyDataType, BodyPose()));
    track->setFrame(2, std::make_shared<Frame>(Time(), bodyDataType, 5));
    track->setFrame(3, track->getFrame(0));
    bench.calibrator.setCalibrationData(data);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 2);
}

TEST(BodyDimensionCalibrator, HasNothingMeasuredFromDataWithoutBodies) {
    Bench bench(3);
    for (const auto& data : {std::shared_ptr<Tracks>(), std::make_shared<Tracks>()}) {
        bench.calibrator.start();
        bench.give(0);
        ASSERT_EQ(bench.calibrator.collectedFrames(), 1);
        bench.calibrator.setCalibrationData(data);
        EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
        EXPECT_EQ(bench.calibrator.height().mean, 0);
        bench.calibrator.cancel();
    }
}

TEST(BodyDimensionCalibrator, ForgetsItsDataWhenToldTo) {
    Bench bench(3);
    bench.calibrator.start();
    bench.give(0);
    bench.calibrator.truncCalibrationData();
    EXPECT_EQ(bench.calibrator.collectedFrames(), 0);
    EXPECT_EQ(bench.calibrator.calibrationData(), nullptr);
    EXPECT_EQ(bench.calibrator.height().mean, 0);
    bench.give(1);
    EXPECT_EQ(bench.calibrator.collectedFrames(), 1);
}

#ifndef NDEBUG
TEST(BodyDimensionCalibratorDeathTest, AssertsThatItCollectsSomething) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(BodyDimensionCalibrator("dimensions", 0), "frameCount");
}
#endif

} // namespace
} // namespace tarn::kit
