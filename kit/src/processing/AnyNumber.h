// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <any>
#include <cmath>
#include <optional>

namespace tarn::kit {

/// The number that the value of a factor is, whichever of the common types it has.
inline std::optional<double> numberHeldBy(const std::any& value) {
    if (const auto* const number = std::any_cast<int>(&value)) {
        return *number;
    }
    if (const auto* const number = std::any_cast<float>(&value)) {
        return static_cast<double>(*number);
    }
    if (const auto* const number = std::any_cast<double>(&value)) {
        return *number;
    }
    return std::nullopt;
}

/// The same for whole numbers from `least` to `most`.
inline std::optional<int> wholeNumberHeldBy(const std::any& value, int least, int most) {
    const std::optional<double> number = numberHeldBy(value);
    if (!number || !(*number >= least && *number <= most) || std::floor(*number) != *number) {
        return std::nullopt;
    }
    return static_cast<int>(*number);
}

} // namespace tarn::kit
