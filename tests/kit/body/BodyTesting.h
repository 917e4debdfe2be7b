// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "kit/files/BvhTesting.h"
#include "support/Samples.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>

#include <tarn/Tracks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What the tests of the kinematics solver, and of what works with its bodies, have in common.
namespace body_testing {

using tarn::Frame;
using tarn::Solver;
using tarn::Time;
using tarn::Tracks;
using tarn::Vector3f;
using tarn::kit::BodyPose;
using tarn::kit::Channel;
using tarn::kit::ForwardKinematicsSolver;
using tarn::kit::Pose;
using tarn::kit::Rig;
using tarn::kit::Segment;
using FramePtr = std::shared_ptr<Frame>;
using Values = std::vector<float>;

/// A body of two segments: Hips, which move and turn about y, Leg 2 below and turning about z, and
/// its end 1.5 below that. Values: x, y, z, hips' turn, leg's turn.
inline std::shared_ptr<Rig> smallRig() {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {0, 4, 0},
                  {Channel::Xposition, Channel::Yposition, Channel::Zposition, Channel::Yrotation});
    rig->addJoint("Leg", 0, {0, -2, 0}, {Channel::Zrotation});
    rig->addEndSite(1, {0, -1.5F, 0});
    return rig;
}

inline FramePtr poseFrame(unsigned index, Values values) {
    return std::make_shared<Frame>(Time(index, 100), tarn::kit::poseDataType,
                                   Pose{std::move(values)});
}

/// A take that shows these frames, from index 0 on.
inline std::shared_ptr<Tracks> takeOf(const std::vector<FramePtr>& frames) {
    const auto track = std::make_shared<tarn::Track>(tarn::kit::poseDataType);
    track->setFrameCount(static_cast<int>(frames.size()));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        track->setFrame(static_cast<int>(i), frames[i]);
    }
    auto tracks = std::make_shared<Tracks>();
    tracks->setFps(100);
    tracks->setTimeLength(static_cast<int>(frames.size()));
    tracks->addTrack(track, 0);
    return tracks;
}

/// Every number of a body, for comparisons without tolerance.
inline Values numbersOf(const BodyPose& body) {
    Values numbers;
    for (const Segment& segment : body.segments) {
        const auto& [position, rotation] = segment;
        for (const float number :
             {position.x, position.y, position.z, rotation.x, rotation.y, rotation.z, rotation.w}) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

inline std::vector<FramePtr> outputsOf(Solver& solver) {
    std::vector<FramePtr> frames;
    const auto sequence = solver.getOutput(tarn::kit::bodyDataType);
    for (int i = 0; sequence != nullptr && i < sequence->frameCount(); ++i) {
        frames.push_back(sequence->getFrame(i));
    }
    return frames;
}

inline std::vector<BodyPose> bodiesOf(Solver& solver) {
    std::vector<BodyPose> bodies;
    for (const FramePtr& frame : outputsOf(solver)) {
        bodies.push_back(frame->dataAs<BodyPose>());
    }
    return bodies;
}

/// Every number of every body that was put out.
inline std::vector<Values> numbersOf(Solver& solver) {
    std::vector<Values> numbers;
    for (const BodyPose& body : bodiesOf(solver)) {
        numbers.push_back(numbersOf(body));
    }
    return numbers;
}

inline std::vector<unsigned> timesOf(Solver& solver) {
    std::vector<unsigned> indexes;
    for (const FramePtr& frame : outputsOf(solver)) {
        indexes.push_back(frame->time().frameIndex());
    }
    return indexes;
}

/// Feeds the frames one by one, each followed by an evaluation.
inline void solveLive(Solver& solver, const std::vector<FramePtr>& frames) {
    for (const FramePtr& frame : frames) {
        solver.addInput(frame);
        EXPECT_TRUE(solver.evaluate());
    }
}

inline void expectNear(const Vector3f& actual, const Vector3f& expected, float tolerance = 1e-6F) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

/// The take of every sample file, in order of their names.
inline std::vector<tarn::kit::BvhTake> sampleTakes() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry :
         std::filesystem::directory_iterator(tarn::testing::sampleDirectory())) {
        if (entry.path().extension() == ".bvh") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    EXPECT_GE(files.size(), 3U);
    std::vector<tarn::kit::BvhTake> takes;
    takes.reserve(files.size());
    for (const auto& file : files) {
        takes.push_back(tarn::kit::readBvh(file));
    }
    return takes;
}

/// The frames that a take shows.
inline std::vector<FramePtr> framesOf(Tracks& take) {
    std::vector<FramePtr> frames;
    frames.reserve(static_cast<std::size_t>(take.timeLength()));
    for (int i = 0; i < take.timeLength(); ++i) {
        frames.push_back(take.getFrame(i, tarn::kit::poseDataType));
    }
    return frames;
}

} // namespace body_testing
