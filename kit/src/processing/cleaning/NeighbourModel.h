// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>

#include "body/Kinematics.h"
#include "processing/cleaning/MarkerTable.h"

#include <optional>
#include <vector>

namespace tarn::kit {

/// The axes that some markers that move together carry along, by the best rigid fit of their mean
/// shape in each frame.
class Cluster {
public:
    /// Learns the shape from the frames `training`. Precondition: all `members` have a position in
    /// each of them, and in every frame that is asked for.
    Cluster(const MarkerTable& table, std::vector<int> members, const std::vector<int>& training);

    /// From the axes of the cluster to those of the take.
    const Transform& at(int frame);
    Vector3d toLocal(int frame, const Vector3d& position);
    Vector3d toWorld(int frame, const Vector3d& local);

private:
    Transform fit(int frame, const std::vector<Vector3d>& shape) const;

    const MarkerTable* table_;
    std::vector<int> members_;
    std::vector<Vector3d> shape_;
    std::vector<std::optional<Transform>> axes_; ///< by frame, as they were needed
};

/// Where a marker is in the axes of a cluster, told from where other markers are in them: a linear
/// regression over frames in which all were seen, with a little shrinkage (ridge). Without other
/// markers it is always at the origin, and all that is known is what `Shores` say.
class NeighbourModel {
public:
    /// Precondition: as for `cluster`, for `marker` and the markers in `features`, too.
    NeighbourModel(const MarkerTable& table, Cluster& cluster, int marker,
                   std::vector<int> features, const std::vector<int>& training);

    /// The weights as they are without the training frames from `first` to before `end`.
    std::vector<Vector3d> weightsWithout(int first, int end) const;
    /// In the cluster's axes.
    Vector3d predict(const std::vector<Vector3d>& weights, int frame) const;

private:
    void fillRow(int frame) const;
    void accumulate(int frame, double sign, std::vector<double>& normal,
                    std::vector<Vector3d>& right) const;

    const MarkerTable* table_;
    Cluster* cluster_;
    int marker_;
    std::vector<int> features_;
    std::vector<int> training_; ///< ascending
    std::vector<double> mean_;
    double ridge_ = 0;
    std::vector<double> normal_; ///< of the normal equations, square, row by row
    std::vector<Vector3d> right_;
    mutable std::vector<double> row_; ///< features of the frame at hand, then 1
};

} // namespace tarn::kit
