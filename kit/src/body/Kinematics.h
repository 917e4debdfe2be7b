// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rig.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace tarn::kit {

// What is done with the nodes of a rig, in double precision: how a pose turns and moves each node
// relative to its parent, and where that puts it in the world. The one place where channels get
// their meaning.

using Vector = std::array<double, 3>;

/// A rotation as a quaternion of length 1.
struct Rotation {
    Vector vector = {0, 0, 0};
    double scalar = 1;
};

/// A node's axes and origin, relative to its parent or to the world.
struct Transform {
    Rotation rotation;
    Vector position = {0, 0, 0};
};

/// One per node of a rig, in node order.
using Transforms = std::vector<Transform>;

inline bool isPosition(Channel channel) { return channel <= Channel::Zposition; }

/// 0, 1, 2 for x, y, z.
inline std::size_t axisOf(Channel channel) { return static_cast<std::size_t>(channel) % 3; }

inline Vector operator+(const Vector& a, const Vector& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

inline Vector operator-(const Vector& a, const Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline Vector operator*(double factor, const Vector& v) {
    return {factor * v[0], factor * v[1], factor * v[2]};
}

inline double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline double dot(const Rotation& a, const Rotation& b) {
    return dot(a.vector, b.vector) + a.scalar * b.scalar;
}

inline Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline double lengthOf(const Vector& v) { return std::sqrt(dot(v, v)); }

/// First `b`, then `a`.
inline Rotation operator*(const Rotation& a, const Rotation& b) {
    return {a.scalar * b.vector + b.scalar * a.vector + cross(a.vector, b.vector),
            a.scalar * b.scalar - dot(a.vector, b.vector)};
}

inline Vector operator*(const Rotation& rotation, const Vector& v) {
    const Vector t = 2 * cross(rotation.vector, v);
    return v + rotation.scalar * t + cross(rotation.vector, t);
}

inline Rotation inverse(const Rotation& rotation) {
    return {-1 * rotation.vector, rotation.scalar};
}

/// Of length 1; no rotation for the zero quaternion.
inline Rotation normalized(const Rotation& rotation) {
    const double length = std::sqrt(dot(rotation, rotation));
    if (length == 0) {
        return {};
    }
    return {1 / length * rotation.vector, rotation.scalar / length};
}

inline Transform operator*(const Transform& parent, const Transform& local) {
    return {parent.rotation * local.rotation, parent.position + parent.rotation * local.position};
}

inline Vector toVector(const Vector3f& v) {
    return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
}

/// The nearest `float`; infinite for what lies beyond the largest, where a cast is undefined: no
/// place is better than a wrong one.
inline float toFloat(double value) {
    using Limits = std::numeric_limits<float>;
    if (std::abs(value) > static_cast<double>(Limits::max())) {
        return value > 0 ? Limits::infinity() : -Limits::infinity();
    }
    return static_cast<float>(value);
}

inline Vector3f toVector3f(const Vector& v) {
    return {toFloat(v[0]), toFloat(v[1]), toFloat(v[2])};
}

/// Replaces `transforms` by where `pose` puts each node relative to its parent.
/// Precondition: `pose` has `rig.valueCount()` values.
void setLocal(const Rig& rig, const Pose& pose, Transforms& transforms);

/// Turns transforms relative to the parents into transforms relative to the world, in place.
/// Precondition: there is one per node.
void makeWorld(const Rig& rig, Transforms& transforms);

} // namespace tarn::kit
