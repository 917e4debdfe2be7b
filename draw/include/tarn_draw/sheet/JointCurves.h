// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/plot/CurvePanel.h>
#include <tarn_draw/plot/TrackedJoints.h>
#include <tarn_draw/sheet/Subject.h>

#include <vector>

namespace tarn::draw {

/// What is plotted of one performer: one curve of each kind per joint, in their order.
struct JointCurves {
    std::vector<TrackedJoint> joints;
    std::vector<Curve> heights; ///< along Y, in the unit of the session
    /// In units per second: the way from two frames before to two frames after, divided by its
    /// time. At both ends of a subject, as much of that as there is.
    std::vector<Curve> speeds;
};

/// The heights and speeds of a subject's tracked joints over `frames` frames at `rate` per second
/// (greater than 0); not a number where there is none.
TARN_DRAW_EXPORT JointCurves jointCurvesOf(const Subject& subject, int frames, double rate);

} // namespace tarn::draw
