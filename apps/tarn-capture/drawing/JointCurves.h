// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/CurvePanel.h"
#include "drawing/Performance.h"
#include "drawing/TrackedJoints.h"

#include <vector>

namespace tarn::capture {

/// What is plotted of one performer: one curve of each kind per joint, in their order.
struct JointCurves {
    std::vector<TrackedJoint> joints;
    std::vector<Curve> heights; ///< along Y, in the unit of the session
    /// In units per second: the way from two frames before to two frames after, divided by its
    /// time. At both ends of a performance, as much of that as there is.
    std::vector<Curve> speeds;
};

JointCurves jointCurvesOf(const Performance& performance, int frames, int rate);

} // namespace tarn::capture
