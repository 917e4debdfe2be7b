// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Canvas.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace tarn::draw {

/// The sign that curves bear here and there, so that they are told apart without colour, too.
enum class CurveSign : std::uint8_t { none, disc, ring, square, frame };

/// How a curve looks.
struct CurveStyle {
    Colour colour;
    double width; ///< of its line, in pixels
    CurveSign sign;
};

/// A quantity over the frames of a session; not a number where there is none.
struct Curve {
    std::vector<double> values; ///< frame by frame
    CurveStyle style;
};

/// From the least to the greatest of some values; those that are not finite do not count.
struct ValueRange {
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();

    void include(double value) {
        if (std::isfinite(value)) {
            least = std::min(least, value);
            most = std::max(most, value);
        }
    }
    bool isEmpty() const { return most < least; }
    /// The same with some room around it; 0 to 1 if it is empty.
    ValueRange widened() const {
        if (isEmpty()) {
            return {0, 1};
        }
        // What single precision makes of one value is not blown up to fill a panel.
        const double farthest = std::max(std::abs(least), std::abs(most));
        const double missing = std::max(farthest * 1e-3 - (most - least), 0.0);
        const double room = (most - least) * 0.06 + missing;
        return room > 0 ? ValueRange{least - room, most + room} : ValueRange{least - 1, most + 1};
    }
};

/// How many frames are drawn as one in plots of so many frames: as the mean of their values, in
/// front of a band from the least to the greatest one. 1 up to 2,000 frames.
TARN_DRAW_EXPORT std::size_t framesPerSpan(int frames);

/// Curves over time, with axes. All panels of a page share the time, and those of one quantity
/// their range, so that they can be compared.
class TARN_DRAW_EXPORT CurvePanel {
public:
    /// The curves must outlive the panel. `range` is not empty; `frames` and `rate` (frames per
    /// second) are at least 1.
    CurvePanel(const std::vector<Curve>& curves, const ValueRange& range, int frames, double rate);

    /// Draws into `plot`; the numbers and the name of the vertical axis go to the left of it, where
    /// they take 110 pixels. The first frame is at the left edge, the last one at the right edge.
    void draw(Canvas& canvas, const Box& plot, const std::string& axisName) const;
    /// Writes seconds below `plot`, where they take 60 pixels.
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
    double rate_;
};

/// Draws a piece of a curve from `left` on, `length` pixels long, as a legend shows it.
TARN_DRAW_EXPORT void drawCurveSample(Canvas& canvas, Point left, double length,
                                      const CurveStyle& style);

} // namespace tarn::draw
