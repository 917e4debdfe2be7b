// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/XmlName.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace tarn::kit {

namespace {

struct Range {
    std::uint32_t first, last;
};

// The characters of names, https://www.w3.org/TR/xml/#NT-NameStartChar and #NT-NameChar.
constexpr std::array<Range, 15> starts{{{':', ':'},
                                        {'A', 'Z'},
                                        {'_', '_'},
                                        {'a', 'z'},
                                        {0xC0, 0xD6},
                                        {0xD8, 0xF6},
                                        {0xF8, 0x2FF},
                                        {0x370, 0x37D},
                                        {0x37F, 0x1FFF},
                                        {0x200C, 0x200D},
                                        {0x2070, 0x218F},
                                        {0x2C00, 0x2FEF},
                                        {0x3001, 0xD7FF},
                                        {0xF900, 0xFDCF},
                                        {0xFDF0, 0xFFFD}}};
constexpr std::array<Range, 5> others{
    {{'-', '-'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}}};

template <std::size_t n>
bool isIn(const std::array<Range, n>& ranges, std::uint32_t character) {
    return std::any_of(ranges.begin(), ranges.end(), [character](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

bool isStart(std::uint32_t character) {
    return isIn(starts, character) || (character >= 0x10000 && character <= 0xEFFFF);
}

/// The first character of a text.
struct Character {
    std::uint32_t code;
    std::size_t length; ///< in bytes; 1, with a code of 0, for what is no UTF-8
};

Character firstOf(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::uint32_t lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    constexpr Character broken{0, 1};
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return broken;
    }
    std::uint32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) {
            return broken;
        }
        code = code << 6U | (byte(i) & 0x3FU);
    }
    return code < least[length] ? broken : Character{code, length};
}

} // namespace

std::string xmlName(std::string_view text) {
    std::string name;
    if (text.empty() || (!isStart(firstOf(text).code) && isIn(others, firstOf(text).code))) {
        name = "_";
    }
    while (!text.empty()) {
        const auto [code, length] = firstOf(text);
        name += isStart(code) || isIn(others, code) ? std::string(text.substr(0, length)) : "_";
        text.remove_prefix(length);
    }
    return name;
}

} // namespace tarn::kit
