// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Camera.h"
#include "drawing/Canvas.h"

#include <tarn_kit/body/Rig.h>

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace tarn::capture {

/// Which side of the body something is on, as far as names tell.
enum class Side { left, centre, right };

/// The side that a joint's name gives: "LeftArm", "lThumb", "L_Hand", "hand.l" are left,
/// "lowerback" is not.
Side sideOf(std::string_view name);
Colour colourOf(Side side);

/// What a figure covers of the picture, in the unit of the rig.
struct Extent {
    double left, right, bottom, top;
};

/// How a rig is drawn: a line to each joint from its parent, in the colour of its side (that of the
/// parent where the name gives none), a dot for each root, and a disc for the head, in place of
/// what hangs on the head. Nodes whose position is not finite are left out.
class StickFigure {
public:
    /// What is drawn: a line, or a disc around `from`.
    struct Part {
        Seen from, to;
        double radius; ///< of the disc, in the unit of the rig; 0 for a line
        Side side;
    };

    explicit StickFigure(const kit::Rig& rig);

    /// Of the body whose nodes are at `nodes`; all 0 if there is nothing to draw.
    Extent extentOf(const std::vector<Seen>& nodes) const;
    /// What is drawn of that body but for the dots, far parts first.
    std::vector<Part> partsOf(const std::vector<Seen>& nodes) const;
    /// Draws that body; `place` turns what is seen into pixels, `scale` of them per unit.
    void draw(Canvas& canvas, const std::vector<Seen>& nodes, double scale,
              const std::function<Point(const Seen&)>& place) const;

private:
    struct Limb {
        std::size_t from, to;
        Side side;
    };
    Seen headCentre(const std::vector<Seen>& nodes) const;

    std::vector<std::size_t> roots_;
    std::vector<Limb> limbs_;
    std::vector<std::size_t> head_; ///< the head's joint and what hangs on it directly
    double headRadius_ = 0;
};

} // namespace tarn::capture
