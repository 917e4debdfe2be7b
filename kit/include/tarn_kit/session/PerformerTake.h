// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/session/Rate.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::kit {

/// What one performer did, for what shows takes to people or hands them to other programs. Several
/// of them share one clock, which starts with the first frame of each, and one space.
struct PerformerTake {
    std::string name;               ///< any text
    std::shared_ptr<const Rig> rig; ///< not null; its space says what lengths and axes mean
    /// Frames of `bodyDataType`, or else of `poseDataType`, by their index; slots may be empty. Not
    /// null, and not changed while it is used.
    std::shared_ptr<Tracks> take;
    Rate rate;                   ///< by which times are told, whatever the take's own rate says
    std::int64_t firstFrame = 0; ///< the number of the frame of index 0, for timecodes
    std::string source;          ///< where it comes from: any text, may be empty
};

/// The solved body of a frame, or where the frame's pose puts the rig; in the rig's own unit and
/// axes. Nothing where the take has neither, or one of another rig.
TARN_KIT_EXPORT std::optional<BodyPose> bodyAt(const Rig& rig, Tracks& take, int frame);

/// How a node is turned and where it is, relative to its parent.
struct JointTransform {
    Quaterniond rotation; ///< of length 1
    Vector3d position;    ///< in metres
};

/// The nodes of a frame relative to their parents (roots: to the world), in a world with Y up whose
/// unit is the metre: a unit of the rig is `metres`. Of a pose, in double precision by way of its
/// channels; what does not move there does not move here. Nothing where `bodyAt` is nothing.
TARN_KIT_EXPORT std::optional<std::vector<JointTransform>> jointsAt(const PerformerTake& performer,
                                                                    double metres, int frame);

/// How many metres a unit of each performer's lengths is. Of units that are not known, all are
/// taken to be the same, such that the first body among them is as tall as an adult, `adultHeight`;
/// a metre where that has no height.
TARN_KIT_EXPORT std::vector<double> metresPerUnit(const std::vector<PerformerTake>& performers);

/// In metres.
inline constexpr double adultHeight = 1.75;

} // namespace tarn::kit
