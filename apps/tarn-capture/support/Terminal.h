// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdio>

namespace tarn::capture {

/// How many columns the terminal has that `stream` goes to; 80 where it does not say. 0 if the
/// stream goes to a file or a pipe.
std::size_t terminalWidth(std::FILE* stream);

/// How wide lines on standard output may be: as the terminal is, within reason, and 80 columns
/// elsewhere. The last column stays free, since some terminals break the line there.
std::size_t outputWidth();

} // namespace tarn::capture
