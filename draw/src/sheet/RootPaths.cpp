// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/RootPaths.h"

#include "plot/PathLabels.h"
#include "sheet/SubjectFacts.h"
#include "sheet/SubjectMark.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <cstdint>
#include <numeric>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarn::draw {

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

RootPaths::RootPaths(const std::vector<Subject>& subjects, const PoseSummary& summary, double width)
    : subjects_(subjects), summary_(summary),
      plan_(allOf(summary.rootPaths), bodyHeightOf(subjects), unitOf(subjects), width,
            upAxisOf(subjects)),
      width_(width) {}

double RootPaths::height() const { return plan_.height(); }

std::string RootPaths::heading() const {
    if (!isOne() || subjects_.front().rig->nodes().empty()) {
        return "Paths of the roots, seen from above";
    }
    const std::string root = kit::printable(subjects_.front().rig->nodes().front().name);
    return fmt::format("Path of {}, seen from above", root);
}

Colour RootPaths::colourOf(std::size_t subject) const {
    return isOne() ? colours::path : subjectColour(subject);
}

void RootPaths::draw(Canvas& canvas, Point corner) const {
    plan_.draw(canvas, corner, heading());
    const Box plot = plan_.plot(corner);
    for (std::size_t i = 0; i < subjects_.size(); ++i) {
        drawPath(canvas, plot, i);
    }
    if (isOne()) {
        drawNumbers(canvas, plot);
    } else {
        drawLegend(canvas, corner);
        for (std::size_t i = 0; i < subjects_.size(); ++i) {
            drawEnds(canvas, plot, i);
        }
    }
    plan_.drawFrame(canvas, corner);
}

void RootPaths::drawLegend(Canvas& canvas, Point corner) const {
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

std::vector<Point> RootPaths::pointsOf(const Box& plot, std::size_t subject) const {
    std::vector<Vector3f> roots;
    for (const PoseInstant& instant : summary_.instants) {
        if (!instant.bodies[subject].empty()) {
            roots.push_back(instant.bodies[subject].front());
        }
    }
    return plan_.pixels(plot, roots);
}

void RootPaths::drawPath(Canvas& canvas, const Box& plot, std::size_t subject) const {
    for (const std::vector<Point>& piece :
         piecesOf(plan_.pixels(plot, summary_.rootPaths[subject]))) {
        canvas.polylineInPieces(piece, 3, colourOf(subject));
    }
    for (const Point& point : pointsOf(plot, subject)) {
        canvas.disc(point, 6, colourOf(subject));
        canvas.disc(point, 3.5, colours::white);
    }
}

void RootPaths::drawEnds(Canvas& canvas, const Box& plot, std::size_t subject) const {
    const std::vector<Point> path = plan_.pixels(plot, summary_.rootPaths[subject]);
    if (!path.empty()) {
        drawSubjectSquare(canvas, path.back(), markRadius - 2, subject);
        drawSubjectDisc(canvas, path.front(), markRadius, subject);
    }
}

void RootPaths::drawNumbers(Canvas& canvas, const Box& plot) const {
    const std::vector<Point> points = pointsOf(plot, 0);
    if (points.empty()) {
        return;
    }
    const Point& end = points.back();
    canvas.fill({end.x - 8, end.y - 8, 16, 16}, colours::end);
    canvas.disc(points.front(), 8, colours::start);
    drawLabels(canvas, points, withoutShortSteps(plan_.pixels(plot, summary_.rootPaths.front())),
               plot);
}

} // namespace tarn::draw
