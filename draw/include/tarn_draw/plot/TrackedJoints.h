// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/plot/CurvePanel.h>
#include <tarn_kit/body/Rig.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::draw {

/// A joint that stands for a part of the body.
struct TrackedJoint {
    std::string label; ///< printable
    std::size_t node;  ///< of the rig
    CurveStyle style;
};

/// Head, first root, hands and feet, as far as the names of the joints tell which these are; if
/// they tell nothing, the first root and the first ends of chains. At most six, the root first
/// unless it is one of the others; none of a rig without nodes.
TARN_DRAW_EXPORT std::vector<TrackedJoint> trackedJoints(const kit::Rig& rig);

} // namespace tarn::draw
