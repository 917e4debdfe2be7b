// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// The turn about a fixed point that brings vectors from there nearest to others. Memory is kept
/// from one fit to the next.
class RotationFit {
public:
    void clear();
    void add(double weight, const Vector3d& from, const Vector3d& to);
    /// Pulls towards `rotation`, as three unit vectors of that weight do.
    void addUsual(double weight, const Quaterniond& rotation);
    /// Precondition: something was added.
    Quaterniond rotation() const;

private:
    std::vector<Vector3d> from_, to_;
    std::vector<double> weights_;
};

} // namespace tarn::kit
