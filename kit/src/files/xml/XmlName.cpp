// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/xml/XmlName.h"

#include "files/Utf8.h"

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

} // namespace

std::string xmlName(std::string_view text) {
    std::string name;
    const std::uint32_t first = text.empty() ? 0 : codePoint(firstCharacter(text));
    if (text.empty() || (!isStart(first) && isIn(others, first))) {
        name = "_";
    }
    while (!text.empty()) {
        const std::string_view character = firstCharacter(text);
        const std::uint32_t code = codePoint(character);
        name += isStart(code) || isIn(others, code) ? character : "_";
        text.remove_prefix(std::max<std::size_t>(character.size(), 1));
    }
    return name;
}

} // namespace tarn::kit
