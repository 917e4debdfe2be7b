#pragma once

#include "Canvas.h"
#include "Motion.h"
#include "Take.h"

#include <vector>

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
    /// A horizontal place in the world, along the two axes of the drawing.
    struct Place {
        double along;  ///< the axis that points to the right
        double across; ///< the axis that points up or down
    };

    Place placeOf(const Vector3f& position) const;
    Point pixel(const Box& plot, const Place& place) const;
    std::vector<Point> pixels(const Box& plot, const std::vector<Vector3f>& positions) const;
    /// The point of the path at each instant.
    std::vector<Point> marks(const Box& plot) const;

    void drawHeading(Canvas& canvas, Point corner) const;
    void drawGrid(Canvas& canvas, const Box& plot) const;
    void drawAxisNames(Canvas& canvas, const Box& plot) const;
    void drawMarks(Canvas& canvas, const Box& plot) const;

    const Take& take_;
    const Motion& motion_;
    double width_;
    bool zToTheRight_; ///< then X points up; otherwise X to the right and Z down
    Place centre_{0, 0};
    double plotHeight_;
    double scale_; ///< pixels per unit
};

} // namespace tarn::capture
