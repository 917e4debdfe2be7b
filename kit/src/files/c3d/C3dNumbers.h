// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace tarn::kit {

/// Whose order of bytes and floating-point format a file has; the numbers are those that files name
/// them by.
enum class C3dProcessor : std::uint8_t { Intel = 84, Dec = 85, Mips = 86 };

inline bool namesProcessor(std::uint8_t byte) noexcept { return byte >= 84 && byte <= 86; }

C3dProcessor processorOf(C3dEncoding encoding) noexcept;
bool isReal(C3dEncoding encoding) noexcept;
C3dEncoding encodingOf(C3dProcessor processor, bool real) noexcept;

/// "Intel", "DEC" or "MIPS".
const char* nameOf(C3dProcessor processor) noexcept;

// Numbers as they lie in a file, at any address.

inline std::uint8_t byteAt(const char* at) noexcept { return static_cast<std::uint8_t>(*at); }

inline std::uint16_t wordAt(const char* at, C3dProcessor processor) noexcept {
    const std::uint32_t first = byteAt(at);
    const std::uint32_t second = byteAt(at + 1);
    return static_cast<std::uint16_t>(processor == C3dProcessor::Mips ? first << 8U | second
                                                                      : second << 8U | first);
}

/// A 16-bit integer with its sign.
inline std::int16_t integerAt(const char* at, C3dProcessor processor) noexcept {
    return static_cast<std::int16_t>(wordAt(at, processor));
}

/// What is left of a DEC number whose exponent is too small for a simple change of it.
float smallDecReal(std::uint32_t bits) noexcept;

/// The IEEE number of the same value as a DEC one (sign, an exponent that is 2 more than that of
/// IEEE, and the same fraction). An exponent of 0 is zero, whatever the fraction, and with a sign
/// no number.
inline float decReal(std::uint32_t bits) noexcept {
    constexpr std::uint32_t exponent = 0x7F800000U;
    constexpr std::uint32_t two = 0x01000000U;
    if ((bits & exponent) <= two) {
        return smallDecReal(bits);
    }
    const std::uint32_t ieee = bits - two;
    float value = 0;
    std::memcpy(&value, &ieee, sizeof value);
    return value;
}

inline float realAt(const char* at, C3dProcessor processor) noexcept {
    std::uint32_t bits = 0;
    std::memcpy(&bits, at, sizeof bits);
    if (processor == C3dProcessor::Dec) {
        // The word with sign and exponent comes first, each word with its low byte first.
        return decReal(bits << 16U | bits >> 16U);
    }
    if (processor == C3dProcessor::Mips) {
        bits = bits << 24U | (bits & 0xFF00U) << 8U | (bits >> 8U & 0xFF00U) | bits >> 24U;
    }
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void putWord(char* at, std::uint16_t value, C3dProcessor processor) noexcept;

/// In the DEC format, what is not finite becomes a number that is none, and what is too large or
/// too small for it the nearest that it has.
void putReal(char* at, float value, C3dProcessor processor) noexcept;

/// How many bytes an element of a parameter takes; 0 where what a file names is no type.
std::size_t widthOf(C3dType type) noexcept;

/// Elements of a parameter in another order of bytes; those of parameters are kept in that of
/// Intel.
std::string converted(std::string elements, C3dType type, C3dProcessor from, C3dProcessor to);

} // namespace tarn::kit
