// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "plot/ScaleBar.h"

#include <cmath>
#include <cstdint>

namespace tarn::draw {

double roundLength(double limit) {
    const double power = std::pow(10, std::floor(std::log10(limit)));
    for (const double digit : {5, 2}) {
        if (digit * power <= limit) {
            return digit * power;
        }
    }
    return power;
}

std::vector<double> multiplesOf(double step, double least, double most) {
    std::vector<double> values;
    const auto last = static_cast<std::int64_t>(std::floor(most / step));
    for (auto i = static_cast<std::int64_t>(std::ceil(least / step)); i <= last; ++i) {
        values.push_back(static_cast<double>(i) * step);
    }
    return values;
}

void drawScaleBar(Canvas& canvas, Point rightEnd, double width, double scale,
                  const kit::LengthUnit& unit) {
    const double length = roundLength(width / scale);
    const double pixels = length * scale;
    const Point leftEnd{rightEnd.x - pixels, rightEnd.y};
    constexpr double tick = 6;
    canvas.line(leftEnd, rightEnd, 2.5, colours::ink);
    for (const Point& end : {leftEnd, rightEnd}) {
        canvas.line({end.x, end.y - tick}, {end.x, end.y + tick}, 2.5, colours::ink);
    }
    canvas.text({rightEnd.x - pixels / 2, rightEnd.y - 12}, kit::lengthText(length, unit), {18},
                Align::centre, colours::ink);
}

} // namespace tarn::draw
