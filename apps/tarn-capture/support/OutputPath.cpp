// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/OutputPath.h"

#include "support/Errors.h"

#include <fmt/format.h>

#include <stdexcept>
#include <system_error>

namespace tarn::capture {

namespace fs = std::filesystem;

void makeDirectory(const fs::path& directory) {
    std::error_code error;
    fs::create_directories(directory, error);
    if (error) {
        throw std::runtime_error(fmt::format("cannot create the directory '{}': {}",
                                             directory.string(), error.message()));
    }
}

void refuseToOverwrite(const fs::path& input, const fs::path& output, std::string_view option) {
    std::error_code error; // a file that is not there is no other file
    if (fs::equivalent(input, output, error)) {
        throw UsageError(
            fmt::format("{}: '{}' is what the command reads", option, output.string()));
    }
}

} // namespace tarn::capture
