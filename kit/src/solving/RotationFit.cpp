// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/RotationFit.h"

#include "body/RigidFit.h"

namespace tarn::kit {

void RotationFit::clear() {
    from_.clear();
    to_.clear();
    weights_.clear();
}

void RotationFit::add(double weight, const Vector3d& from, const Vector3d& to) {
    // With its opposite, so that the middle of all stays where the vectors begin.
    for (const double sign : {1.0, -1.0}) {
        from_.push_back(sign * from);
        to_.push_back(sign * to);
        weights_.push_back(weight);
    }
}

void RotationFit::addUsual(double weight, const Quaterniond& rotation) {
    for (const Vector3d& axis : {Vector3d{1, 0, 0}, Vector3d{0, 1, 0}, Vector3d{0, 0, 1}}) {
        add(weight, axis, rotation * axis);
    }
}

Quaterniond RotationFit::rotation() const {
    return rigidFit(from_.data(), to_.data(), from_.size(), weights_.data()).rotation;
}

} // namespace tarn::kit
