// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/figure/StickFigure.h>

#include "figure/JointName.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::draw {

namespace {

constexpr double headRadiusPerHeight = 0.065;

/// The side of each node, in order; inherited where the name gives none.
std::vector<Side> sidesOf(const std::vector<kit::RigNode>& nodes) {
    std::vector<Side> sides;
    for (const kit::RigNode& node : nodes) {
        const Side named = node.isEndSite() ? Side::centre : sideOf(node.name);
        const bool inherits = named == Side::centre && node.parent >= 0;
        sides.push_back(inherits ? sides[static_cast<std::size_t>(node.parent)] : named);
    }
    return sides;
}

bool isFinite(const Seen& seen) {
    return std::isfinite(seen.right) && std::isfinite(seen.up) && std::isfinite(seen.near);
}

} // namespace

StickFigure::StickFigure(const kit::Rig& rig) {
    const std::vector<kit::RigNode>& nodes = rig.nodes();
    const std::vector<Side> sides = sidesOf(nodes);
    std::vector<bool> belongsToHead(nodes.size(), false);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (head_.empty() && hasWord(nodes[i].name, "head")) {
            head_.push_back(i);
            belongsToHead[i] = true;
        }
        if (nodes[i].parent < 0) {
            roots_.push_back(i);
            continue;
        }
        const auto parent = static_cast<std::size_t>(nodes[i].parent);
        if (!belongsToHead[parent]) {
            limbs_.push_back({parent, i, sides[i]});
            continue;
        }
        belongsToHead[i] = true;
        if (parent == head_.front()) {
            head_.push_back(i);
        }
    }
    headRadius_ = head_.empty() ? 0 : headRadiusPerHeight * static_cast<double>(rig.height());
}

Extent StickFigure::extentOf(const std::vector<Seen>& nodes) const {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Extent extent{infinity, -infinity, infinity, -infinity};
    const auto include = [&extent](const Seen& at, double radius) {
        extent.left = std::min(extent.left, at.right - radius);
        extent.right = std::max(extent.right, at.right + radius);
        extent.bottom = std::min(extent.bottom, at.up - radius);
        extent.top = std::max(extent.top, at.up + radius);
    };
    for (const Part& part : partsOf(nodes)) {
        include(part.from, part.radius);
        include(part.to, part.radius);
    }
    for (const std::size_t root : roots_) {
        if (isFinite(nodes[root])) {
            include(nodes[root], 0);
        }
    }
    return extent.left <= extent.right ? extent : Extent{0, 0, 0, 0};
}

void StickFigure::draw(Canvas& canvas, const std::vector<Seen>& nodes, double scale,
                       double lineWidth, const std::function<Point(const Seen&)>& place) const {
    for (const Part& part : partsOf(nodes)) {
        if (part.radius > 0) {
            canvas.disc(place(part.from), part.radius * scale, colourOf(part.side));
        } else {
            canvas.line(place(part.from), place(part.to), lineWidth, colourOf(part.side));
        }
    }
    for (const std::size_t root : roots_) {
        if (isFinite(nodes[root])) {
            canvas.disc(place(nodes[root]), lineWidth, colours::path);
        }
    }
}

std::vector<StickFigure::Part> StickFigure::partsOf(const std::vector<Seen>& nodes) const {
    std::vector<Part> parts;
    for (const Limb& limb : limbs_) {
        if (isFinite(nodes[limb.from]) && isFinite(nodes[limb.to])) {
            parts.push_back({nodes[limb.from], nodes[limb.to], 0, limb.side});
        }
    }
    if (headRadius_ > 0) {
        const Seen centre = headCentre(nodes);
        if (isFinite(centre)) {
            parts.push_back({centre, centre, headRadius_, Side::centre});
        }
    }
    std::stable_sort(parts.begin(), parts.end(), [](const Part& a, const Part& b) {
        return a.from.near + a.to.near < b.from.near + b.to.near;
    });
    return parts;
}

/// Beyond the head's joint, in the direction in which its children lie.
Seen StickFigure::headCentre(const std::vector<Seen>& nodes) const {
    const Seen& joint = nodes[head_.front()];
    Seen way{0, 0, 0};
    for (const std::size_t i : head_) {
        way.right += nodes[i].right - joint.right;
        way.up += nodes[i].up - joint.up;
        way.near += nodes[i].near - joint.near;
    }
    const double length = std::hypot(way.right, way.up, way.near);
    if (!(length > 0)) {
        return {joint.right, joint.up + headRadius_, joint.near};
    }
    const double factor = headRadius_ / length;
    return {joint.right + way.right * factor, joint.up + way.up * factor,
            joint.near + way.near * factor};
}

} // namespace tarn::draw
