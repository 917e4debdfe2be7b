// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Camera.h"
#include "drawing/Canvas.h"
#include "drawing/GroupMotion.h"
#include "drawing/Performance.h"
#include "drawing/StickFigure.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace tarn::capture {

/// All bodies at each instant of a session, in rows of cells, to one scale and seen from one place.
/// Every cell shows the same part of the space; where that would make the figures too small, it
/// goes along with them.
class GroupFigures {
public:
    /// Performances and motion must outlive the drawing.
    GroupFigures(const std::vector<Performance>& performances, const GroupMotion& motion,
                 double width);

    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    /// A part of the floor: to the right in the picture, and towards the eye.
    struct Area {
        double left, right, far, near;
    };
    /// What cells show around the middle of their floor, in the unit of the session.
    struct Reach {
        double width, depth; ///< of the floor
        double top, bottom;  ///< in the picture
    };
    using Place = std::function<Point(const Seen&)>;

    Area areaOf(const GroupInstant& instant) const;
    void chooseMiddles();
    Reach reachOf() const;
    double cellWidth() const;
    Box cell(Point corner, std::size_t i) const;
    /// Where things are in a cell.
    Place placeIn(const Box& cell, std::size_t i) const;
    void drawFloor(Canvas& canvas, const Box& cell, std::size_t i) const;
    void drawTiles(Canvas& canvas, const Place& place, const Vector3f& middle) const;
    void drawBodies(Canvas& canvas, const Place& place, const GroupInstant& instant) const;
    void drawCaption(Canvas& canvas, const Box& cell, std::size_t i) const;

    const std::vector<Performance>& performances_;
    const GroupMotion& motion_;
    Camera camera_;
    Camera level_; ///< from the same side
    std::vector<StickFigure> figures_;
    double width_;
    double bodyHeight_;
    bool follows_ = false;          ///< whether the cells go along with the figures
    std::vector<Vector3f> middles_; ///< of the floor of each cell
    Reach reach_{};
    std::size_t cellsPerRow_ = 4;
    double scale_; ///< pixels per unit
};

} // namespace tarn::capture
