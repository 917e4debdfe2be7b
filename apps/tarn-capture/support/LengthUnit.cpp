// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/LengthUnit.h"

#include <fmt/format.h>

#include <array>

namespace tarn::capture {

namespace {

/// The body heights that speak for a unit. No two ranges overlap.
struct PlausibleHeights {
    const char* symbol;
    const char* name;
    double least, most;
};
constexpr std::array<PlausibleHeights, 4> plausibleHeights{{
    {"m", "metres", 1.2, 2.3},
    {"in", "inches", 47, 90},
    {"cm", "centimetres", 120, 230},
    {"mm", "millimetres", 1200, 2300},
}};

} // namespace

LengthUnit guessLengthUnit(double bodyHeight) {
    for (const PlausibleHeights& heights : plausibleHeights) {
        if (bodyHeight >= heights.least && bodyHeight <= heights.most) {
            return {heights.symbol, heights.name};
        }
    }
    return {"unit", ""};
}

std::string describeGuess(const LengthUnit& unit, double bodyHeight) {
    if (unit.known()) {
        return fmt::format("lengths are in {}: the body is {:.4g} high", unit.name, bodyHeight);
    }
    return fmt::format("lengths are in a unit of the take's own: a body {:.4g} high fits none of "
                       "metres, centimetres, millimetres, inches",
                       bodyHeight);
}

std::string lengthText(double length, const LengthUnit& unit) {
    const std::string number = fmt::format("{:.4g}", length);
    const bool plural = !unit.known() && number != "1";
    return fmt::format("{} {}{}", number, unit.symbol, plural ? "s" : "");
}

} // namespace tarn::capture
