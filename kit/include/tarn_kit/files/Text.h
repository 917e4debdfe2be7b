// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace tarn::kit {

// Names in takes are bytes that nobody has checked; what goes to people, terminals and documents is
// text. None of these functions fails, whatever the bytes.

/// `text` with every byte that is not part of well-formed UTF-8 replaced by U+FFFD.
TARN_KIT_EXPORT std::string validUtf8(std::string_view text);

/// As `validUtf8`, with control characters (C0, delete, C1) and the non-characters U+FFFE and
/// U+FFFF replaced as well: one line on a terminal, and allowed in XML.
TARN_KIT_EXPORT std::string printable(std::string_view text);

/// At most `length` characters of `text`, the last of them an ellipsis if something is cut off.
/// `text` is well-formed UTF-8; of other bytes, those that continue a character are not counted.
/// Nothing fits into a length of 0, but the ellipsis still says that there was something.
TARN_KIT_EXPORT std::string shortened(std::string_view text, std::size_t length);

/// `text` with the letters A to Z in small, whatever the locale; other bytes stay. For comparing
/// names whose case does not count.
TARN_KIT_EXPORT std::string lowered(std::string_view text);

/// "1 joint", "2 joints": `noun` takes an "s" but after 1.
TARN_KIT_EXPORT std::string counted(std::size_t count, std::string_view noun);

/// Bytes as text of 64 letters and digits (RFC 4648), padded with "=".
TARN_KIT_EXPORT std::string base64(std::string_view bytes);

/// The number that the whole of `text` is: decimal, with a decimal point whatever the locale, no
/// plus sign and no blanks. Empty if it is none, or none that a `Number` can hold.
template <class Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

} // namespace tarn::kit
