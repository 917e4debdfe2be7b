// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"

#include <tarn_kit/body/Rig.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::capture {

/// The sign that curves bear here and there, so that they are told apart without colour, too.
enum class CurveSign { none, disc, ring, square, frame };

struct CurveStyle {
    Colour colour;
    double width;
    CurveSign sign;
};

/// A joint that stands for a part of the body.
struct TrackedJoint {
    std::string label; ///< printable
    std::size_t node;  ///< of the rig
    CurveStyle style;
};

/// Head, first root, hands and feet, as far as the names of the joints tell which these are; if
/// they tell nothing, the first root and the first ends of chains. At most six.
std::vector<TrackedJoint> trackedJoints(const kit::Rig& rig);

} // namespace tarn::capture
