// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/layout/C3dStatements.h"

#include <cmath>

namespace tarn::kit {

namespace {

/// The parameter as a number that is never negative: 16 bits may hold up to 65,535.
double unsignedNumber(const C3dParameter& parameter, std::size_t index) {
    const double number = parameter.number(index);
    if (number >= 0 || parameter.type == C3dType::Real) {
        return number;
    }
    return number + (parameter.type == C3dType::Byte ? 256 : 65536);
}

} // namespace

bool isPlausibleRate(double rate) noexcept { return rate > 1e-3 && rate < 1e6; }

bool isPlausibleScale(double scale) noexcept {
    return std::abs(scale) > 1e-6 && std::abs(scale) < 1e4;
}

bool isUsable(double number) noexcept { return std::isfinite(number) && number > 0; }

C3dStatements::C3dStatements(std::string_view bytes, std::uint64_t fileSize,
                             const C3dSection& section)
    : header_(bytes, section.processor), section_(section), fileSize_(fileSize) {}

C3dStatement C3dStatements::statedWord(int number) const {
    return {static_cast<double>(header_.word(number)), "header word " + std::to_string(number),
            c3d_header::offsetOf(number)};
}

C3dStatement C3dStatements::statedReal(int number) const {
    return {header_.real(number), "header word " + std::to_string(number),
            c3d_header::offsetOf(number)};
}

std::optional<C3dStatement> C3dStatements::stated(const char* group, const char* name) const {
    const C3dParameter* const parameter = section_.parameters.find(group, name);
    if (parameter == nullptr || parameter->size() == 0 || parameter->type == C3dType::Text) {
        return std::nullopt;
    }
    return C3dStatement{unsignedNumber(*parameter, 0), std::string(group) + ":" + name,
                        parameter->offset};
}

std::optional<double> C3dStatements::longNumber(const char* name, bool lowerIsLast) const {
    const C3dParameter* const parameter = section_.parameters.find("TRIAL", name);
    if (parameter == nullptr || parameter->size() == 0 || parameter->type == C3dType::Text) {
        return std::nullopt;
    }
    const double first = unsignedNumber(*parameter, 0);
    if (parameter->size() < 2) {
        return first;
    }
    const double second = unsignedNumber(*parameter, 1);
    return lowerIsLast ? second + 65536 * first : first + 65536 * second;
}

} // namespace tarn::kit
