// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Canvas.h>
#include <tarn_draw/figure/Camera.h>
#include <tarn_draw/figure/JointSide.h>
#include <tarn_kit/body/Rig.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace tarn::draw {

/// What a figure covers of the picture, in the unit of the rig.
struct Extent {
    double left, right, bottom, top;
};

/// How a rig is drawn: a line to each joint from its parent, in the colour of its side (that of the
/// parent where the name gives none), a dot for each root, and a disc for the head, in place of
/// what hangs on the head. Nodes whose position is not finite are left out.
///
/// Precondition of all functions: there are as many nodes as the rig has, in its order.
class TARN_DRAW_EXPORT StickFigure {
public:
    /// What is drawn: a line, or a disc around `from`.
    struct Part {
        Seen from, to;
        double radius; ///< of the disc, in the unit of the rig; 0 for a line
        Side side;
    };

    /// Keeps what it needs of the rig.
    explicit StickFigure(const kit::Rig& rig);

    /// Of the body whose nodes are at `nodes`; all 0 if there is nothing to draw.
    Extent extentOf(const std::vector<Seen>& nodes) const;
    /// What is drawn of that body but for the dots, far parts first.
    std::vector<Part> partsOf(const std::vector<Seen>& nodes) const;
    /// Draws that body; `place` turns what is seen into pixels, `scale` of them per unit.
    void draw(Canvas& canvas, const std::vector<Seen>& nodes, double scale, double lineWidth,
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

} // namespace tarn::draw
