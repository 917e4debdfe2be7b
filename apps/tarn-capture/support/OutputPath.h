// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::capture {

/// Creates a directory, and those above it, if it is not there. Throws `std::runtime_error`: one
/// line that names it.
void makeDirectory(const std::filesystem::path& directory);

/// Whether a name stands for a directory: one that is there, or one that ends as such.
bool isDirectory(const std::string& name);

/// Throws `UsageError` for "-": what goes into a directory cannot go to standard output.
void refuseStandardOutput(const std::string& directory, std::string_view option);

/// The paths of files in a directory, each a name with an ending.
std::vector<std::string> filesIn(const std::filesystem::path& directory,
                                 const std::vector<std::string>& names, const std::string& ending);

/// Throws `UsageError` if writing to `output` would destroy `input`. `option` is what named
/// `output`.
void refuseToOverwrite(const std::filesystem::path& input, const std::filesystem::path& output,
                       std::string_view option);
/// The same for any of several inputs and outputs.
void refuseToOverwrite(const std::vector<std::string>& inputs,
                       const std::vector<std::string>& outputs, std::string_view option);

/// A file as it is found from a directory, so that a document there finds it again wherever both
/// are moved; fit to be printed.
std::string pathFrom(const std::filesystem::path& directory, const std::filesystem::path& file);

} // namespace tarn::capture
