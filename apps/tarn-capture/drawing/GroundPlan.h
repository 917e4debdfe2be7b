// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"

#include <tarn/Rotation.h>
#include <tarn_kit/body/LengthUnit.h>

#include <string>
#include <vector>

namespace tarn::capture {

/// The ground seen from above, with axes and a grid to one scale in both directions, for drawing
/// paths on.
class GroundPlan {
public:
    /// Shows all of `positions` that are finite, but the sway of a body that stands stays small.
    GroundPlan(const std::vector<Vector3f>& positions, double bodyHeight, kit::LengthUnit unit,
               double width);

    /// In pixels, all included.
    double height() const;
    /// Where paths are drawn, if the plan is drawn at `corner`.
    Box plot(Point corner) const;
    /// The places of those positions that are finite.
    std::vector<Point> pixels(const Box& plot, const std::vector<Vector3f>& positions) const;

    /// Draws heading, grid and axes, all that is below the paths.
    void draw(Canvas& canvas, Point corner, const std::string& heading) const;
    /// Draws what is above the paths.
    void drawFrame(Canvas& canvas, Point corner) const;

private:
    /// A horizontal place in the world, along the two axes of the drawing.
    struct Place {
        double along;  ///< the axis that points to the right
        double across; ///< the axis that points up or down
    };

    Place placeOf(const Vector3f& position) const;
    Point pixel(const Box& plot, const Place& place) const;
    void drawHeading(Canvas& canvas, Point corner, const std::string& heading) const;
    void drawGrid(Canvas& canvas, const Box& plot) const;
    void drawAxisNames(Canvas& canvas, const Box& plot) const;

    kit::LengthUnit unit_;
    double width_;
    bool zToTheRight_; ///< then X points up; otherwise X to the right and Z down
    Place centre_{0, 0};
    double plotHeight_;
    double scale_; ///< pixels per unit
};

/// A path without the steps that are shorter than so many pixels: too short to be seen.
std::vector<Point> withoutShortSteps(const std::vector<Point>& path, double shortest = 0.5);

} // namespace tarn::capture
