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
    double least, most;
};
constexpr std::array<PlausibleHeights, 4> plausibleHeights{{
    {"m", 1.2, 2.3},
    {"in", 47, 90},
    {"cm", 120, 230},
    {"mm", 1200, 2300},
}};

/// In four significant digits, with a point whatever the locale.
std::string numberText(double number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                   std::chars_format::general, 4);
    return {text.data(), end.ptr};
}

} // namespace

std::optional<LengthUnit> lengthUnitNamed(std::string_view symbol) {
    struct Unit {
        std::string_view symbol;
        const char* name;
        double metres;
    };
    constexpr std::array<Unit, 5> units{{{"m", "metres", 1},
                                         {"cm", "centimetres", 0.01},
                                         {"mm", "millimetres", 0.001},
                                         {"in", "inches", 0.0254},
                                         {"ft", "feet", 0.3048}}};
    for (const Unit& unit : units) {
        if (unit.symbol == symbol) {
            return LengthUnit{std::string(symbol), unit.name, unit.metres};
        }
    }
    return std::nullopt;
}

LengthUnit guessLengthUnit(double bodyHeight) {
    for (const PlausibleHeights& heights : plausibleHeights) {
        if (bodyHeight >= heights.least && bodyHeight <= heights.most) {
            return *lengthUnitNamed(heights.symbol);
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
