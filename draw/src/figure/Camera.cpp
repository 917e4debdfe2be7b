// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/figure/Camera.h>

#include <cmath>

namespace tarn::draw {

namespace {

constexpr double radiansPerDegree = 3.14159265358979323846 / 180;

} // namespace

Heading headingOf(const std::vector<Vector3f>& path, double shortest) {
    Heading heading{0, 1};
    double longest = shortest;
    for (const Vector3f& at : path) {
        const double x = static_cast<double>(at.x) - static_cast<double>(path.front().x);
        const double z = static_cast<double>(at.z) - static_cast<double>(path.front().z);
        const double way = std::hypot(x, z);
        if (way > longest && std::isfinite(way)) {
            longest = way;
            heading = {x / way, z / way};
        }
    }
    return heading;
}

Camera::Camera(const Heading& heading, double down)
    : cosine_(std::cos(down * radiansPerDegree)), sine_(std::sin(down * radiansPerDegree)) {
    // The heading is turned out of the picture, towards the eye, by 30 degrees.
    constexpr double cosine = 0.866;
    constexpr double sine = 0.5;
    rightX_ = heading.x * cosine + heading.z * sine;
    rightZ_ = heading.z * cosine - heading.x * sine;
}

Seen Camera::see(const Vector3f& point) const {
    const auto x = static_cast<double>(point.x);
    const auto y = static_cast<double>(point.y);
    const auto z = static_cast<double>(point.z);
    const double near = z * rightX_ - x * rightZ_; // of the ground below the point
    return {x * rightX_ + z * rightZ_, y * cosine_ - near * sine_, near * cosine_ + y * sine_};
}

std::vector<Seen> Camera::see(const std::vector<Vector3f>& points) const {
    std::vector<Seen> seen;
    seen.reserve(points.size());
    for (const Vector3f& point : points) {
        seen.push_back(see(point));
    }
    return seen;
}

Vector3f Camera::placeAt(double right, double near, double height) const {
    const double square = rightX_ * rightX_ + rightZ_ * rightZ_; // 1, but for rounding
    return {static_cast<float>((right * rightX_ - near * rightZ_) / square),
            static_cast<float>(height),
            static_cast<float>((right * rightZ_ + near * rightX_) / square)};
}

bool isFinite(const Vector3f& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

} // namespace tarn::draw
