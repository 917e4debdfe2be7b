// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Text.h>

#include "files/Utf8.h"

#include <algorithm>
#include <cstdint>

namespace tarn::kit {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

/// Control characters (C0, delete, C1) and the two non-characters that XML forbids.
bool isUnprintable(std::string_view character) {
    const std::uint32_t code = codePoint(character);
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0xFFFE || code == 0xFFFF;
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

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return result;
}

std::string counted(std::size_t count, std::string_view noun) {
    return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

std::string base64(std::string_view bytes) {
    static constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t bits = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            bits = bits << 8U | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= count ? digits[bits >> (18 - 6 * j) & 63U] : '=';
        }
    }
    return text;
}

} // namespace tarn::kit
