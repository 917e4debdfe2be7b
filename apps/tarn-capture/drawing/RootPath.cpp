// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/RootPath.h"

#include "drawing/PathLabels.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <vector>

namespace tarn::capture {

namespace {

/// Where the root is at each instant.
std::vector<Vector3f> rootsOf(const std::vector<Instant>& instants) {
    std::vector<Vector3f> positions;
    positions.reserve(instants.size());
    for (const Instant& instant : instants) {
        positions.push_back(instant.positions.front());
    }
    return positions;
}

} // namespace

RootPath::RootPath(const Take& take, const Motion& motion, double width)
    : take_(take), motion_(motion), plan_(motion.rootPath, take.bodyHeight(), take.unit(), width) {}

double RootPath::height() const { return plan_.height(); }

void RootPath::draw(Canvas& canvas, Point corner) const {
    const std::string root = kit::printable(take_.rig().nodes().front().name);
    plan_.draw(canvas, corner, fmt::format("Path of {}, seen from above", root));
    drawMarks(canvas, plan_.plot(corner));
    plan_.drawFrame(canvas, corner);
}

void RootPath::drawMarks(Canvas& canvas, const Box& plot) const {
    const std::vector<Point> path = withoutShortSteps(plan_.pixels(plot, motion_.rootPath));
    const std::vector<Point> points = plan_.pixels(plot, rootsOf(motion_.instants));
    if (points.empty()) {
        return;
    }
    canvas.polyline(path, 3, colours::path);
    for (const Point& point : points) {
        canvas.disc(point, 6, colours::path);
        canvas.disc(point, 3.5, colours::white);
    }
    const Point& end = points.back();
    canvas.fill({end.x - 8, end.y - 8, 16, 16}, colours::end);
    canvas.disc(points.front(), 8, colours::start);
    drawLabels(canvas, points, path, plot);
}

} // namespace tarn::capture
