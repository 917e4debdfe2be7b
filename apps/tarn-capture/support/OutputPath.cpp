// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/OutputPath.h"

#include "support/Errors.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

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

bool isDirectory(const std::string& name) {
    std::error_code error;
    return (!name.empty() && name.back() == '/') || fs::is_directory(name, error);
}

void refuseStandardOutput(const std::string& directory, std::string_view option) {
    if (isStandardStream(directory)) {
        throw UsageError(fmt::format("{} -: several files cannot go to standard output", option));
    }
}

std::vector<std::string> filesIn(const fs::path& directory, const std::vector<std::string>& names,
                                 const std::string& ending) {
    std::vector<std::string> files;
    files.reserve(names.size());
    for (const std::string& name : names) {
        files.push_back((directory / (name + ending)).string());
    }
    return files;
}

void refuseToOverwrite(const fs::path& input, const fs::path& output, std::string_view option) {
    std::error_code error; // a file that is not there is no other file
    if (fs::equivalent(input, output, error)) {
        throw UsageError(
            fmt::format("{}: '{}' is what the command reads", option, output.string()));
    }
}

void refuseToOverwrite(const std::vector<std::string>& inputs,
                       const std::vector<std::string>& outputs, std::string_view option) {
    for (const std::string& input : inputs) {
        std::error_code error;
        const bool isPart = !fs::exists(input, error); // "FILE#NAME"
        const fs::path file = isPart ? input.substr(0, input.rfind('#')) : input;
        for (const std::string& output : outputs) {
            refuseToOverwrite(file, fs::path(output), option);
        }
    }
}

std::string pathFrom(const fs::path& directory, const fs::path& file) {
    std::error_code error;
    const fs::path path = fs::relative(file, directory, error);
    return kit::printable(error || path.empty() ? file.string() : path.generic_string());
}

} // namespace tarn::capture
