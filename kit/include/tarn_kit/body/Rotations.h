// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>

#include <array>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

// Rotations in double precision, and every common way to write one: quaternion, three angles in any
// of the twelve orders, axis and angle, rotation vector, 3x3 matrix.
//
// Conventions are those of <tarn/Rotation.h>: right-handed axes, column vectors, a positive angle
// turns counter-clockwise when looking against the axis, and in a product the right-hand factor is
// applied first. Functions say in their names whether angles are in degrees or in radians.
// All are pure: any thread may call them.

inline constexpr double pi = 3.14159265358979323846;

constexpr double degreesOf(double radians) { return radians * (180 / pi); }
constexpr double radiansOf(double degrees) { return degrees * (pi / 180); }

/// A vector or a position, in the caller's unit of length.
struct Vector3d {
    double x{};
    double y{};
    double z{};

    /// Precondition for both forms: `axis` is 0, 1 or 2, for x, y, z.
    constexpr double& operator[](std::size_t axis) { return axis == 0 ? x : axis == 1 ? y : z; }
    constexpr const double& operator[](std::size_t axis) const {
        return axis == 0 ? x : axis == 1 ? y : z;
    }
};

/// A rotation, vector part first, scalar part last, as in `Quaternionf`. Unlike there, the default
/// is the identity.
struct Quaterniond {
    double x{};
    double y{};
    double z{};
    double w{1};
};

/// A rotation matrix, row by row: `m[row][column]`; the columns are where the axes go to. The
/// default is the identity.
struct Matrix3d {
    std::array<std::array<double, 3>, 3> rows{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

    constexpr std::array<double, 3>& operator[](std::size_t row) { return rows[row]; }
    constexpr const std::array<double, 3>& operator[](std::size_t row) const { return rows[row]; }
};

/// A turn about an axis.
struct AxisAngle {
    Vector3d axis; ///< of length 1
    double radians{};
};

// ---- Vectors and quaternions

constexpr Vector3d operator+(const Vector3d& a, const Vector3d& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr Vector3d operator-(const Vector3d& a, const Vector3d& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr Vector3d operator-(const Vector3d& v) { return {-v.x, -v.y, -v.z}; }
constexpr Vector3d operator*(double factor, const Vector3d& v) {
    return {factor * v.x, factor * v.y, factor * v.z};
}
constexpr bool operator==(const Vector3d& a, const Vector3d& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
constexpr bool operator!=(const Vector3d& a, const Vector3d& b) { return !(a == b); }
constexpr double dot(const Vector3d& a, const Vector3d& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr Vector3d cross(const Vector3d& a, const Vector3d& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double lengthOf(const Vector3d& v) { return std::sqrt(dot(v, v)); }

/// Equal components. `q` and `-q` are the same rotation, but not equal.
constexpr bool operator==(const Quaterniond& a, const Quaterniond& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
}
constexpr bool operator!=(const Quaterniond& a, const Quaterniond& b) { return !(a == b); }
/// The same rotation, written the other way.
constexpr Quaterniond operator-(const Quaterniond& q) { return {-q.x, -q.y, -q.z, -q.w}; }

/// First `b`, then `a`.
constexpr Quaterniond operator*(const Quaterniond& a, const Quaterniond& b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w,
            a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

/// `v` turned by `q`. Precondition: `q` is of length 1.
constexpr Vector3d operator*(const Quaterniond& q, const Vector3d& v) {
    const Vector3d u = {q.x, q.y, q.z};
    const Vector3d t = 2 * cross(u, v);
    return v + q.w * t + cross(u, t);
}

constexpr double dot(const Quaterniond& a, const Quaterniond& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}
inline double lengthOf(const Quaterniond& q) { return std::sqrt(dot(q, q)); }

/// The opposite turn. Precondition: `q` is of length 1 (`inverse` of the SDK does without).
constexpr Quaterniond inverse(const Quaterniond& q) { return {-q.x, -q.y, -q.z, q.w}; }

/// The same rotation with length 1; the identity for the zero quaternion. What is not finite stays
/// not finite.
TARN_KIT_EXPORT Quaterniond normalized(const Quaterniond& q);

/// The angle of the turn that leads from `a` to `b`, from 0 to pi.
TARN_KIT_EXPORT double radiansBetween(const Quaterniond& a, const Quaterniond& b);

/// On the shortest way from `a` (at 0) to `b` (at 1), at constant speed; `t` may lie outside. Where
/// the two are half a turn apart there is no shortest way, and one of them is taken.
/// Precondition: both are of length 1.
TARN_KIT_EXPORT Quaterniond slerp(const Quaterniond& a, const Quaterniond& b, double t);

constexpr Vector3d toDouble(const Vector3f& v) {
    return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
}
constexpr Quaterniond toDouble(const Quaternionf& q) {
    return {static_cast<double>(q.x), static_cast<double>(q.y), static_cast<double>(q.z),
            static_cast<double>(q.w)};
}
/// The nearest value in single precision; infinite where that has none so large.
TARN_KIT_EXPORT float toSingle(double value);
TARN_KIT_EXPORT Vector3f toSingle(const Vector3d& v);
TARN_KIT_EXPORT Quaternionf toSingle(const Quaterniond& q);

// ---- Euler angles
//
// Three angles a, b, c in an order such as {2, 0, 1} stand for turn(z, a) * turn(x, b) * turn(y,
// c), as with the SDK's `toEulerAngle`: read from the left, each turn is about the axis as those
// before it have left it; read from the right, about the axes of the parent.
//
// There are twelve orders: six of three different axes, six that begin and end with the same one.
// Every function here throws `std::invalid_argument` for any other, naming it.

/// Three angles, in the order in which their turns are written.
using EulerAngles = std::array<double, 3>;

/// The product of the three turns.
TARN_KIT_EXPORT Quaterniond fromEulerRadians(const EulerAngles& angles, const EulerOrder& order);
TARN_KIT_EXPORT Quaterniond fromEulerDegrees(const EulerAngles& angles, const EulerOrder& order);

/// The angles of a rotation. The first and the last are in [-pi, pi], the middle one is in
/// [-pi/2, pi/2] where the three axes differ, in [0, pi] where first and last axis are the same.
///
/// Gimbal lock: at the ends of the middle angle's range, to within 1e-7, the first and the last
/// turn are about the same axis and only their sum or difference is known. The last angle is then 0
/// and the first has all of it.
///
/// The rotation need not be of length 1; the zero quaternion is taken for the identity.
TARN_KIT_EXPORT EulerAngles toEulerRadians(const Quaterniond& q, const EulerOrder& order);
/// The same in degrees: [-180, 180] and [-90, 90] or [0, 180].
TARN_KIT_EXPORT EulerAngles toEulerDegrees(const Quaterniond& q, const EulerOrder& order);

/// The angles of a rotation that are nearest to `previous` (least sum of squares), so that a curve
/// over time does not jump: of the two sets that describe the rotation, with any number of whole
/// turns added to each angle, and in gimbal lock with what is known shared out between the first
/// and the last angle. Angles may so leave the ranges above; a take that starts with
/// `toEulerRadians` and goes on with this one winds up as far as the body does.
TARN_KIT_EXPORT EulerAngles toEulerRadians(const Quaterniond& q, const EulerOrder& order,
                                           const EulerAngles& previous);
/// The same in degrees.
TARN_KIT_EXPORT EulerAngles toEulerDegrees(const Quaterniond& q, const EulerOrder& order,
                                           const EulerAngles& previous);

// ---- Axis and angle, rotation vectors, matrices

/// The turn by `radians` about `axis`, which need not be of length 1; the identity for an axis of
/// length 0.
TARN_KIT_EXPORT Quaterniond fromAxisAngle(const Vector3d& axis, double radians);
/// The angle is in [0, pi]. The identity is a turn by 0 about x.
/// Precondition: `q` is of length 1.
TARN_KIT_EXPORT AxisAngle toAxisAngle(const Quaterniond& q);

/// A rotation vector points along the axis and is as long as the angle in radians. Near 0 it is
/// exact to the last digits, as axis and angle are not.
TARN_KIT_EXPORT Quaterniond fromRotationVector(const Vector3d& v);
/// Of length at most pi. Precondition: `q` is of length 1.
TARN_KIT_EXPORT Vector3d toRotationVector(const Quaterniond& q);

/// Precondition: `q` is of length 1.
TARN_KIT_EXPORT Matrix3d toMatrix(const Quaterniond& q);
/// Of length 1, with a scalar part that is not negative. Precondition: `m` is a rotation (columns
/// of length 1, at right angles, right-handed); one that is off by rounding gives a rotation as
/// near.
TARN_KIT_EXPORT Quaterniond fromMatrix(const Matrix3d& m);

/// First `b`, then `a`.
TARN_KIT_EXPORT Matrix3d operator*(const Matrix3d& a, const Matrix3d& b);
TARN_KIT_EXPORT Vector3d operator*(const Matrix3d& m, const Vector3d& v);
/// Rows and columns exchanged: the opposite turn.
TARN_KIT_EXPORT Matrix3d transposed(const Matrix3d& m);

} // namespace tarn::kit
