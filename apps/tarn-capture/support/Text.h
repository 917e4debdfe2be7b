// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarn::capture {

// Names in takes are bytes that nobody has checked; what goes out is text.

/// `text` with every byte that is not part of well-formed UTF-8 replaced by U+FFFD.
std::string validUtf8(std::string_view text);
/// As `validUtf8`, with control characters and non-characters replaced as well: one line on a
/// terminal, and allowed in XML.
std::string printable(std::string_view text);
/// At most `length` characters of well-formed UTF-8; what is cut off is marked by an ellipsis.
std::string shortened(std::string_view text, std::size_t length);
/// "1 joint", "2 joints".
std::string counted(std::size_t count, std::string_view noun);

} // namespace tarn::capture
