#include "Camera.h"

#include <cmath>

namespace tarn::capture {

namespace {

struct Heading {
    double x, z;
};

/// The horizontal direction of the longest way from the start.
Heading headingOf(const std::vector<Vector3f>& path, double shortest) {
    Heading heading{0, 1};
    double longest = shortest;
    for (const Vector3f& at : path) {
        const double x = static_cast<double>(at.x) - static_cast<double>(path.front().x);
        const double z = static_cast<double>(at.z) - static_cast<double>(path.front().z);
        const double way = std::hypot(x, z);
        if (way > longest) { // not so if the way is not a number
            longest = way;
            heading = {x / way, z / way};
        }
    }
    return heading;
}

} // namespace

Camera::Camera(const std::vector<Vector3f>& rootPath, double shortest) {
    // The heading is turned out of the picture, towards the eye, by 30 degrees.
    constexpr double cosine = 0.866;
    constexpr double sine = 0.5;
    const Heading heading = headingOf(rootPath, shortest);
    rightX_ = heading.x * cosine + heading.z * sine;
    rightZ_ = heading.z * cosine - heading.x * sine;
}

Seen Camera::see(const Vector3f& point) const {
    const auto x = static_cast<double>(point.x);
    const auto z = static_cast<double>(point.z);
    return {x * rightX_ + z * rightZ_, static_cast<double>(point.y), z * rightX_ - x * rightZ_};
}

std::vector<Seen> Camera::see(const std::vector<Vector3f>& points) const {
    std::vector<Seen> seen;
    seen.reserve(points.size());
    for (const Vector3f& point : points) {
        seen.push_back(see(point));
    }
    return seen;
}

bool isFinite(const Vector3f& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

} // namespace tarn::capture
