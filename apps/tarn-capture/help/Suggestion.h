// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace tarn::capture {

/// The one of `names` that was probably meant by `word`: that with the fewest characters that are
/// missing, too many, wrong or swapped, if they are few for its length, or the only one that begins
/// with it. Empty if there is none.
std::string nearestName(std::string_view word, const std::vector<std::string>& names);

/// What is wrong with a command line that has been parsed and held something that nobody knows:
/// the first such word, and what was probably meant by it. Empty if everything is known.
std::string unknownWord(const CLI::App& program);

} // namespace tarn::capture
