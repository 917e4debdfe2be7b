// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "sheet/PoseSummary.h"

#include <tarn_draw/canvas/Canvas.h>
#include <tarn_draw/plot/GroundPlan.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::draw {

/// The ways of all roots seen from above, with start and end, and where they were at the instants
/// of the summary: numbered for one subject, in a colour each for several.
class RootPaths {
public:
    /// Subjects and summary must outlive the drawing.
    RootPaths(const std::vector<Subject>& subjects, const PoseSummary& summary, double width);

    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    bool isOne() const { return subjects_.size() == 1; }
    std::string heading() const;
    Colour colourOf(std::size_t subject) const;
    /// Where the root of a subject is at the instants at which it is anywhere.
    std::vector<Point> pointsOf(const Box& plot, std::size_t subject) const;
    void drawLegend(Canvas& canvas, Point corner) const;
    void drawPath(Canvas& canvas, const Box& plot, std::size_t subject) const;
    void drawEnds(Canvas& canvas, const Box& plot, std::size_t subject) const;
    /// Start, end and numbers of the only subject.
    void drawNumbers(Canvas& canvas, const Box& plot) const;

    const std::vector<Subject>& subjects_;
    const PoseSummary& summary_;
    GroundPlan plan_;
    double width_;
};

} // namespace tarn::draw
