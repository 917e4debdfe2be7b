// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tarn::link {

/// No text that somebody sends for people is longer.
inline constexpr std::size_t longestText = 255;

/// What came, fit to be shown; nothing for none, and for one that is too long.
std::optional<std::string> textIn(const char* text);

/// The name of this machine.
std::string hostName();

} // namespace tarn::link
