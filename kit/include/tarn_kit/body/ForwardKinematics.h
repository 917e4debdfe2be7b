// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Rotations.h>

#include <vector>

namespace tarn::kit {

/// Where every node of `rig` is in the world for `pose`: one position per node, in node order, in
/// the rig's length unit.
///
/// A joint's transform relative to its parent is the translation by its offset plus its position
/// channels, then its rotations in the order in which its channels list them (each about an axis
/// that the ones before it have turned). Computed in double precision, rounded once at the end.
///
/// Precondition: `pose` has `rig.valueCount()` values.
TARN_KIT_EXPORT std::vector<Vector3f> worldPositions(const Rig& rig, const Pose& pose);

/// Where every node is and how it is turned in the world: what a `ForwardKinematicsSolver` without
/// scale and smoothing makes of the pose. Precondition: as above.
TARN_KIT_EXPORT BodyPose worldPose(const Rig& rig, const Pose& pose);

/// The same from how every node is turned relative to its parent, a root relative to the world: for
/// solvers that know rotations and no channels, and the inverse of `localRotations`. Joints are at
/// their offsets, and roots are moved from theirs by `moved`, in the rig's length unit. Rotations
/// are of length 1. Precondition: there is one rotation per node of `rig`, end sites included.
TARN_KIT_EXPORT BodyPose worldPose(const Rig& rig, const std::vector<Quaterniond>& localRotations,
                                   const Vector3d& moved = {});

/// How every node is turned relative to its parent, a root relative to the world; no rotation for
/// an end site. In double precision: what the channels say, and nothing of how they say it.
/// Precondition: as above.
TARN_KIT_EXPORT std::vector<Quaterniond> localRotations(const Rig& rig, const Pose& pose);

} // namespace tarn::kit
