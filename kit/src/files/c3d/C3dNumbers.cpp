// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dNumbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace tarn::kit {

namespace {

/// In the order of `C3dEncoding`.
constexpr std::array<const char*, 6> encodingNames = {"intel-real", "intel-int", "dec-real",
                                                      "dec-int",    "mips-real", "mips-int"};

constexpr std::uint32_t signBit = 0x80000000U;
constexpr std::uint32_t fraction = 0x007FFFFFU;
constexpr std::uint32_t hiddenBit = 0x00800000U;

/// The bits of a DEC number, sign and exponent first.
std::uint32_t decBits(float value) noexcept {
    if (!std::isfinite(value)) {
        return signBit;
    }
    if (value == 0) {
        return 0;
    }
    const std::uint32_t sign = std::signbit(value) ? signBit : 0;
    int exponent = 0;
    const float mantissa = std::frexp(std::abs(value), &exponent); // in [0.5, 1), as DEC has it
    exponent += 128;
    if (exponent < 1) {
        return 0;
    }
    if (exponent > 255) {
        return sign | ~signBit;
    }
    const auto bits = static_cast<std::uint32_t>(std::ldexp(mantissa, 24));
    return sign | static_cast<std::uint32_t>(exponent) << 23U | (bits & fraction);
}

} // namespace

C3dProcessor processorOf(C3dEncoding encoding) noexcept {
    switch (encoding) {
    case C3dEncoding::DecReal:
    case C3dEncoding::DecInteger:
        return C3dProcessor::Dec;
    case C3dEncoding::MipsReal:
    case C3dEncoding::MipsInteger:
        return C3dProcessor::Mips;
    default:
        return C3dProcessor::Intel;
    }
}

bool isReal(C3dEncoding encoding) noexcept {
    return encoding == C3dEncoding::IntelReal || encoding == C3dEncoding::DecReal ||
           encoding == C3dEncoding::MipsReal;
}

C3dEncoding encodingOf(C3dProcessor processor, bool real) noexcept {
    switch (processor) {
    case C3dProcessor::Dec:
        return real ? C3dEncoding::DecReal : C3dEncoding::DecInteger;
    case C3dProcessor::Mips:
        return real ? C3dEncoding::MipsReal : C3dEncoding::MipsInteger;
    default:
        return real ? C3dEncoding::IntelReal : C3dEncoding::IntelInteger;
    }
}

std::string to_string(C3dEncoding encoding) {
    return encodingNames.at(static_cast<std::size_t>(encoding));
}

std::optional<C3dEncoding> c3dEncodingOf(std::string_view name) {
    const auto* const found = std::find(encodingNames.begin(), encodingNames.end(), name);
    if (found == encodingNames.end()) {
        return std::nullopt;
    }
    return static_cast<C3dEncoding>(found - encodingNames.begin());
}

const char* nameOf(C3dProcessor processor) noexcept {
    switch (processor) {
    case C3dProcessor::Dec:
        return "DEC";
    case C3dProcessor::Mips:
        return "MIPS";
    default:
        return "Intel";
    }
}

float smallDecReal(std::uint32_t bits) noexcept {
    const bool negative = (bits & signBit) != 0;
    const auto exponent = static_cast<int>((bits & ~signBit) >> 23U);
    if (exponent == 0) {
        return negative ? std::numeric_limits<float>::quiet_NaN() : 0.0F;
    }
    const auto mantissa = static_cast<float>((bits & fraction) | hiddenBit);
    const float value = std::ldexp(mantissa, exponent - 128 - 24);
    return negative ? -value : value;
}

void putWord(char* at, std::uint16_t value, C3dProcessor processor) noexcept {
    const auto low = static_cast<char>(value & 0xFFU);
    const auto high = static_cast<char>(value >> 8U);
    at[0] = processor == C3dProcessor::Mips ? high : low;
    at[1] = processor == C3dProcessor::Mips ? low : high;
}

void putReal(char* at, float value, C3dProcessor processor) noexcept {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    if (processor == C3dProcessor::Dec) {
        bits = decBits(value);
    }
    const auto low = static_cast<std::uint16_t>(bits & 0xFFFFU);
    const auto high = static_cast<std::uint16_t>(bits >> 16U);
    const bool lowFirst = processor == C3dProcessor::Intel;
    putWord(at, lowFirst ? low : high, processor);
    putWord(at + 2, lowFirst ? high : low, processor);
}

std::size_t widthOf(C3dType type) noexcept {
    switch (type) {
    case C3dType::Text:
    case C3dType::Byte:
        return 1;
    case C3dType::Integer:
        return 2;
    case C3dType::Real:
        return 4;
    }
    return 0;
}

std::string converted(std::string elements, C3dType type, C3dProcessor from, C3dProcessor to) {
    if (from == to) {
        return elements;
    }
    if (type == C3dType::Integer) {
        for (std::size_t i = 0; i + 2 <= elements.size(); i += 2) {
            putWord(&elements[i], wordAt(&elements[i], from), to);
        }
    } else if (type == C3dType::Real) {
        for (std::size_t i = 0; i + 4 <= elements.size(); i += 4) {
            putReal(&elements[i], realAt(&elements[i], from), to);
        }
    }
    return elements;
}

} // namespace tarn::kit
