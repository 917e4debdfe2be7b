// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "markers/MarkerScene.h"

#include <tarn_draw/canvas/Canvas.h>
#include <tarn_draw/figure/Camera.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::draw {

/// The cloud of markers at some instants, in rows of cells of one scale, each around the middle of
/// its cloud.
class CloudFigures {
public:
    /// The scene must outlive this.
    CloudFigures(const MarkerScene& scene, double width);

    double height() const;
    void draw(Canvas& canvas, Point corner) const;
    /// The instants, as indexes of frames.
    const std::vector<int>& frames() const { return frames_; }
    /// The number of the frame and its time.
    std::string caption(int frame) const;

private:
    /// The frames in which a cloud can be drawn, evenly spaced.
    std::vector<int> chooseFrames() const;
    void drawCell(Canvas& canvas, const Box& cell, std::size_t index) const;
    void drawTrails(Canvas& canvas, const Box& cell, int frame, const Seen& centre) const;
    Point pixel(const Box& cell, const Seen& at, const Seen& centre) const;

    const MarkerScene& scene_;
    double width_;
    std::vector<int> frames_;
    Camera camera_;
    double scale_ = 1; ///< pixels per unit
    double top_ = 0;   ///< how far clouds reach above their middles, and below them
    double bottom_ = 0;
};

} // namespace tarn::draw
