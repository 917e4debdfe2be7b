// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace tarn::capture {

/// Whether a file's name stands for standard input, where something is read, or standard output,
/// where something is written. A file of that name is "./-".
inline bool isStandardStream(const std::string& name) { return name == "-"; }

/// All that a stream has left.
inline std::string readToEnd(std::istream& stream) {
    std::ostringstream all;
    all << stream.rdbuf();
    return all.str();
}

/// All that standard input has left.
inline std::string readStandardInput() { return readToEnd(std::cin); }

} // namespace tarn::capture
