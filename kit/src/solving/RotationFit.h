// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Spatial.h"

namespace tarn::kit {

/// The rotation that takes vectors to others with the least sum of squared, weighted misses (Horn,
/// "Closed-form solution of absolute orientation using unit quaternions", 1987).
class RotationFit {
public:
    void add(double weight, const Vector3d& from, const Vector3d& to);
    /// Pulls towards `rotation`, as three unit vectors of that weight do.
    void addUsual(double weight, const Quaterniond& rotation);
    /// The identity if nothing was added.
    Quaterniond rotation() const;

private:
    Block sum_; ///< of from * transposed(to)
};

} // namespace tarn::kit
