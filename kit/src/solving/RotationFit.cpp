// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/RotationFit.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

namespace {

using Matrix4 = std::array<std::array<double, 4>, 4>;

/// One rotation of Jacobi's method: makes a[p][q] zero and turns the columns of v along.
void turnAway(Matrix4& a, Matrix4& v, std::size_t p, std::size_t q) {
    const double theta = (a[q][q] - a[p][p]) / (2 * a[p][q]);
    const double t = (theta < 0 ? -1 : 1) / (std::abs(theta) + std::sqrt(theta * theta + 1));
    const double c = 1 / std::sqrt(t * t + 1), s = t * c;
    for (std::size_t k = 0; k < 4; ++k) {
        const double akp = a[k][p], akq = a[k][q];
        a[k][p] = c * akp - s * akq;
        a[k][q] = s * akp + c * akq;
    }
    for (std::size_t k = 0; k < 4; ++k) {
        const double apk = a[p][k], aqk = a[q][k];
        a[p][k] = c * apk - s * aqk;
        a[q][k] = s * apk + c * aqk;
        const double vkp = v[k][p], vkq = v[k][q];
        v[k][p] = c * vkp - s * vkq;
        v[k][q] = s * vkp + c * vkq;
    }
}

/// The eigenvector of the largest eigenvalue.
std::array<double, 4> largestEigenvector(Matrix4 a) {
    Matrix4 v = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    for (int sweep = 0; sweep < 12; ++sweep) {
        for (std::size_t p = 0; p < 3; ++p) {
            for (std::size_t q = p + 1; q < 4; ++q) {
                if (std::abs(a[p][q]) > 1e-300) {
                    turnAway(a, v, p, q);
                }
            }
        }
    }
    std::size_t best = 0;
    for (std::size_t i = 1; i < 4; ++i) {
        best = a[i][i] > a[best][best] ? i : best;
    }
    return {v[0][best], v[1][best], v[2][best], v[3][best]};
}

} // namespace

void RotationFit::add(double weight, const Vector3d& from, const Vector3d& to) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            sum_(i, j) += weight * from[i] * to[j];
        }
    }
}

void RotationFit::addUsual(double weight, const Quaterniond& rotation) {
    sum_ += weight * transposed(blockOf(rotation));
}

Quaterniond RotationFit::rotation() const {
    const Block& s = sum_;
    const Matrix4 n = {{{s(0, 0) + s(1, 1) + s(2, 2), s(1, 2) - s(2, 1), s(2, 0) - s(0, 2),
                         s(0, 1) - s(1, 0)},
                        {s(1, 2) - s(2, 1), s(0, 0) - s(1, 1) - s(2, 2), s(0, 1) + s(1, 0),
                         s(2, 0) + s(0, 2)},
                        {s(2, 0) - s(0, 2), s(0, 1) + s(1, 0), s(1, 1) - s(0, 0) - s(2, 2),
                         s(1, 2) + s(2, 1)},
                        {s(0, 1) - s(1, 0), s(2, 0) + s(0, 2), s(1, 2) + s(2, 1),
                         s(2, 2) - s(0, 0) - s(1, 1)}}};
    const std::array<double, 4> q = largestEigenvector(n);
    return normalized({q[1], q[2], q[3], q[0]});
}

} // namespace tarn::kit
