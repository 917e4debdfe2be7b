// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tarn::capture {

/// The manual page of the program, in roff, for section 1: the same text as the help of the program
/// and of all its commands.
std::string manualPage(const CLI::App& program, const std::string& version);

} // namespace tarn::capture
