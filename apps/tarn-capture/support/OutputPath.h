// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>
#include <string_view>

namespace tarn::capture {

/// Creates a directory, and those above it, if it is not there. Throws `std::runtime_error`: one
/// line that names it.
void makeDirectory(const std::filesystem::path& directory);

/// Throws `UsageError` if writing to `output` would destroy `input`. `option` is what named
/// `output`.
void refuseToOverwrite(const std::filesystem::path& input, const std::filesystem::path& output,
                       std::string_view option);

} // namespace tarn::capture
