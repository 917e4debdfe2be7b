// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tarn::capture {

/// A script for a shell that completes commands, flags, the values of flags that have only a few,
/// and files elsewhere. Made of what the help is made of. Precondition: `shell` is "bash", "zsh" or
/// "fish".
std::string completionScript(const CLI::App& program, const std::string& shell);

} // namespace tarn::capture
