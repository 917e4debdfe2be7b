// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/DenseMatrix.h"

#include <cmath>

namespace tarn::kit {

bool DenseMatrix::factor() {
    for (std::size_t k = 0; k < size_; ++k) {
        double* const pivot = row(k);
        if (!(pivot[k] > 0)) {
            return false;
        }
        const double scale = 1 / std::sqrt(pivot[k]);
        for (std::size_t j = k; j < size_; ++j) {
            pivot[j] *= scale;
        }
        for (std::size_t i = k + 1; i < size_; ++i) {
            const double factor = pivot[i];
            if (factor != 0) {
                double* const target = row(i);
                for (std::size_t j = i; j < size_; ++j) {
                    target[j] -= factor * pivot[j];
                }
            }
        }
    }
    return true;
}

void DenseMatrix::solve(std::vector<double>& rhs) const {
    for (std::size_t i = 0; i < size_; ++i) {
        rhs[i] /= (*this)(i, i);
        for (std::size_t j = i + 1; j < size_; ++j) {
            rhs[j] -= (*this)(i, j) * rhs[i];
        }
    }
    for (std::size_t i = size_; i-- > 0;) {
        for (std::size_t j = i + 1; j < size_; ++j) {
            rhs[i] -= (*this)(i, j) * rhs[j];
        }
        rhs[i] /= (*this)(i, i);
    }
}

std::vector<double> DenseMatrix::inverseDiagonal() const {
    std::vector<double> diagonal(size_);
    std::vector<double> column(size_);
    for (std::size_t k = 0; k < size_; ++k) {
        column.assign(size_, 0);
        column[k] = 1;
        solve(column);
        diagonal[k] = column[k];
    }
    return diagonal;
}

} // namespace tarn::kit
