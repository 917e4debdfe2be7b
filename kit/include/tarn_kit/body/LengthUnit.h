// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {

/// What lengths in a take are measured in. Most motion files do not state it: then it is guessed
/// from what is known to be human-sized, or given by the user. See `Space`.
struct LengthUnit {
    std::string symbol; ///< "m", "cm", "mm", "in", "ft", or "unit" where nothing fits
    std::string name;   ///< in words, plural; empty where nothing fits
    double metres = 0;  ///< how long one is; 0 where nothing fits
    /// Whether a unit fitted.
    bool known() const { return !name.empty(); }
};

/// The unit with this symbol: "m", "cm", "mm", "in" or "ft". Nothing for any other text.
TARN_KIT_EXPORT std::optional<LengthUnit> lengthUnitNamed(std::string_view symbol);

/// The unit in which `bodyHeight` (of a rig: `Rig::height()`) is that of a human being, from a
/// child of 1.2 m to 2.3 m, both included; at most one unit fits. What is no number fits none.
TARN_KIT_EXPORT LengthUnit guessLengthUnit(double bodyHeight);

/// What has been guessed, in words: "lengths are in centimetres: the body is 172.4 high".
TARN_KIT_EXPORT std::string describeGuess(const LengthUnit& unit, double bodyHeight);

/// A length with its unit, in four significant digits, whatever the locale: "172.4 cm",
/// "30.13 units".
TARN_KIT_EXPORT std::string lengthText(double length, const LengthUnit& unit);

} // namespace tarn::kit
