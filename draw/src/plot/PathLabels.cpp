// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "plot/PathLabels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>

namespace tarn::draw {

namespace {

constexpr Font labelFont{18, true};
constexpr double closest = 26;   // points nearer to each other share a label
constexpr double clearance = 14; // between a point and its label
constexpr double lineHeight = 22;

/// A text that stands beside a point.
struct PathLabel {
    Point at;
    std::string text;
};

/// Points that share a label.
struct Group {
    Point at;
    std::vector<std::size_t> members; ///< ascending
};

/// "1-3, 8": numbers count from 1.
std::string numbersText(const std::vector<std::size_t>& members) {
    std::string text;
    for (std::size_t i = 0; i < members.size();) {
        std::size_t last = i;
        while (last + 1 < members.size() && members[last + 1] == members[last] + 1) {
            ++last;
        }
        text += (text.empty() ? "" : ", ") + std::to_string(members[i] + 1);
        if (last > i) {
            text += "\xE2\x80\x93" + std::to_string(members[last] + 1); // en dash
        }
        i = last + 1;
    }
    return text;
}

std::string groupText(const Group& group, std::size_t pointCount) {
    const bool start = group.members.front() == 0;
    const bool end = group.members.back() == pointCount - 1;
    const char* const ends = start && end ? " (start, end)" : start ? " (start)" : " (end)";
    return numbersText(group.members) + (start || end ? ends : "");
}

/// The box of a text of this width that stands beside `at` in direction (`dx`, `dy`) of -1, 0, 1.
Box beside(Point at, double dx, double dy, double width) {
    const double x = at.x + dx * (clearance + width / 2) - width / 2;
    const double y = at.y + dy * (clearance + lineHeight / 2) - lineHeight / 2;
    return {x, y, width, lineHeight};
}

bool contains(const Box& outer, const Box& inner) {
    return inner.x >= outer.x && inner.y >= outer.y && inner.right() <= outer.right() &&
           inner.bottom() <= outer.bottom();
}

/// Whether a straight line touches a box: what of the line is between two parallel sides of the box
/// must overlap what is between the other two.
bool touches(const Box& box, Point from, Point to) {
    double enters = 0;
    double leaves = 1;
    const auto clip = [&](double start, double way, double least, double most) {
        if (way == 0) {
            return start >= least && start <= most;
        }
        const double a = (least - start) / way;
        const double b = (most - start) / way;
        enters = std::max(enters, std::min(a, b));
        leaves = std::min(leaves, std::max(a, b));
        return enters <= leaves;
    };
    return clip(from.x, to.x - from.x, box.x, box.right()) &&
           clip(from.y, to.y - from.y, box.y, box.bottom());
}

/// How bad a place is: what it covers.
double badness(const Box& box, const std::vector<Box>& taken, const std::vector<Point>& path,
               const Box& area) {
    double bad = contains(area, box) ? 0 : 1e9;
    for (const Box& other : taken) {
        bad += box.overlaps(other) ? 1e6 : 0;
    }
    for (std::size_t i = 1; i < path.size(); ++i) {
        bad += touches(box, path[i - 1], path[i]) ? 1 : 0;
    }
    return bad;
}

Box bestPlace(Point at, double width, const std::vector<Box>& taken, const std::vector<Point>& path,
              const Box& area) {
    struct Direction {
        double dx, dy;
    };
    constexpr std::array<Direction, 8> directions{
        {{0, -1}, {1, -1}, {-1, -1}, {0, 1}, {1, 1}, {-1, 1}, {1, 0}, {-1, 0}}};
    Box best{};
    double least = HUGE_VAL;
    for (const Direction& direction : directions) {
        const Box box = beside(at, direction.dx, direction.dy, width);
        const double bad = badness(box, taken, path, area);
        if (bad < least) {
            least = bad;
            best = box;
        }
    }
    return best;
}

std::vector<PathLabel> labelsFor(const std::vector<Point>& points) {
    std::vector<Group> groups;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto near = std::find_if(groups.begin(), groups.end(), [&](const Group& group) {
            return std::hypot(group.at.x - points[i].x, group.at.y - points[i].y) < closest;
        });
        if (near == groups.end()) {
            groups.push_back({points[i], {i}});
        } else {
            near->members.push_back(i);
        }
    }
    std::vector<PathLabel> labels;
    labels.reserve(groups.size());
    for (const Group& group : groups) {
        labels.push_back({group.at, groupText(group, points.size())});
    }
    return labels;
}

} // namespace

void drawLabels(Canvas& canvas, const std::vector<Point>& points, const std::vector<Point>& path,
                const Box& area) {
    std::vector<Box> taken;
    taken.reserve(2 * points.size());
    for (const Point& point : points) {
        taken.push_back({point.x - 9, point.y - 9, 18, 18});
    }
    for (const PathLabel& label : labelsFor(points)) {
        const double width = canvas.textWidth(label.text, labelFont);
        const Box box = bestPlace(label.at, width, taken, path, area);
        taken.push_back(box);
        canvas.haloText({box.x, box.bottom() - 5}, label.text, labelFont, colours::ink);
    }
}

} // namespace tarn::draw
