// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>

#include "body/Kinematics.h"

#include <cstddef>

namespace tarn::kit {

/// The turn and the shift that bring the points `from` nearest to the points `to`, in the sense of
/// the least (weighted) sum of squares: `to[i]` is near `position + rotation * from[i]`. Points on
/// one line leave the turn about it open, and one such turn is taken. Never a reflection.
///
/// Horn, "Closed-form solution of absolute orientation using unit quaternions", 1987.
///
/// `weights` may be null: then all are 1. Precondition: `count` is at least 1, weights are not
/// negative and not all 0.
Transform rigidFit(const Vector3d* from, const Vector3d* to, std::size_t count,
                   const double* weights = nullptr);

} // namespace tarn::kit
