#pragma once

#include "Canvas.h"
#include "GroundPlan.h"
#include "Motion.h"
#include "Take.h"

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
