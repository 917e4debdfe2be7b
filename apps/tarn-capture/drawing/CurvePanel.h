// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"
#include "drawing/TrackedJoints.h"

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace tarn::capture {

/// A quantity over the frames of a session; not a number where there is none.
struct Curve {
    std::vector<double> values;
    CurveStyle style;
};

/// From the least to the greatest of some values; those that are not finite do not count.
struct ValueRange {
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();

    void include(double value);
    bool isEmpty() const { return most < least; }
    /// The same with some room around it; 0 to 1 if it is empty.
    ValueRange widened() const;
};

/// How many frames are drawn as one in plots of so many frames: as the mean of their values, in
/// front of a band from the least to the greatest one.
std::size_t framesPerSpan(int frames);

/// Curves over time, with axes. All panels of a page share the time, and those of one quantity
/// their range, so that they can be compared.
class CurvePanel {
public:
    /// The curves must outlive the panel. `range` is not empty; `frames` and `rate` are at least 1.
    CurvePanel(const std::vector<Curve>& curves, const ValueRange& range, int frames, int rate);

    /// Draws into `plot`; the numbers and the name of the vertical axis go to the left of it.
    void draw(Canvas& canvas, const Box& plot, const std::string& axisName) const;
    /// Writes seconds below `plot`.
    void drawTimes(Canvas& canvas, const Box& plot) const;

private:
    double lastSecond() const;
    Point pixel(const Box& plot, double seconds, double value) const;
    void drawGrid(Canvas& canvas, const Box& plot) const;
    void drawBands(Canvas& canvas, const Box& plot, const Curve& curve) const;
    void drawLines(Canvas& canvas, const Box& plot, const Curve& curve) const;
    void drawSigns(Canvas& canvas, const Box& plot, const Curve& curve, double start) const;

    const std::vector<Curve>& curves_;
    ValueRange range_;
    int frames_;
    int rate_;
};

/// Draws a piece of a curve from `left` on, `length` pixels long, as a legend shows it.
void drawCurveSample(Canvas& canvas, Point left, double length, const CurveStyle& style);

} // namespace tarn::capture
