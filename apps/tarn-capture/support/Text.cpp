// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace tarn::capture {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

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

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

bool fits(std::string_view text, const LeadRange& range) {
    if (range.length == 1) {
        return true;
    }
    return text.size() >= range.length && byteAt(text, 1) >= range.secondFirst &&
           byteAt(text, 1) <= range.secondLast &&
           std::all_of(text.begin() + 2, text.begin() + static_cast<std::ptrdiff_t>(range.length),
                       isContinuation);
}

/// The character that `text` starts with; empty if it starts with no well-formed one.
std::string_view firstCharacter(std::string_view text) {
    for (const LeadRange& range : leadRanges) {
        if (byteAt(text, 0) >= range.first && byteAt(text, 0) <= range.last) {
            return fits(text, range) ? text.substr(0, range.length) : std::string_view();
        }
    }
    return {};
}

/// Control characters (C0, delete, C1) and the two non-characters that XML forbids.
bool isUnprintable(std::string_view character) {
    if (character.size() == 1) {
        return byteAt(character, 0) < 0x20 || byteAt(character, 0) == 0x7F;
    }
    return (character.size() == 2 && byteAt(character, 0) == 0xC2 && byteAt(character, 1) < 0xA0) ||
           character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

template <class Rejects>
std::string cleaned(std::string_view text, Rejects rejects) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::string_view character = firstCharacter(text);
        result += character.empty() || rejects(character) ? replacement : character;
        text.remove_prefix(std::max<std::size_t>(character.size(), 1));
    }
    return result;
}

} // namespace

std::string validUtf8(std::string_view text) {
    return cleaned(text, [](std::string_view) { return false; });
}

std::string printable(std::string_view text) { return cleaned(text, isUnprintable); }

std::string shortened(std::string_view text, std::size_t length) {
    std::size_t characters = 0;
    std::size_t cut = 0; // where the text ends if it has to make room for the ellipsis
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isContinuation(text[i])) {
            continue;
        }
        if (characters + 1 == length) {
            cut = i;
        }
        if (++characters > length) {
            return std::string(text.substr(0, cut)).append(ellipsis);
        }
    }
    return std::string(text);
}

std::string counted(std::size_t count, std::string_view noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

} // namespace tarn::capture
