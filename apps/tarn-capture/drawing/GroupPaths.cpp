// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/GroupPaths.h"

#include "drawing/PerformerMark.h"

#include <cmath>
#include <cstdint>
#include <numeric>
#include <set>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

constexpr double markRadius = 14;
constexpr Font legendFont{18};

std::vector<Vector3f> allOf(const std::vector<std::vector<Vector3f>>& paths) {
    std::vector<Vector3f> all;
    for (const std::vector<Vector3f>& path : paths) {
        all.insert(all.end(), path.begin(), path.end());
    }
    return all;
}

using Pieces = std::vector<std::vector<Point>>;

/// What of a path is not yet drawn when it comes there, as far as that can be seen at `size`
/// pixels.
Pieces newPieces(const std::vector<Point>& path, double size) {
    std::set<std::pair<std::int64_t, std::int64_t>> drawn;
    const auto isNew = [&drawn, size](double x, double y) {
        return drawn.emplace(std::llround(x / size), std::llround(y / size)).second;
    };
    Pieces pieces;
    Point last{};
    for (const Point& point : withoutShortSteps(path, size / 2)) {
        const bool newMiddle = isNew((last.x + point.x) / 2, (last.y + point.y) / 2);
        const bool newPoint = isNew(point.x, point.y);
        if (pieces.empty()) {
            pieces.push_back({point});
        } else if (newMiddle || newPoint) {
            if (pieces.back().empty()) {
                pieces.back().push_back(last);
            }
            pieces.back().push_back(point);
        } else if (!pieces.back().empty()) {
            pieces.emplace_back();
        }
        last = point;
    }
    return pieces;
}

/// The path, if it is a long one in no more steps than can be drawn in no time: a body that moves
/// on one floor for long comes to where it has been before.
Pieces piecesOf(const std::vector<Point>& path) {
    constexpr std::size_t most = 6000;
    if (path.size() <= most) {
        return {withoutShortSteps(path)};
    }
    const auto length = [](std::size_t sum, const std::vector<Point>& piece) {
        return sum + piece.size();
    };
    double size = 1;
    Pieces pieces = newPieces(path, size);
    while (std::accumulate(pieces.begin(), pieces.end(), std::size_t{0}, length) > most) {
        size *= 1.5;
        pieces = newPieces(path, size);
    }
    return pieces;
}

} // namespace

GroupPaths::GroupPaths(const std::vector<Performance>& performances, const GroupMotion& motion,
                       double width)
    : motion_(motion),
      plan_(allOf(motion.rootPaths), bodyHeightOf(performances), unitOf(performances), width),
      width_(width) {}

double GroupPaths::height() const { return plan_.height(); }

void GroupPaths::draw(Canvas& canvas, Point corner) const {
    plan_.draw(canvas, corner, "Paths of the roots, seen from above");
    drawLegend(canvas, corner);
    const Box plot = plan_.plot(corner);
    for (std::size_t i = 0; i < motion_.rootPaths.size(); ++i) {
        drawPath(canvas, plot, i);
    }
    for (std::size_t i = 0; i < motion_.rootPaths.size(); ++i) {
        drawEnds(canvas, plot, i);
    }
    plan_.drawFrame(canvas, corner);
}

void GroupPaths::drawLegend(Canvas& canvas, Point corner) const {
    const double y = corner.y + 26;
    double x = corner.x + width_ - 260;
    const auto name = [&](const char* text) {
        canvas.text({x, y}, text, legendFont, Align::right, colours::note);
        x -= canvas.textWidth(text, legendFont) + 16;
    };
    name("at the poses above");
    canvas.disc({x, y - 6}, 6, colours::note);
    canvas.disc({x, y - 6}, 3.5, colours::white);
    x -= 36;
    name("end");
    canvas.fill({x - 8, y - 14, 16, 16}, colours::note);
    x -= 40;
    name("start");
    canvas.disc({x, y - 6}, 9, colours::note);
}

void GroupPaths::drawPath(Canvas& canvas, const Box& plot, std::size_t performer) const {
    const Colour colour = performerColour(performer);
    for (const std::vector<Point>& piece :
         piecesOf(plan_.pixels(plot, motion_.rootPaths[performer]))) {
        canvas.polylineInPieces(piece, 3, colour);
    }
    for (const GroupInstant& instant : motion_.instants) {
        const std::vector<Vector3f>& body = instant.bodies[performer];
        if (body.empty()) {
            continue;
        }
        for (const Point& point : plan_.pixels(plot, {body.front()})) {
            canvas.disc(point, 6, colour);
            canvas.disc(point, 3.5, colours::white);
        }
    }
}

void GroupPaths::drawEnds(Canvas& canvas, const Box& plot, std::size_t performer) const {
    const std::vector<Point> path = plan_.pixels(plot, motion_.rootPaths[performer]);
    if (!path.empty()) {
        drawPerformerSquare(canvas, path.back(), markRadius - 2, performer);
        drawPerformerDisc(canvas, path.front(), markRadius, performer);
    }
}

} // namespace tarn::capture
