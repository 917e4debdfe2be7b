#include "ScaleBar.h"

#include <cmath>

namespace tarn::capture {

double roundLength(double limit) {
    const double power = std::pow(10, std::floor(std::log10(limit)));
    for (const double digit : {5, 2}) {
        if (digit * power <= limit) {
            return digit * power;
        }
    }
    return power;
}

void drawScaleBar(Canvas& canvas, Point rightEnd, double width, double scale,
                  const LengthUnit& unit) {
    const double length = roundLength(width / scale);
    const double pixels = length * scale;
    const Point leftEnd{rightEnd.x - pixels, rightEnd.y};
    constexpr double tick = 6;
    canvas.line(leftEnd, rightEnd, 2.5, colours::ink);
    for (const Point& end : {leftEnd, rightEnd}) {
        canvas.line({end.x, end.y - tick}, {end.x, end.y + tick}, 2.5, colours::ink);
    }
    canvas.text({rightEnd.x - pixels / 2, rightEnd.y - 12}, lengthText(length, unit), {18},
                Align::centre, colours::ink);
}

} // namespace tarn::capture
