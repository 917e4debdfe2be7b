// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <iostream>
#include <iterator>
#include <string>

namespace tarn::capture {

/// Whether a file's name stands for standard input, where something is read, or standard output,
/// where something is written. A file of that name is "./-".
inline bool isStandardStream(const std::string& name) { return name == "-"; }

/// All that standard input has left.
inline std::string readStandardInput() {
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

} // namespace tarn::capture
