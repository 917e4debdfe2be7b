// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Canvas.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Space.h>

#include <string>
#include <vector>

namespace tarn::draw {

/// The ground (X and Z of a world with Y up) seen from above, with axes and a grid to one scale in
/// both directions, for drawing paths on. The longer of the two ways goes to the right: either X to
/// the right and Z down, or Z to the right and X up.
///
/// First `draw`, then the paths through `pixels`, then `drawFrame`, all with the same corner.
class TARN_DRAW_EXPORT GroundPlan {
public:
    /// Shows all of `positions` that are finite, but the sway of a body that stands stays small: so
    /// small as `bodyHeight`, which is in the same unit and finite, makes it. `width` is in pixels,
    /// all included, at least 500.
    /// `up` is the axis that was up before positions were turned to have Y up, as `positionsAt`
    /// does: the axes bear the names that they had.
    GroundPlan(const std::vector<Vector3f>& positions, double bodyHeight, kit::LengthUnit unit,
               double width, kit::UpAxis up = kit::UpAxis::Y);

    /// In pixels, all included.
    double height() const;
    /// Where paths are drawn, if the plan is drawn at `corner`.
    Box plot(Point corner) const;
    /// The places in `plot` of those positions that are finite, in their order.
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
    kit::UpAxis up_;
};

/// A path without the steps that are shorter than so many pixels: too short to be seen.
TARN_DRAW_EXPORT std::vector<Point> withoutShortSteps(const std::vector<Point>& path,
                                                      double shortest = 0.5);

} // namespace tarn::draw
