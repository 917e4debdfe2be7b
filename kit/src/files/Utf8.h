// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string_view>

namespace tarn::kit {

/// The character that `text` starts with; empty if it starts with no well-formed UTF-8, and one
/// byte is to be taken for itself. Overlong forms, surrogates and what is beyond U+10FFFF are not
/// well-formed. Precondition: `text` is not empty.
std::string_view firstCharacter(std::string_view text);

/// The code point of what `firstCharacter` returned; 0 for an empty one.
std::uint32_t codePoint(std::string_view character);

/// Whether `byte` continues a character of several bytes.
inline bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

} // namespace tarn::kit
