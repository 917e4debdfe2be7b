// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/LengthUnit.h>

#include <array>
#include <charconv>

namespace tarn::kit {

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

/// In four significant digits, with a point whatever the locale.
std::string numberText(double number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                   std::chars_format::general, 4);
    return {text.data(), end.ptr};
}

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
    const std::string height = numberText(bodyHeight);
    if (unit.known()) {
        return "lengths are in " + unit.name + ": the body is " + height + " high";
    }
    return "lengths are in a unit of the take's own: a body " + height +
           " high fits none of metres, centimetres, millimetres, inches";
}

std::string lengthText(double length, const LengthUnit& unit) {
    const std::string number = numberText(length);
    const bool plural = !unit.known() && number != "1";
    return number + " " + unit.symbol + (plural ? "s" : "");
}

} // namespace tarn::kit
