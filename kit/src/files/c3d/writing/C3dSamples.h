// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <string>

namespace tarn::kit {

/// Throws `std::invalid_argument`: a C3D file cannot hold the take, for this reason.
[[noreturn]] void refuseC3d(const std::string& reason);

/// The samples of a take, checked once: each has a payload of its type and of the size that the
/// take states. What it refers to outlives it.
class C3dSamples {
public:
    /// Throws `std::invalid_argument` if something is missing.
    explicit C3dSamples(const C3dTake& take);

    const MarkerFrame& markers(int index) const;
    const AnalogFrame& analog(int index) const;
    const RigidBodyFrame& bodies(int index) const;

    int frames = 0;
    int samples = 0;
    int bodySamples = 0;

private:
    void checkAnalog();
    void checkBodies();

    const C3dTake& take_;
};

} // namespace tarn::kit
