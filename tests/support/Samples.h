// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>
#include <string>

namespace tarn::testing {

/// Where the sample takes of the project are.
std::filesystem::path sampleDirectory();
/// A sample take, by the name of its file.
std::filesystem::path samplePath(const std::string& file);

} // namespace tarn::testing
