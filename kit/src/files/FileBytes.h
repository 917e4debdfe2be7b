// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <streambuf>
#include <string>

namespace tarn::kit {

/// Throws a `ReadError` about a file as a whole.
[[noreturn]] void failWhole(const std::string& name, const std::string& reason);

/// Opens a regular file, the only kind whose end is certain to come, and returns its size. Throws a
/// `ReadError` that calls it `name`.
std::size_t openFile(const std::filesystem::path& path, const std::string& name,
                     std::filebuf& file);

/// Reads up to `size` bytes and returns how many there were.
std::size_t readSome(std::streambuf& source, char* bytes, std::size_t size,
                     const std::string& name);

/// All that `source` has left; one read is enough if that is at most `size` bytes.
std::string readAll(std::streambuf& source, std::size_t size, const std::string& name);

} // namespace tarn::kit
