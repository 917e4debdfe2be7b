// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace tarn::capture {

/// What lengths in a take are measured in. Motion files do not state it.
struct LengthUnit {
    std::string symbol; ///< "m", "cm", "mm", "in", or "unit" where nothing fits
    std::string name;   ///< in words, plural; empty where nothing fits
    bool known() const { return !name.empty(); }
};

/// The unit in which `bodyHeight` is that of a human being, from a child of 1.2 m to 2.3 m.
LengthUnit guessLengthUnit(double bodyHeight);
/// What has been guessed, in words.
std::string describeGuess(const LengthUnit& unit, double bodyHeight);

/// A length with its unit, in four significant digits: "172.4 cm", "30.13 units".
std::string lengthText(double length, const LengthUnit& unit);

} // namespace tarn::capture
