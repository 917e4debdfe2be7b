// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace tarn {

// Numbers as settings hold them, always in the classic locale: a host that speaks German must
// neither write "1,8" nor read "1.8" as 1.

/// What `printf` makes of "%f".
std::string toText(float value);
/// What `atof` makes of `text`: the number it begins with, or 0.
double toReal(const std::string& text);
/// What `atoi` makes of `text`: the number it begins with, or 0.
int toInteger(const std::string& text);

} // namespace tarn
