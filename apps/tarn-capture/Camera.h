#pragma once

#include <tarn/Rotation.h>

#include <vector>

namespace tarn::capture {

/// A point as a camera sees it, in the unit of the world: `right` and `up` in the picture, `near`
/// greater for what is closer to the eye.
struct Seen {
    double right, up, near;
};

/// Looks level at a body, from the side and a little from the front, without perspective. A body
/// that travels goes to the right and slightly towards the eye.
class Camera {
public:
    /// Chooses the side from which the way from the beginning of `rootPath` to its farthest point
    /// is seen best; ways shorter than `shortest` are ignored, and the body is taken to face along
    /// Z.
    Camera(const std::vector<Vector3f>& rootPath, double shortest);

    Seen see(const Vector3f& point) const;
    std::vector<Seen> see(const std::vector<Vector3f>& points) const;

private:
    double rightX_, rightZ_; ///< the horizontal unit vector that points to the right in the picture
};

/// Whether all three coordinates are numbers that can be drawn.
bool isFinite(const Vector3f& point);

} // namespace tarn::capture
