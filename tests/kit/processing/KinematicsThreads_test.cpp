// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// One rig, shared by the solvers and readers of several threads.
#include "kit/processing/BodyDimensionTesting.h"
#include "support/Polling.h"

#include <tarn/Skeleton.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Bvh.h>

#include <gtest/gtest.h>

#include <mutex>
#include <sstream>

using namespace body_dimension_testing;
using tarn::testing::whilePolling;

namespace {

constexpr int rounds = 30;

const Values pose = {1, 2, 3, 30, 45};

/// Makes a solver of the rig, solves one pose, and forgets it.
Values solvedAnew(const std::shared_ptr<const Rig>& rig) {
    // A pointer that does not count: counting would put the solvers' lives in an order that nobody
    // has promised, and hide from ThreadSanitizer what they do to the rig.
    const std::shared_ptr<const Rig> borrowed(std::shared_ptr<void>(), rig.get());
    ForwardKinematicsSolver solver("solver", borrowed);
    solver.addInput(poseFrame(0, pose));
    solver.evaluate();
    return numbersOf(bodiesOf(solver).front());
}

} // namespace

TEST(RigThreads, SolversOfOneRigMayComeGoAndSolveOnThreadsOfTheirOwn) {
    const std::shared_ptr<const Rig> rig = smallRig();
    const Values expected = solvedAnew(rig);
    int right = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                right += solvedAnew(rig) == expected ? 1 : 0;
            }
        },
        [&] {
            EXPECT_EQ(solvedAnew(rig), expected);
            EXPECT_EQ(rig->skeletons().front()->bones().size(), 2U);
        });
    EXPECT_EQ(right, rounds);
}

TEST(RigThreads, ARigMayBeReadAndEvaluatedByManyAtOnce) {
    const std::shared_ptr<const Rig> rig = smallRig();
    const BodyPose body = [&rig] {
        ForwardKinematicsSolver solver("solver", rig);
        solver.addInput(poseFrame(0, pose));
        solver.evaluate();
        return bodiesOf(solver).front();
    }();
    const auto isRight = [&] {
        return tarn::kit::worldPositions(*rig, {pose}).size() == 3 && rig->valueCount() == 5 &&
               tarn::kit::poseOf(*rig, body).values.size() == 5;
    };
    int right = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                right += isRight() ? 1 : 0;
            }
        },
        [&] { EXPECT_TRUE(isRight()); });
    EXPECT_EQ(right, rounds);
}

TEST(BvhThreads, FilesMayBeReadAndWrittenByManyAtOnce) {
    const std::string file = "HIERARCHY\nROOT Hips\n{\n  OFFSET 0 0 0\n  CHANNELS 1 Xposition\n}\n"
                             "MOTION\nFrames: 2\nFrame Time: 0.01\n0.5\n1.5\n";
    const auto isRight = [&file] {
        std::istringstream in(file);
        std::ostringstream out;
        tarn::kit::writeBvh(tarn::kit::readBvh(in), out);
        return out.str().find("1.5") != std::string::npos;
    };
    int right = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                right += isRight() ? 1 : 0;
            }
        },
        [&] { EXPECT_TRUE(isRight()); });
    EXPECT_EQ(right, rounds);
}

TEST(BodyDimensionCalibratorThreads, ItsProgressMayBePolledAndTheRestNeedsTheHostsLock) {
    std::mutex host;
    ForwardKinematicsSolver solver("solver", smallRig());
    BodyDimensionCalibrator calibrator("dimensions", rounds);
    calibrator.setSolver(&solver);
    ASSERT_TRUE(calibrator.start());
    float last = 0;
    whilePolling(
        [&] {
            for (unsigned i = 0; i < rounds; ++i) {
                const std::lock_guard<std::mutex> lock(host);
                solver.addInput(poseFrame(i, pose));
                solver.evaluate();
                calibrator.flushFrame(std::make_shared<Timeline>(Time(i, 100)));
            }
        },
        [&] {
            const float progress = calibrator.currentCalibrateProgress();
            EXPECT_GE(progress, last);
            last = progress;
            EXPECT_TRUE(calibrator.isCalibrating());
            const std::lock_guard<std::mutex> lock(host);
            EXPECT_EQ(calibrator.height().mean > 0, calibrator.collectedFrames() > 0);
            EXPECT_EQ(calibrator.segments().size(), 2U);
        });
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 1.0F);
    calibrator.removeChild(&solver);
}
