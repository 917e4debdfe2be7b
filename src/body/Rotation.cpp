// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Rotation.h>

#include <Eigen/Geometry>

#include <algorithm>
#include <cassert>

namespace tarn {
namespace {

constexpr double pi = 3.141592653589793;

Eigen::Vector3f toEigen(const Vector3f& v) { return {v.x, v.y, v.z}; }

Eigen::Quaternionf toEigen(const Quaternionf& q) { return {q.w, q.x, q.y, q.z}; }

Vector3f fromEigen(const Eigen::Vector3f& v) { return {v.x(), v.y(), v.z()}; }

Quaternionf fromEigen(const Eigen::Quaternionf& q) { return {q.x(), q.y(), q.z(), q.w()}; }

// The widths and the order of these steps decide the last bits of an angle, which hosts store.
float toDegrees(float radians) {
    return static_cast<float>(static_cast<double>(radians) / pi * 180.0);
}

float toRadians(float degrees) {
    return static_cast<float>(static_cast<double>(degrees / 180.0F) * pi);
}

[[maybe_unused]] bool namesAxes(const EulerOrder& o) {
    return std::all_of(o.axes.begin(), o.axes.end(),
                       [](std::int32_t axis) { return axis >= 0 && axis <= 2; });
}

Eigen::Quaternionf turn(std::int32_t axis, float radians) {
    return Eigen::Quaternionf(Eigen::AngleAxisf(radians, Eigen::Vector3f::Unit(axis)));
}

} // namespace

Quaternionf operator*(const Quaternionf& a, const Quaternionf& b) {
    return fromEigen(toEigen(a) * toEigen(b));
}

Vector3f operator*(const Vector3f& v, float s) { return {v.x * s, v.y * s, v.z * s}; }

Vector3f operator*(const Quaternionf& q, const Vector3f& v) {
    return fromEigen(toEigen(q) * toEigen(v));
}

Vector3f operator+(const Vector3f& a, const Vector3f& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Quaternionf inverse(const Quaternionf& q) { return fromEigen(toEigen(q).inverse()); }

EulerAngle toEulerAngle(const Quaternionf& q, const EulerOrder& o) {
    assert(namesAxes(o));
    const Eigen::Vector3f angles = toEigen(q).toRotationMatrix().eulerAngles(o[0], o[1], o[2]);
    return {toDegrees(angles[0]), toDegrees(angles[1]), toDegrees(angles[2])};
}

Quaternionf toQuaternion(const EulerAngle& e, const EulerOrder& o) {
    assert(namesAxes(o));
    const float angle = toRadians(e[0]);
    return fromEigen(turn(o[0], angle) * turn(o[1], angle) * turn(o[2], angle));
}

} // namespace tarn
