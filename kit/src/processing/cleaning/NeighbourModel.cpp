// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/cleaning/NeighbourModel.h"

#include "body/RigidFit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tarn::kit {

namespace {

std::vector<Vector3d> positions(const MarkerTable& table, const std::vector<int>& markers,
                                int frame) {
    std::vector<Vector3d> result;
    result.reserve(markers.size());
    for (const int marker : markers) {
        result.push_back(table.at(frame, marker));
    }
    return result;
}

/// Solves a symmetric positive definite system, which it overwrites, by Cholesky's method.
std::vector<Vector3d> solve(std::vector<double>& a, std::vector<Vector3d> x) {
    const std::size_t n = x.size();
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = j; i < n; ++i) {
            double sum = a[i * n + j];
            for (std::size_t k = 0; k < j; ++k) {
                sum -= a[i * n + k] * a[j * n + k];
            }
            a[i * n + j] = i == j ? std::sqrt(std::max(sum, 1e-300)) : sum / a[j * n + j];
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            x[i] = x[i] - a[i * n + k] * x[k];
        }
        x[i] = (1 / a[i * n + i]) * x[i];
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t k = i + 1; k < n; ++k) {
            x[i] = x[i] - a[k * n + i] * x[k];
        }
        x[i] = (1 / a[i * n + i]) * x[i];
    }
    return x;
}

} // namespace

Cluster::Cluster(const MarkerTable& table, std::vector<int> members,
                 const std::vector<int>& training)
    : table_(&table), members_(std::move(members)),
      axes_(static_cast<std::size_t>(table.frameCount())) {
    // The mean shape of some frames, brought onto each other: their first one, then twice better.
    constexpr std::size_t enough = 100;
    const std::size_t step = training.size() / enough + 1;
    shape_ = positions(table, members_, training[training.size() / 2]);
    for (int round = 0; round < 2; ++round) {
        std::vector<Vector3d> sum(members_.size());
        double count = 0;
        for (std::size_t i = 0; i < training.size(); i += step) {
            const Transform axes = fit(training[i], shape_);
            for (std::size_t k = 0; k < members_.size(); ++k) {
                sum[k] = sum[k] + inverse(axes.rotation) *
                                      (table.at(training[i], members_[k]) - axes.position);
            }
            ++count;
        }
        for (std::size_t k = 0; k < members_.size(); ++k) {
            shape_[k] = (1 / count) * sum[k];
        }
    }
}

Transform Cluster::fit(int frame, const std::vector<Vector3d>& shape) const {
    const std::vector<Vector3d> points = positions(*table_, members_, frame);
    return rigidFit(shape.data(), points.data(), points.size());
}

const Transform& Cluster::at(int frame) {
    std::optional<Transform>& axes = axes_[static_cast<std::size_t>(frame)];
    if (!axes) {
        axes = fit(frame, shape_);
    }
    return *axes;
}

Vector3d Cluster::toLocal(int frame, const Vector3d& position) {
    const Transform& axes = at(frame);
    return inverse(axes.rotation) * (position - axes.position);
}

Vector3d Cluster::toWorld(int frame, const Vector3d& local) {
    const Transform& axes = at(frame);
    return axes.position + axes.rotation * local;
}

NeighbourModel::NeighbourModel(const MarkerTable& table, Cluster& cluster, int marker,
                               std::vector<int> features, const std::vector<int>& training)
    : table_(&table), cluster_(&cluster), marker_(marker), features_(std::move(features)),
      training_(training) {
    if (features_.empty()) {
        return;
    }
    const std::size_t width = 3 * features_.size();
    mean_.assign(width, 0);
    std::vector<double> mean(width);
    for (const int frame : training_) {
        fillRow(frame);
        for (std::size_t i = 0; i < width; ++i) {
            mean[i] += row_[i] / static_cast<double>(training_.size());
        }
    }
    mean_ = mean;
    normal_.assign((width + 1) * (width + 1), 0);
    right_.assign(width + 1, Vector3d{});
    for (const int frame : training_) {
        accumulate(frame, 1, normal_, right_);
    }
    constexpr double shrinkage = 1e-3; // of the mean variance
    double trace = 0;
    for (std::size_t i = 0; i < width; ++i) {
        trace += normal_[i * (width + 1) + i];
    }
    ridge_ = shrinkage * trace / static_cast<double>(width);
}

void NeighbourModel::fillRow(int frame) const {
    row_.clear();
    for (const int feature : features_) {
        const Vector3d local = cluster_->toLocal(frame, table_->at(frame, feature));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            row_.push_back(local[axis] - mean_[row_.size()]);
        }
    }
    row_.push_back(1);
}

void NeighbourModel::accumulate(int frame, double sign, std::vector<double>& normal,
                                std::vector<Vector3d>& right) const {
    fillRow(frame);
    const Vector3d target = cluster_->toLocal(frame, table_->at(frame, marker_));
    const std::size_t n = row_.size();
    for (std::size_t i = 0; i < n; ++i) {
        const double weight = sign * row_[i];
        for (std::size_t j = 0; j <= i; ++j) {
            normal[i * n + j] += weight * row_[j];
        }
        right[i] = right[i] + weight * target;
    }
}

std::vector<Vector3d> NeighbourModel::weightsWithout(int first, int end) const {
    if (features_.empty()) {
        return {};
    }
    std::vector<double> normal = normal_;
    std::vector<Vector3d> right = right_;
    const auto from = std::lower_bound(training_.begin(), training_.end(), first);
    for (auto frame = from; frame != training_.end() && *frame < end; ++frame) {
        accumulate(*frame, -1, normal, right);
    }
    const std::size_t n = right.size();
    for (std::size_t i = 0; i < n; ++i) {
        normal[i * n + i] += i + 1 < n ? ridge_ : 1e-9;
    }
    return solve(normal, std::move(right));
}

Vector3d NeighbourModel::predict(const std::vector<Vector3d>& weights, int frame) const {
    Vector3d sum;
    if (!features_.empty()) {
        fillRow(frame);
        for (std::size_t i = 0; i < row_.size(); ++i) {
            sum = sum + row_[i] * weights[i];
        }
    }
    return sum;
}

} // namespace tarn::kit
