// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"

#include <tarn_kit/solving/MarkerBody.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::kit {

/// A marker body made ready to be solved: its joints and one more in each forearm, which turns the
/// wrist about the forearm's axis.
struct BodyAssembly {
    Articulation articulation;
    /// Of all joints: those of the body, and "LeftForeArmTwist" and "RightForeArmTwist".
    std::vector<std::string> names;
    std::vector<std::size_t> joints; ///< of each joint of the human body, its own here

    explicit BodyAssembly(const MarkerBody& body);
};

} // namespace tarn::kit
