// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::capture {

/// How many columns a text takes: its characters, whatever number of bytes they have. The text is
/// well-formed UTF-8.
std::size_t columnsOf(std::string_view text);

/// The words of a text in lines of at most `width` columns; a word that is wider gets a line of its
/// own. Line ends in the text stay. No line at all for an empty text.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// A text in such lines that begin with `indent` blanks and end with a line end; those after the
/// first begin with two more.
std::string hanging(std::string_view text, std::size_t indent, std::size_t width);

/// Items side by side, with two blanks between them, in lines of at most `width` columns that begin
/// with `indent` blanks and end with a line end. All items get the width of the widest.
std::string inColumns(const std::vector<std::string>& items, std::size_t indent, std::size_t width);

} // namespace tarn::capture
