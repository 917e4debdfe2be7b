// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "body/RigidFit.h"

#include <array>
#include <cassert>
#include <cmath>

namespace tarn::kit {

namespace {

using Matrix4 = std::array<std::array<double, 4>, 4>;

/// Turns rows and columns p and q of a symmetric matrix such that the entry they share becomes 0,
/// and the columns of `vectors` with them.
void rotate(Matrix4& a, Matrix4& vectors, std::size_t p, std::size_t q) {
    if (a[p][q] == 0) {
        return;
    }
    const double theta = (a[q][q] - a[p][p]) / (2 * a[p][q]);
    const double t = std::copysign(1 / (std::abs(theta) + std::sqrt(theta * theta + 1)), theta);
    const double c = 1 / std::sqrt(t * t + 1);
    const double s = t * c;
    for (std::size_t k = 0; k < 4; ++k) {
        const double akp = a[k][p];
        const double akq = a[k][q];
        a[k][p] = c * akp - s * akq;
        a[k][q] = s * akp + c * akq;
    }
    for (std::size_t k = 0; k < 4; ++k) {
        const double apk = a[p][k];
        const double aqk = a[q][k];
        a[p][k] = c * apk - s * aqk;
        a[q][k] = s * apk + c * aqk;
        const double vkp = vectors[k][p];
        const double vkq = vectors[k][q];
        vectors[k][p] = c * vkp - s * vkq;
        vectors[k][q] = s * vkp + c * vkq;
    }
}

/// The eigenvector of the largest eigenvalue of a symmetric matrix, by Jacobi's method.
std::array<double, 4> largestEigenvector(Matrix4 a) {
    Matrix4 vectors{};
    double size = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        vectors[i][i] = 1;
        for (const double entry : a[i]) {
            size += entry * entry;
        }
    }
    constexpr int mostSweeps = 30; // five or six do, as a rule
    for (int sweep = 0; sweep < mostSweeps; ++sweep) {
        double rest = 0;
        for (std::size_t p = 0; p < 4; ++p) {
            for (std::size_t q = p + 1; q < 4; ++q) {
                rest += a[p][q] * a[p][q];
            }
        }
        if (!(rest > 1e-30 * size)) {
            break;
        }
        for (std::size_t p = 0; p < 4; ++p) {
            for (std::size_t q = p + 1; q < 4; ++q) {
                rotate(a, vectors, p, q);
            }
        }
    }
    std::size_t best = 0;
    for (std::size_t i = 1; i < 4; ++i) {
        best = a[i][i] > a[best][best] ? i : best;
    }
    return {vectors[0][best], vectors[1][best], vectors[2][best], vectors[3][best]};
}

Vector3d meanOf(const Vector3d* points, std::size_t count, const double* weights) {
    Vector3d sum;
    double weight = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double w = weights == nullptr ? 1 : weights[i];
        sum = sum + w * points[i];
        weight += w;
    }
    return (1 / weight) * sum;
}

} // namespace

Transform rigidFit(const Vector3d* from, const Vector3d* to, std::size_t count,
                   const double* weights) {
    assert(count > 0);
    const Vector3d fromMean = meanOf(from, count, weights);
    const Vector3d toMean = meanOf(to, count, weights);
    Matrix3d s{{{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}}};
    for (std::size_t i = 0; i < count; ++i) {
        const double w = weights == nullptr ? 1 : weights[i];
        const Vector3d a = w * (from[i] - fromMean);
        const Vector3d b = to[i] - toMean;
        for (std::size_t row = 0; row < 3; ++row) {
            for (std::size_t column = 0; column < 3; ++column) {
                s[row][column] += a[row] * b[column];
            }
        }
    }
    const auto [w, x, y, z] = largestEigenvector(
        {{{s[0][0] + s[1][1] + s[2][2], s[1][2] - s[2][1], s[2][0] - s[0][2], s[0][1] - s[1][0]},
          {s[1][2] - s[2][1], s[0][0] - s[1][1] - s[2][2], s[0][1] + s[1][0], s[2][0] + s[0][2]},
          {s[2][0] - s[0][2], s[0][1] + s[1][0], s[1][1] - s[0][0] - s[2][2], s[1][2] + s[2][1]},
          {s[0][1] - s[1][0], s[2][0] + s[0][2], s[1][2] + s[2][1], s[2][2] - s[0][0] - s[1][1]}}});
    const Quaterniond rotation = normalized(Quaterniond{x, y, z, w});
    return {rotation, toMean - rotation * fromMean};
}

} // namespace tarn::kit
