// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace tarn::kit {

namespace {

unsigned char byteAt(std::string_view text, std::size_t i) {
    return static_cast<unsigned char>(text[i]);
}

/// The lead bytes of well-formed UTF-8, how long their sequences are, and which second bytes keep
/// overlong forms, surrogates and what is beyond U+10FFFF out.
struct LeadRange {
    unsigned char first, last;
    std::size_t length;
    unsigned char secondFirst, secondLast;
};
constexpr std::array<LeadRange, 9> leadRanges{{
    {0x00, 0x7F, 1, 0, 0},
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
}};

bool fits(std::string_view text, const LeadRange& range) {
    if (range.length == 1) {
        return true;
    }
    return text.size() >= range.length && byteAt(text, 1) >= range.secondFirst &&
           byteAt(text, 1) <= range.secondLast &&
           std::all_of(text.begin() + 2, text.begin() + static_cast<std::ptrdiff_t>(range.length),
                       isContinuation);
}

} // namespace

std::string_view firstCharacter(std::string_view text) {
    for (const LeadRange& range : leadRanges) {
        if (byteAt(text, 0) >= range.first && byteAt(text, 0) <= range.last) {
            return fits(text, range) ? text.substr(0, range.length) : std::string_view();
        }
    }
    return {};
}

std::uint32_t codePoint(std::string_view character) {
    if (character.empty()) {
        return 0;
    }
    // The lead byte of n bytes starts with n ones and a zero; one byte is its own code.
    const std::uint32_t lead = byteAt(character, 0);
    std::uint32_t code = character.size() == 1 ? lead : lead & (0x7FU >> character.size());
    for (std::size_t i = 1; i < character.size(); ++i) {
        code = code << 6U | (byteAt(character, i) & 0x3FU);
    }
    return code;
}

} // namespace tarn::kit
