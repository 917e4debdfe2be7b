// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Camera.h"
#include "drawing/Canvas.h"
#include "drawing/Motion.h"
#include "drawing/StickFigure.h"
#include "session/Take.h"

#include <cstddef>

namespace tarn::capture {

/// The body at each instant of a motion, in rows on a common ground and to one scale, with a
/// caption under each figure.
class FigureGrid {
public:
    /// Take and motion must outlive the grid.
    FigureGrid(const Take& take, const Motion& motion, double width);

    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    /// What the figures reach, in the unit of the take.
    struct Reach {
        double width;       ///< of the widest figure
        double top, bottom; ///< of the highest and the lowest, and of the ground
    };

    Reach reachOf() const;
    Box cell(Point corner, std::size_t i) const;
    void drawFigure(Canvas& canvas, const Box& cell, const Instant& instant) const;
    void drawCaption(Canvas& canvas, const Box& cell, std::size_t i) const;

    const Take& take_;
    const Motion& motion_;
    Camera camera_;
    StickFigure figure_;
    double width_;
    Reach reach_;
    double scale_; ///< pixels per unit
};

} // namespace tarn::capture
