// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace tarn {

// Plain single-precision values for positions and rotations of body segments, and what is done with
// them. Conventions, for everything in this header:
//  - Right-handed axes; a positive angle turns counter-clockwise when looking against the axis:
//    a quarter turn about z takes x to y.
//  - Vectors are columns: a rotation stands left of what it turns, and in a product the right-hand
//    factor is applied first.
//  - A quaternion that stands for a rotation has unit length. Nothing here checks or restores that.
//  - Euler angles are in degrees.
// The functions are pure: any thread may call them, and none reports an error. What calculates is
// compiled once, in the library, so that hosts get the same bits whatever they are compiled with;
// what only compares is `constexpr`.

/// A vector or a position, in the caller's unit of length.
struct Vector3f {
    float x{};
    float y{};
    float z{};
};

/// A rotation, vector part first, scalar part `w` last. The default is the zero quaternion, which
/// is no rotation; the identity is `{0, 0, 0, 1}`.
struct Quaternionf {
    float x{};
    float y{};
    float z{};
    float w{};
};

/// Three angles in degrees; the accompanying `EulerOrder` says about which axis each of them turns.
struct EulerAngle {
    std::array<float, 3> degrees{};

    /// Precondition for both forms: `index` is 0, 1 or 2.
    constexpr float& operator[](std::size_t index) {
        assert(index < degrees.size());
        return degrees[index];
    }
    constexpr const float& operator[](std::size_t index) const {
        assert(index < degrees.size());
        return degrees[index];
    }
};

/// The axes about which the three angles of an `EulerAngle` turn: 0 is x, 1 is y, 2 is z. Each turn
/// after the first is about the axis as the turns before it have left it; `{2, 0, 1}` is the
/// product z * x * y.
struct EulerOrder {
    std::array<std::int32_t, 3> axes{};

    /// Precondition for both forms: `index` is 0, 1 or 2.
    constexpr std::int32_t& operator[](std::size_t index) {
        assert(index < axes.size());
        return axes[index];
    }
    constexpr const std::int32_t& operator[](std::size_t index) const {
        assert(index < axes.size());
        return axes[index];
    }
};

// Equality is that of the numbers, component by component: 0 equals -0, not-a-number equals
// nothing, and the two quaternions of one rotation, `q` and `-q`, differ.

constexpr bool operator==(const Vector3f& a, const Vector3f& b) noexcept {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
constexpr bool operator!=(const Vector3f& a, const Vector3f& b) noexcept { return !(a == b); }

constexpr bool operator==(const Quaternionf& a, const Quaternionf& b) noexcept {
    return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
}
constexpr bool operator!=(const Quaternionf& a, const Quaternionf& b) noexcept { return !(a == b); }

constexpr bool operator==(const EulerAngle& a, const EulerAngle& b) noexcept {
    return a.degrees[0] == b.degrees[0] && a.degrees[1] == b.degrees[1] &&
           a.degrees[2] == b.degrees[2];
}
constexpr bool operator!=(const EulerAngle& a, const EulerAngle& b) noexcept { return !(a == b); }

constexpr bool operator==(const EulerOrder& a, const EulerOrder& b) noexcept {
    return a.axes[0] == b.axes[0] && a.axes[1] == b.axes[1] && a.axes[2] == b.axes[2];
}
constexpr bool operator!=(const EulerOrder& a, const EulerOrder& b) noexcept { return !(a == b); }

/// The Hamilton product: the rotation that applies `b` first, then `a`.
TARN_EXPORT Quaternionf operator*(const Quaternionf& a, const Quaternionf& b);

/// Each component times `s`.
TARN_EXPORT Vector3f operator*(const Vector3f& v, float s);

/// `v` turned by `q`, which is taken to be of unit length: with u the vector part of `q` and
/// t = 2 (u x v), the result is v + w t + u x t.
TARN_EXPORT Vector3f operator*(const Quaternionf& q, const Vector3f& v);

/// Component by component.
TARN_EXPORT Vector3f operator+(const Vector3f& a, const Vector3f& b);

/// The quaternion that multiplies with `q` to the identity, whatever the length of `q`; for a
/// rotation, the opposite turn. The zero quaternion gives the zero quaternion.
TARN_EXPORT Quaternionf inverse(const Quaternionf& q);

/// The angles whose turns about the axes of `o` multiply to the rotation `q`:
/// turn(o[0], e[0]) * turn(o[1], e[1]) * turn(o[2], e[2]). The extraction is the one of Graphics
/// Gems IV, on the rotation matrix of `q`: the first angle is in [0, 180], the others are in
/// [-180, 180]. Where the first and the last turn coincide (a second angle of +-90 degrees with
/// three different axes, of 0 or 180 with two), how their sum or difference is shared out between
/// them is up to rounding.
///
/// Neighbouring axes of `o` should differ, which leaves twelve orders; the angles of any other do
/// not multiply to `q`.
///
/// Angles that do not jump from one frame to the next, radians, and an error for an order that is
/// none: `toEulerDegrees` and `toEulerRadians` in <tarn_kit/body/Rotations.h>.
///
/// Preconditions: `q` is of unit length (it is not normalised); each axis is 0, 1 or 2.
TARN_EXPORT EulerAngle toEulerAngle(const Quaternionf& q, const EulerOrder& o);

/// The product of three turns about the axes of `o`, all three by the first angle of `e`:
/// turn(o[0], e[0]) * turn(o[1], e[0]) * turn(o[2], e[0]). The second and the third angle are not
/// read, so this is not the inverse of `toEulerAngle` unless all three angles are equal. The
/// inverse is `fromEulerDegrees` in <tarn_kit/body/Rotations.h>. Without the kit, multiply one
/// quaternion per axis; the one that turns about x by the angle a is {sin(a / 2), 0, 0, cos(a /
/// 2)}.
///
/// Precondition: each axis is 0, 1 or 2.
TARN_EXPORT Quaternionf toQuaternion(const EulerAngle& e, const EulerOrder& o);

} // namespace tarn
