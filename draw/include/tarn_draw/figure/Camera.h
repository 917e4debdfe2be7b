// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_draw/Export.h>

#include <vector>

namespace tarn::draw {

// The world is right-handed with Y up, and in any unit of length.

/// A point as a camera sees it, in the unit of the world: `right` and `up` in the picture, `near`
/// greater for what is closer to the eye.
struct Seen {
    double right, up, near;
};

/// A horizontal direction in the world, of length 1.
struct Heading {
    double x, z;
};

/// The horizontal direction of the way from the beginning of `path` to its farthest point; along Z
/// if that way is not longer than `shortest`, or there is none.
TARN_DRAW_EXPORT Heading headingOf(const std::vector<Vector3f>& path, double shortest);

/// Looks at bodies from the side and a little from the front, without perspective. A body that
/// travels goes to the right and slightly towards the eye.
class TARN_DRAW_EXPORT Camera {
public:
    /// Chooses the side from which what lies along `heading` is seen best (30 degrees off the plane
    /// of the picture), and looks down by so many degrees.
    explicit Camera(const Heading& heading, double down = 0);

    /// What is not finite is seen at a place that is not finite.
    Seen see(const Vector3f& point) const;
    std::vector<Seen> see(const std::vector<Vector3f>& points) const;
    /// The place at a height that is seen at `right` and, by a camera that looks level, at `near`.
    Vector3f placeAt(double right, double near, double height) const;

private:
    double rightX_, rightZ_; ///< the horizontal unit vector that points to the right in the picture
    double cosine_, sine_;   ///< of the angle by which the camera looks down
};

/// Whether all three coordinates are numbers that can be drawn.
TARN_DRAW_EXPORT bool isFinite(const Vector3f& point);

} // namespace tarn::draw
