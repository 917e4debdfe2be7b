// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_kit/solving/MarkerBody.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// A performer whose body is known, moving, with markers on.
namespace solving_testing {

using namespace tarn;
using namespace tarn::kit;

/// Where everything is at one instant, in metres.
struct Truth {
    std::vector<Vector3d> joints;
    std::vector<Vector3d> markers;
};

/// Joint `j` is turned by that at `seconds`: within what it can, each axis at a pace of its own.
inline Vector3d turnAt(const HumanJoint& joint, std::size_t j, double seconds) {
    Vector3d turn;
    for (std::size_t axis = 0; axis < 3 && j > 0; ++axis) {
        const double low = std::max(joint.lowest[axis], -60.0);
        const double high = std::min(joint.highest[axis], 90.0);
        const double reach = std::min(0.35 * (high - low), joint.spread[axis]);
        const double pace = 1.1 + 0.37 * static_cast<double>((3 * j + axis) % 7);
        turn[axis] = 0.5 * (high + low) * (joint.spread[axis] > 20 ? 1 : 0) +
                     0.5 * reach * std::sin(pace * seconds + static_cast<double>(j + axis));
    }
    return radiansOf(1) * turn;
}

inline Truth truthAt(const MarkerBody& body, double seconds,
                     const Quaterniond& heading = Quaterniond()) {
    const auto& joints = body.body.joints();
    std::vector<Quaterniond> world(joints.size());
    std::vector<Quaterniond> far(joints.size()); // below the twist
    Truth truth;
    for (std::size_t j = 0; j < joints.size(); ++j) {
        const Quaterniond own = fromRotationVector(turnAt(joints[j], j, seconds));
        if (joints[j].parent < 0) {
            world[j] = heading * own;
            truth.joints.push_back({0.3 * seconds, 0.2, 1 + 0.1 * std::sin(3 * seconds)});
        } else {
            const auto parent = static_cast<std::size_t>(joints[j].parent);
            world[j] = far[parent] * own;
            truth.joints.push_back(truth.joints[parent] + far[parent] * joints[j].offset);
        }
        const bool twists = joints[j].name.find("ForeArm") != std::string::npos;
        const double twist = twists ? 0.8 * std::sin(2 * seconds + static_cast<double>(j)) : 0;
        far[j] = world[j] * fromAxisAngle({1, 0, 0}, twist);
    }
    for (const BodyMarker& marker : body.markers) {
        const auto j = static_cast<std::size_t>(body.body.jointOf(marker.segment));
        const Quaterniond& turn = marker.turnsWithHand ? far[j] : world[j];
        truth.markers.push_back(truth.joints[j] + turn * marker.offset);
    }
    return truth;
}

inline std::vector<std::string> namesOf(const MarkerBody& body) {
    std::vector<std::string> names;
    for (const BodyMarker& marker : body.markers) {
        names.push_back(marker.name);
    }
    return names;
}

/// In millimetres, with noise of one standard deviation.
inline std::vector<Marker> markersOf(const Truth& truth, double noise, std::mt19937& random) {
    std::normal_distribution<double> normal(0, noise);
    std::vector<Marker> markers;
    for (const Vector3d& place : truth.markers) {
        const Vector3d off = {normal(random), normal(random), normal(random)};
        markers.push_back(Marker::at(toSingle(1000 * place + off)));
    }
    return markers;
}

inline std::shared_ptr<Frame> frameOf(std::vector<Marker> markers, unsigned index) {
    return std::make_shared<Frame>(Time(index, 100), markerDataType,
                                   MarkerFrame(std::move(markers)));
}

/// A body that differs from the generic one, with spreads as after a calibration.
inline MarkerBody someBody(const std::string& set = "cmu41") {
    MarkerBody body = MarkerBody::generic(MarkerSet::load(set), 1.70);
    for (BodyMarker& marker : body.markers) {
        marker.spread = 0.006;
    }
    return body;
}

inline MarkerSource sourceOf(const MarkerBody& body) { return {namesOf(body), 0.001}; }

/// The newest of what a solver put out.
template <class Payload>
const Payload& newest(Solver& solver, int type) {
    const auto sequence = solver.getOutput(type);
    return sequence->getFrame(sequence->frameCount() - 1)->template dataAs<Payload>();
}

inline const BodyPose& poseIn(Solver& solver) { return newest<BodyPose>(solver, bodyDataType); }
inline const MarkerFit& fitIn(Solver& solver) {
    return newest<MarkerFit>(solver, markerFitDataType);
}

/// How far a solved joint is from the truth, in millimetres.
inline double missOf(MarkerSolver& solver, const Truth& truth, const std::string& joint) {
    const auto& nodes = solver.rig()->nodes();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].name == joint) {
            const auto j = static_cast<std::size_t>(solver.body().body.jointOf(joint));
            return 1000 * lengthOf(toDouble(poseIn(solver).segments[i].position) - truth.joints[j]);
        }
    }
    return std::numeric_limits<double>::infinity();
}

inline constexpr const char* limbs[] = {"LeftUpLeg", "LeftLeg",   "LeftFoot", "RightUpLeg",
                                        "RightLeg",  "RightFoot", "LeftArm",  "LeftForeArm",
                                        "LeftHand",  "RightArm",  "RightHand"};

inline double worstMissOf(MarkerSolver& solver, const Truth& truth) {
    double worst = 0;
    for (const char* joint : limbs) {
        worst = std::max(worst, missOf(solver, truth, joint));
    }
    return worst;
}

} // namespace solving_testing
