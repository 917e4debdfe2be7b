// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/PoseView.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::draw {

namespace {

constexpr double lookingDown = 14; // degrees

/// The direction along which the bodies stand apart most, from the first one to the last one.
Heading groupHeading(const PoseSummary& summary, double shortest) {
    double xx = 0;
    double xz = 0;
    double zz = 0;
    double wayX = 0;
    double wayZ = 0;
    for (const PoseInstant& instant : summary.instants) {
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
        return summary.rootPaths.empty() ? Heading{0, 1}
                                         : headingOf(summary.rootPaths.front(), shortest);
    }
    const double angle = std::atan2(2 * xz, xx - zz) / 2;
    const double x = std::cos(angle);
    const double z = std::sin(angle);
    return x * wayX + z * wayZ < 0 ? Heading{-x, -z} : Heading{x, z};
}

} // namespace

PoseView::PoseView(const PoseSummary& summary, const std::vector<StickFigure>& figures,
                   double bodyHeight)
    : summary_(summary), figures_(figures),
      camera_(groupHeading(summary, bodyHeight / 2), lookingDown),
      level_(groupHeading(summary, bodyHeight / 2)) {
    chooseMiddles(bodyHeight);
    reach_ = reachOf(bodyHeight);
}

/// The floor that the bodies need.
PoseView::Area PoseView::areaOf(const PoseInstant& instant) const {
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

void PoseView::chooseMiddles(double bodyHeight) {
    constexpr double farthest = 1.7; // times the width of the widest instant
    const auto middleOf = [this](const Area& area) {
        return level_.placeAt((area.left + area.right) / 2, (area.far + area.near) / 2,
                              summary_.ground);
    };
    std::vector<Area> areas;
    double widest = bodyHeight;
    for (const PoseInstant& instant : summary_.instants) {
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
    follows_ = figures_.size() == 1 ||
               std::max(all.right - all.left, all.near - all.far) > farthest * widest;
    for (const Area& area : areas) {
        middles_.push_back(middleOf(follows_ ? area : all));
    }
}

PoseView::Reach PoseView::reachOf(double bodyHeight) const {
    Reach reach{0, 0, 0, 0};
    for (std::size_t i = 0; i < summary_.instants.size(); ++i) {
        const Seen middle = camera_.see(middles_[i]);
        const Seen levelMiddle = level_.see(middles_[i]);
        const Area area = areaOf(summary_.instants[i]);
        reach.depth = std::max(
            {reach.depth, 2 * (area.near - levelMiddle.near), 2 * (levelMiddle.near - area.far)});
        for (std::size_t p = 0; p < figures_.size(); ++p) {
            const std::vector<Vector3f>& body = summary_.instants[i].bodies[p];
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
    return widened(reach, bodyHeight);
}

PoseView::Reach PoseView::widened(Reach reach, double bodyHeight) const {
    const double size = std::max({reach.width, reach.depth, reach.top, -reach.bottom, bodyHeight});
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

} // namespace tarn::draw
