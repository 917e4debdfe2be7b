// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>

#include <memory>

namespace tarn::kit {

/// The same rig with all lengths multiplied by `factor`; its space stays as it is.
/// Precondition: `factor` is finite and greater than 0.
TARN_KIT_EXPORT std::shared_ptr<Rig> scaledRig(const Rig& rig, double factor);

/// The same pose for that rig: positions are multiplied, rotations stay. Precondition: `pose` has
/// `rig.valueCount()` values.
TARN_KIT_EXPORT Pose scaledPose(const Rig& rig, const Pose& pose, double factor);

} // namespace tarn::kit
