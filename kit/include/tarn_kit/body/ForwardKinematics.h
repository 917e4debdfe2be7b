// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>

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

} // namespace tarn::kit
