// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "markers/MarkerScene.h"

#include <tarn_draw/canvas/Canvas.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::draw {

/// A row for each marker, with a bar where it was seen; bars are lighter where it was filled in.
class SightChart {
public:
    /// The scene must outlive this.
    SightChart(const MarkerScene& scene, double width);

    double height() const;
    void draw(Canvas& canvas, Point corner) const;
    /// How many markers were seen in all frames, in words.
    std::string summary() const;

private:
    /// Frames in a row of one state.
    struct Run {
        int first;
        int last;
        kit::MarkerState state;
    };

    void findRuns();
    void drawRow(Canvas& canvas, const Box& row, std::size_t marker) const;
    void drawAxis(Canvas& canvas, const Box& plot) const;

    const MarkerScene& scene_;
    double width_;
    std::size_t rows_;
    double rowHeight_;
    std::vector<std::vector<Run>>
        runs_;              ///< per marker; those in which it was not seen are left out
    std::vector<int> seen_; ///< in how many frames
};

} // namespace tarn::draw
