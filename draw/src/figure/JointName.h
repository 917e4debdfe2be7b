// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Text.h>

#include <string>
#include <string_view>

namespace tarn::draw {

/// Whether `name` has a word of small letters in it, in any case.
inline bool hasWord(std::string_view name, std::string_view word) {
    return kit::lowered(name).find(word) != std::string::npos;
}

} // namespace tarn::draw
