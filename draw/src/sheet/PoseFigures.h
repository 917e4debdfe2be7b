// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "sheet/PoseSummary.h"
#include "sheet/PoseView.h"

#include <tarn_draw/canvas/Canvas.h>
#include <tarn_draw/figure/StickFigure.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace tarn::draw {

/// All bodies at each instant of a session, as they stand on their floor, in rows of cells. One
/// subject is drawn in the colours of its sides, several in a colour each.
class PoseFigures {
public:
    /// Subjects and summary must outlive the drawing.
    PoseFigures(const std::vector<Subject>& subjects, const PoseSummary& summary, double width);
    PoseFigures(const PoseFigures&) = delete;
    PoseFigures& operator=(const PoseFigures&) = delete;
    ~PoseFigures() = default;

    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    using Place = std::function<Point(const Seen&)>;

    bool isOne() const { return figures_.size() == 1; }
    double cellWidth() const;
    Box cell(Point corner, std::size_t i) const;
    /// Where things are in a cell.
    Place placeIn(const Box& cell, std::size_t i) const;
    void drawHeading(Canvas& canvas, Point corner) const;
    void drawFloor(Canvas& canvas, const Box& cell, std::size_t i) const;
    void drawTiles(Canvas& canvas, const Place& place, const Vector3f& middle) const;
    void drawBodies(Canvas& canvas, const Place& place, const PoseInstant& instant) const;
    void drawCaption(Canvas& canvas, const Box& cell, std::size_t i) const;

    const std::vector<Subject>& subjects_;
    const PoseSummary& summary_;
    double bodyHeight_;
    std::vector<StickFigure> figures_;
    PoseView view_;
    double width_;
    std::size_t cellsPerRow_;
    double scale_; ///< pixels per unit
};

} // namespace tarn::draw
