// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"
#include "drawing/GroundPlan.h"
#include "drawing/Motion.h"
#include "session/Take.h"

namespace tarn::capture {

/// The way of the root seen from above, with axes, and the instants of the motion marked on it.
class RootPath {
public:
    /// Take and motion must outlive the drawing.
    RootPath(const Take& take, const Motion& motion, double width);

    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    void drawMarks(Canvas& canvas, const Box& plot) const;

    const Take& take_;
    const Motion& motion_;
    GroundPlan plan_;
};

} // namespace tarn::capture
