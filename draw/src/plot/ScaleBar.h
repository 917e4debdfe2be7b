// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/canvas/Canvas.h>
#include <tarn_kit/body/LengthUnit.h>

#include <vector>

namespace tarn::draw {

/// The largest of 1, 2, 5, 10, 20, ... (and of 0.5, 0.2, ...) that is not greater than `limit`.
/// Precondition: `limit` is greater than 0 and finite.
double roundLength(double limit);

/// The multiples of `step` from `least` to `most`, for the lines of a grid: each as exact as can
/// be, since no error adds up. Precondition: `step` is no smaller than a 1e12th of either.
std::vector<double> multiplesOf(double step, double least, double most);

/// Draws a bar of a round length with its length written above it. `scale` is in pixels per unit;
/// the bar is at most `width` pixels wide and ends at `rightEnd`.
void drawScaleBar(Canvas& canvas, Point rightEnd, double width, double scale,
                  const kit::LengthUnit& unit);

} // namespace tarn::draw
