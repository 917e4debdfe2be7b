// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/GroupFigures.h"

#include "drawing/Motion.h"
#include "drawing/PerformerMark.h"
#include "drawing/ScaleBar.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace tarn::capture {

namespace {

constexpr double headingHeight = 70;
constexpr double captionHeight = 84;
constexpr double tallestCell = 480;
constexpr double gap = 12;         // between neighbouring cells
constexpr double lookingDown = 14; // degrees
constexpr double thinnestLine = 2;
constexpr double widestLine = 6;

constexpr Font headingFont{26, true};

/// The direction along which the bodies stand apart most, from the first one to the last one.
Heading groupHeading(const GroupMotion& motion, double shortest) {
    double xx = 0;
    double xz = 0;
    double zz = 0;
    double wayX = 0;
    double wayZ = 0;
    for (const GroupInstant& instant : motion.instants) {
        const Vector3f* first = nullptr;
        for (const std::vector<Vector3f>& body : instant.bodies) {
            if (body.empty() || !isFinite(body.front())) {
                continue;
            }
            first = first == nullptr ? &body.front() : first;
            const double x = static_cast<double>(body.front().x) - static_cast<double>(first->x);
            const double z = static_cast<double>(body.front().z) - static_cast<double>(first->z);
            xx += x * x;
            xz += x * z;
            zz += z * z;
            if (wayX == 0 && wayZ == 0) {
                wayX = x;
                wayZ = z;
            }
        }
    }
    const bool apart = xx + zz > shortest * shortest;
    if (!apart || !std::isfinite(xx + zz)) {
        return motion.rootPaths.empty() ? Heading{0, 1}
                                        : headingOf(motion.rootPaths.front(), shortest);
    }
    const double angle = std::atan2(2 * xz, xx - zz) / 2;
    const double x = std::cos(angle);
    const double z = std::sin(angle);
    return x * wayX + z * wayZ < 0 ? Heading{-x, -z} : Heading{x, z};
}

/// A part of a figure, and whose.
struct PartOf {
    StickFigure::Part part;
    std::size_t performer;
    double nearness() const { return part.from.near + part.to.near; }
};

} // namespace

GroupFigures::GroupFigures(const std::vector<Performance>& performances, const GroupMotion& motion,
                           double width)
    : performances_(performances), motion_(motion),
      camera_(groupHeading(motion, bodyHeightOf(performances) / 2), lookingDown),
      level_(groupHeading(motion, bodyHeightOf(performances) / 2)), width_(width),
      bodyHeight_(bodyHeightOf(performances)) {
    for (const Performance& performance : performances) {
        figures_.emplace_back(*performance.rig);
    }
    chooseMiddles();
    reach_ = reachOf();
    constexpr double wide = 2.5; // times its height: too much so for four
    cellsPerRow_ = reach_.width > wide * (reach_.top - reach_.bottom) ? 2 : 4;
    scale_ =
        std::min((cellWidth() - gap) / reach_.width, tallestCell / (reach_.top - reach_.bottom));
}

/// The floor that the bodies need.
GroupFigures::Area GroupFigures::areaOf(const GroupInstant& instant) const {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Area area{infinity, -infinity, infinity, -infinity};
    for (const std::vector<Vector3f>& body : instant.bodies) {
        for (const Vector3f& point : body) {
            if (isFinite(point)) {
                const Seen at = level_.see(point);
                area = {std::min(area.left, at.right), std::max(area.right, at.right),
                        std::min(area.far, at.near), std::max(area.near, at.near)};
            }
        }
    }
    return area.left <= area.right ? area : Area{0, 0, 0, 0};
}

void GroupFigures::chooseMiddles() {
    constexpr double farthest = 1.7; // times the width of the widest instant
    const auto middleOf = [this](const Area& area) {
        return level_.placeAt((area.left + area.right) / 2, (area.far + area.near) / 2,
                              motion_.ground);
    };
    std::vector<Area> areas;
    double widest = bodyHeight_;
    for (const GroupInstant& instant : motion_.instants) {
        areas.push_back(areaOf(instant));
        widest = std::max(widest, areas.back().right - areas.back().left);
    }
    Area all{0, 0, 0, 0};
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const Area& area = areas[i];
        all = i == 0 ? area
                     : Area{std::min(all.left, area.left), std::max(all.right, area.right),
                            std::min(all.far, area.far), std::max(all.near, area.near)};
    }
    follows_ = std::max(all.right - all.left, all.near - all.far) > farthest * widest;
    for (const Area& area : areas) {
        middles_.push_back(middleOf(follows_ ? area : all));
    }
}

GroupFigures::Reach GroupFigures::reachOf() const {
    Reach reach{0, 0, 0, 0};
    for (std::size_t i = 0; i < motion_.instants.size(); ++i) {
        const Seen middle = camera_.see(middles_[i]);
        const Seen levelMiddle = level_.see(middles_[i]);
        const Area area = areaOf(motion_.instants[i]);
        reach.depth = std::max(
            {reach.depth, 2 * (area.near - levelMiddle.near), 2 * (levelMiddle.near - area.far)});
        for (std::size_t p = 0; p < figures_.size(); ++p) {
            const std::vector<Vector3f>& body = motion_.instants[i].bodies[p];
            if (body.empty()) {
                continue;
            }
            const Extent extent = figures_[p].extentOf(camera_.see(body));
            reach.width = std::max(
                {reach.width, 2 * (extent.right - middle.right), 2 * (middle.right - extent.left)});
            reach.top = std::max(reach.top, extent.top - middle.up);
            reach.bottom = std::min(reach.bottom, extent.bottom - middle.up);
        }
    }
    // A body without size gets some space too.
    const double size = std::max({reach.width, reach.depth, reach.top, -reach.bottom, bodyHeight_});
    const double margin = size > 0 ? size * 0.04 : 1;
    reach.width += 2 * margin;
    reach.depth += 4 * margin;
    const double floorUp =
        (camera_.see(level_.placeAt(0, 0, 0)).up - camera_.see(level_.placeAt(0, 1, 0)).up) *
        reach.depth / 2;
    reach.top = std::max(reach.top, floorUp) + margin;
    reach.bottom = std::min(reach.bottom, -floorUp) - margin / 2;
    return reach;
}

double GroupFigures::height() const {
    const std::size_t rows = (motion_.instants.size() + cellsPerRow_ - 1) / cellsPerRow_;
    return headingHeight + static_cast<double>(rows) * cell({0, 0}, 0).height;
}

double GroupFigures::cellWidth() const { return width_ / static_cast<double>(cellsPerRow_); }

Box GroupFigures::cell(Point corner, std::size_t i) const {
    const double height = (reach_.top - reach_.bottom) * scale_ + captionHeight;
    const std::size_t column = i % cellsPerRow_;
    const std::size_t row = i / cellsPerRow_;
    return {corner.x + static_cast<double>(column) * cellWidth(),
            corner.y + headingHeight + static_cast<double>(row) * height, cellWidth(), height};
}

GroupFigures::Place GroupFigures::placeIn(const Box& cell, std::size_t i) const {
    const Seen middle = camera_.see(middles_[i]);
    const Point origin{cell.x + cell.width / 2, cell.y + reach_.top * scale_};
    return [scale = scale_, middle, origin](const Seen& at) {
        return Point{origin.x + (at.right - middle.right) * scale,
                     origin.y - (at.up - middle.up) * scale};
    };
}

void GroupFigures::draw(Canvas& canvas, Point corner) const {
    const Point base{corner.x, corner.y + headingFont.size};
    const char* const heading =
        motion_.instants.empty() ? "Poses: nobody is in any frame"
        : follows_ ? "Poses, seen from one side, to one scale, going along with the performers"
                   : "Poses, seen from one place, to one scale";
    canvas.text(base, heading, headingFont, Align::left, colours::ink);
    if (!motion_.instants.empty()) {
        drawScaleBar(canvas, {corner.x + width_ - 10, base.y - 4}, 220, scale_,
                     unitOf(performances_));
    }
    for (std::size_t i = 0; i < motion_.instants.size(); ++i) {
        const Box box = cell(corner, i);
        drawFloor(canvas, box, i);
        drawBodies(canvas, placeIn(box, i), motion_.instants[i]);
        drawCaption(canvas, box, i);
    }
}

void GroupFigures::drawFloor(Canvas& canvas, const Box& cell, std::size_t i) const {
    const Place place = placeIn(cell, i);
    const Seen middle = level_.see(middles_[i]);
    const auto edge = [&](double near) {
        return place(camera_.see(level_.placeAt(middle.right, near, motion_.ground))).y;
    };
    const double far = edge(middle.near - reach_.depth / 2);
    const double near = edge(middle.near + reach_.depth / 2);
    const Box floor{cell.x + gap / 2, far, cell.width - gap, near - far};
    canvas.fill(floor, colours::floor);
    canvas.clipped(floor, [&] { drawTiles(canvas, place, middles_[i]); });
}

/// Draws the lines of a round length apart along X and Z, some of them outside the floor.
void GroupFigures::drawTiles(Canvas& canvas, const Place& place, const Vector3f& middle) const {
    const auto x = static_cast<double>(middle.x);
    const auto z = static_cast<double>(middle.z);
    const double reach = reach_.width + reach_.depth + cellWidth() / scale_;
    const double step = roundLength(
        std::max({bodyHeight_ / 3, reach / 20, std::abs(x) * 1e-6, std::abs(z) * 1e-6}));
    const auto drawLine = [&](double x1, double z1, double x2, double z2) {
        const auto at = [&](double atX, double atZ) {
            return place(camera_.see({static_cast<float>(atX), middle.y, static_cast<float>(atZ)}));
        };
        canvas.line(at(x1, z1), at(x2, z2), 1.5, colours::tile);
    };
    for (const double line : multiplesOf(step, x - reach, x + reach)) {
        drawLine(line, z - reach, line, z + reach);
    }
    for (const double line : multiplesOf(step, z - reach, z + reach)) {
        drawLine(x - reach, line, x + reach, line);
    }
}

void GroupFigures::drawBodies(Canvas& canvas, const Place& place,
                              const GroupInstant& instant) const {
    std::vector<PartOf> parts;
    for (std::size_t i = 0; i < figures_.size(); ++i) {
        if (instant.bodies[i].empty()) {
            continue;
        }
        const std::vector<Seen> nodes = camera_.see(instant.bodies[i]);
        for (const StickFigure::Part& part : figures_[i].partsOf(nodes)) {
            parts.push_back({part, i});
        }
        if (isFinite(instant.bodies[i].front())) { // there is more to see of most
            parts.push_back({{nodes.front(), nodes.front(), 0, Side::centre}, i});
        }
    }
    std::stable_sort(parts.begin(), parts.end(),
                     [](const PartOf& a, const PartOf& b) { return a.nearness() < b.nearness(); });
    const double lineWidth = bodyHeight_ > 0
                                 ? std::clamp(bodyHeight_ * scale_ / 25, thinnestLine, widestLine)
                                 : widestLine;
    for (const PartOf& part : parts) {
        const Point from = place(part.part.from);
        if (part.part.radius > 0) {
            drawPerformerDisc(canvas, from, part.part.radius * scale_, part.performer);
        } else {
            canvas.line(from, place(part.part.to), lineWidth, performerColour(part.performer));
        }
    }
}

void GroupFigures::drawCaption(Canvas& canvas, const Box& cell, std::size_t i) const {
    const double middle = cell.x + cell.width / 2;
    const double top = cell.bottom() - captionHeight;
    const GroupInstant& instant = motion_.instants[i];
    canvas.text({middle, top + 32}, std::to_string(i + 1), {22, true}, Align::centre, colours::ink);
    canvas.text({middle, top + 56}, captionOf({instant.frame, instant.seconds, {}}), {18},
                Align::centre, colours::note);
}

} // namespace tarn::capture
