// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>

#include <array>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

// The small matrices of the solver, inline: its inner loops consist of nothing else.

/// A 3x3 matrix, row by row.
struct Block {
    std::array<double, 9> m{};

    double& operator()(std::size_t row, std::size_t column) { return m[3 * row + column]; }
    double operator()(std::size_t row, std::size_t column) const { return m[3 * row + column]; }

    Block& operator+=(const Block& other) {
        for (std::size_t i = 0; i < 9; ++i) {
            m[i] += other.m[i];
        }
        return *this;
    }
};

inline Block diagonal(double x, double y, double z) { return {{x, 0, 0, 0, y, 0, 0, 0, z}}; }

/// The matrix of the cross product: `crossOf(a) * b` is `cross(a, b)`.
inline Block crossOf(const Vector3d& a) { return {{0, -a.z, a.y, a.z, 0, -a.x, -a.y, a.x, 0}}; }

inline Block operator*(double factor, const Block& a) {
    Block result;
    for (std::size_t i = 0; i < 9; ++i) {
        result.m[i] = factor * a.m[i];
    }
    return result;
}

inline Block operator*(const Block& a, const Block& b) {
    Block result;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            result(i, j) = a(i, 0) * b(0, j) + a(i, 1) * b(1, j) + a(i, 2) * b(2, j);
        }
    }
    return result;
}

inline Block transposed(const Block& a) {
    return {{a.m[0], a.m[3], a.m[6], a.m[1], a.m[4], a.m[7], a.m[2], a.m[5], a.m[8]}};
}

inline Vector3d operator*(const Block& a, const Vector3d& v) {
    return {a.m[0] * v.x + a.m[1] * v.y + a.m[2] * v.z, a.m[3] * v.x + a.m[4] * v.y + a.m[5] * v.z,
            a.m[6] * v.x + a.m[7] * v.y + a.m[8] * v.z};
}

/// The transposed matrix times a vector.
inline Vector3d transposedTimes(const Block& a, const Vector3d& v) {
    return {a.m[0] * v.x + a.m[3] * v.y + a.m[6] * v.z, a.m[1] * v.x + a.m[4] * v.y + a.m[7] * v.z,
            a.m[2] * v.x + a.m[5] * v.y + a.m[8] * v.z};
}

/// `a * crossOf(v)`.
inline Block timesCross(const Block& a, const Vector3d& v) {
    Block result;
    for (std::size_t i = 0; i < 3; ++i) {
        result(i, 0) = a(i, 1) * v.z - a(i, 2) * v.y;
        result(i, 1) = a(i, 2) * v.x - a(i, 0) * v.z;
        result(i, 2) = a(i, 0) * v.y - a(i, 1) * v.x;
    }
    return result;
}

/// `target -= transposed(a) * b`.
inline void subtractTransposedProduct(Block& target, const Block& a, const Block& b) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            target(i, j) -= a(0, i) * b(0, j) + a(1, i) * b(1, j) + a(2, i) * b(2, j);
        }
    }
}

/// Of a symmetric, positive definite matrix.
inline Block inverseOf(const Block& a) {
    const double c00 = a(1, 1) * a(2, 2) - a(1, 2) * a(2, 1);
    const double c01 = a(1, 2) * a(2, 0) - a(1, 0) * a(2, 2);
    const double c02 = a(1, 0) * a(2, 1) - a(1, 1) * a(2, 0);
    const double scale = 1 / (a(0, 0) * c00 + a(0, 1) * c01 + a(0, 2) * c02);
    const double d01 = a(0, 2) * a(2, 1) - a(0, 1) * a(2, 2);
    const double d11 = a(0, 0) * a(2, 2) - a(0, 2) * a(2, 0);
    const double d12 = a(0, 2) * a(1, 0) - a(0, 0) * a(1, 2);
    const double d22 = a(0, 0) * a(1, 1) - a(0, 1) * a(1, 0);
    return {{scale * c00, scale * d01, scale * (a(0, 1) * a(1, 2) - a(0, 2) * a(1, 1)), scale * c01,
             scale * d11, scale * d12, scale * c02, scale * (a(0, 1) * a(2, 0) - a(0, 0) * a(2, 1)),
             scale * d22}};
}

/// The lower Cholesky factor of a symmetric, positive definite matrix.
inline Block choleskyOf(const Block& a) {
    Block l;
    l(0, 0) = std::sqrt(a(0, 0));
    l(1, 0) = a(1, 0) / l(0, 0);
    l(2, 0) = a(2, 0) / l(0, 0);
    l(1, 1) = std::sqrt(a(1, 1) - l(1, 0) * l(1, 0));
    l(2, 1) = (a(2, 1) - l(2, 0) * l(1, 0)) / l(1, 1);
    l(2, 2) = std::sqrt(a(2, 2) - l(2, 0) * l(2, 0) - l(2, 1) * l(2, 1));
    return l;
}

/// The matrix of a rotation. Precondition: `q` is of length 1.
inline Block blockOf(const Quaterniond& q) {
    const double xx = q.x * q.x;
    const double yy = q.y * q.y;
    const double zz = q.z * q.z;
    const double xy = q.x * q.y;
    const double xz = q.x * q.z;
    const double yz = q.y * q.z;
    const double wx = q.w * q.x;
    const double wy = q.w * q.y;
    const double wz = q.w * q.z;
    return {{1 - 2 * (yy + zz), 2 * (xy - wz), 2 * (xz + wy), 2 * (xy + wz), 1 - 2 * (xx + zz),
             2 * (yz - wx), 2 * (xz - wy), 2 * (yz + wx), 1 - 2 * (xx + yy)}};
}

/// What turns a small turn of a rotation in its own axes into the change of its rotation vector
/// `v`: the inverse of the right Jacobian of SO(3) (Chirikjian, "Stochastic Models, Information
/// Theory, and Lie Groups", volume 2, 2012, section 10.3).
inline Block inverseRightJacobian(const Vector3d& v) {
    const double squared = dot(v, v);
    const Block k = crossOf(v);
    double factor = 1.0 / 12 + squared / 720;
    if (squared > 1e-4) {
        const double angle = std::sqrt(squared);
        factor = 1 / squared - (1 + std::cos(angle)) / (2 * angle * std::sin(angle));
    }
    Block result = diagonal(1, 1, 1);
    result += 0.5 * k;
    result += factor * (k * k);
    return result;
}

} // namespace tarn::kit
