// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// A symmetric matrix, of which only what is on and above the diagonal is kept up to date.
class DenseMatrix {
public:
    explicit DenseMatrix(std::size_t size) : size_(size), values_(size * size) {}

    std::size_t size() const { return size_; }
    double* row(std::size_t i) { return values_.data() + i * size_; }
    const double* row(std::size_t i) const { return values_.data() + i * size_; }
    double& operator()(std::size_t i, std::size_t j) { return values_[i * size_ + j]; }
    double operator()(std::size_t i, std::size_t j) const { return values_[i * size_ + j]; }
    void clear() { values_.assign(values_.size(), 0); }

    /// Replaces the matrix by its upper Cholesky factor. Returns false if it is not positive
    /// definite.
    bool factor();
    /// With the factor: replaces `rhs` by the solution.
    void solve(std::vector<double>& rhs) const;
    /// With the factor: the diagonal of the inverse.
    std::vector<double> inverseDiagonal() const;

private:
    std::size_t size_;
    std::vector<double> values_;
};

} // namespace tarn::kit
