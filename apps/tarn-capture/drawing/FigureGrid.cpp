// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/FigureGrid.h"

#include "drawing/ScaleBar.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

constexpr std::size_t figuresPerRow = 4;
constexpr double headingHeight = 70;
constexpr double captionHeight = 84;
constexpr double tallestFigure = 400;
constexpr double gap = 40; // between the widest figures of neighbouring cells

constexpr Font headingFont{26, true};
constexpr Font legendFont{18};

/// What the colours mean, from the right to the left.
void drawLegend(Canvas& canvas, Point rightEnd) {
    struct Entry {
        const char* text;
        Colour colour;
    };
    double x = rightEnd.x;
    for (const Entry& entry :
         {Entry{"ground", colours::ground}, Entry{"root", colours::path},
          Entry{"middle", colourOf(Side::centre)}, Entry{"right limbs", colourOf(Side::right)},
          Entry{"left limbs", colourOf(Side::left)}}) {
        canvas.text({x, rightEnd.y}, entry.text, legendFont, Align::right, colours::note);
        x -= canvas.textWidth(entry.text, legendFont) + 12;
        canvas.line({x - 24, rightEnd.y - 6}, {x, rightEnd.y - 6}, 6, entry.colour);
        x -= 54;
    }
}

} // namespace

FigureGrid::FigureGrid(const Take& take, const Motion& motion, double width)
    : take_(take), motion_(motion), camera_(headingOf(motion.rootPath, take.bodyHeight() / 2)),
      figure_(take.rig()), width_(width), reach_(reachOf()),
      scale_(std::min((width / figuresPerRow - gap) / reach_.width,
                      tallestFigure / (reach_.top - reach_.bottom))) {}

FigureGrid::Reach FigureGrid::reachOf() const {
    Reach reach{0, motion_.ground, motion_.ground};
    for (const Instant& instant : motion_.instants) {
        const Extent extent = figure_.extentOf(camera_.see(instant.positions));
        reach.width = std::max(reach.width, extent.right - extent.left);
        reach.top = std::max(reach.top, extent.top);
        reach.bottom = std::min(reach.bottom, extent.bottom);
    }
    // A body without width or height gets some space too.
    const double size = std::max({reach.width, std::abs(reach.top), std::abs(reach.bottom)});
    const double least = size > 0 ? size * 1e-3 : 1;
    reach.width = std::max(reach.width, least);
    reach.top = std::max(reach.top, reach.bottom + least);
    return reach;
}

double FigureGrid::height() const {
    const std::size_t rows = (motion_.instants.size() + figuresPerRow - 1) / figuresPerRow;
    return headingHeight + static_cast<double>(rows) * cell({0, 0}, 0).height;
}

Box FigureGrid::cell(Point corner, std::size_t i) const {
    const double width = width_ / figuresPerRow;
    const double height = (reach_.top - reach_.bottom) * scale_ + captionHeight;
    const std::size_t column = i % figuresPerRow;
    const std::size_t row = i / figuresPerRow;
    return {corner.x + static_cast<double>(column) * width,
            corner.y + headingHeight + static_cast<double>(row) * height, width, height};
}

void FigureGrid::draw(Canvas& canvas, Point corner) const {
    const Point base{corner.x, corner.y + headingFont.size};
    canvas.text(base, "Poses, three-quarter view, one scale", headingFont, Align::left,
                colours::ink);
    drawLegend(canvas, {corner.x + width_ - 260, base.y});
    drawScaleBar(canvas, {corner.x + width_ - 10, base.y - 4}, 220, scale_, take_.unit());
    for (std::size_t i = 0; i < motion_.instants.size(); ++i) {
        const Box box = cell(corner, i);
        if (i % figuresPerRow == 0) {
            const double ground = box.y + (reach_.top - motion_.ground) * scale_;
            canvas.line({box.x, ground}, {box.x + width_, ground}, 3, colours::ground);
        }
        drawFigure(canvas, box, motion_.instants[i]);
        drawCaption(canvas, box, i);
    }
}

void FigureGrid::drawFigure(Canvas& canvas, const Box& cell, const Instant& instant) const {
    const std::vector<Seen> nodes = camera_.see(instant.positions);
    const Extent extent = figure_.extentOf(nodes);
    const double middle = (extent.left + extent.right) / 2;
    const auto place = [&](const Seen& at) {
        return Point{cell.x + cell.width / 2 + (at.right - middle) * scale_,
                     cell.y + (reach_.top - at.up) * scale_};
    };
    figure_.draw(canvas, nodes, scale_, place);
}

void FigureGrid::drawCaption(Canvas& canvas, const Box& cell, std::size_t i) const {
    const double middle = cell.x + cell.width / 2;
    const double top = cell.bottom() - captionHeight;
    canvas.text({middle, top + 32}, std::to_string(i + 1), {22, true}, Align::centre, colours::ink);
    canvas.text({middle, top + 56}, captionOf(motion_.instants[i]), {18}, Align::centre,
                colours::note);
}

} // namespace tarn::capture
