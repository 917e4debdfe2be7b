// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"
#include "drawing/GroundPlan.h"
#include "drawing/GroupMotion.h"
#include "drawing/Performance.h"

#include <cstddef>

namespace tarn::capture {

/// The ways of all roots seen from above, with start and end, and where they were at the instants
/// of the motion.
class GroupPaths {
public:
    /// The motion must outlive the drawing.
    GroupPaths(const std::vector<Performance>& performances, const GroupMotion& motion,
               double width);

    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    void drawLegend(Canvas& canvas, Point corner) const;
    void drawPath(Canvas& canvas, const Box& plot, std::size_t performer) const;
    void drawEnds(Canvas& canvas, const Box& plot, std::size_t performer) const;

    const GroupMotion& motion_;
    GroundPlan plan_;
    double width_;
};

} // namespace tarn::capture
