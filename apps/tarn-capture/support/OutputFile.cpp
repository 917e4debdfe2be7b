// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/OutputFile.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

/// A name for a new file that no other running program uses.
fs::path newName(const fs::path& directory, int attempt) {
    return directory / fmt::format(".tarn-capture-{}-{}.tmp", ::getpid(), attempt);
}

} // namespace

OutputFile::OutputFile(fs::path target) : name_(std::move(target)) {
    std::error_code error;
    const fs::file_status status = fs::status(name_, error);
    if (!fs::status_known(status)) { // a name that cannot be, for example
        fail(error.value());
    }
    if (fs::is_directory(status)) {
        fail(EISDIR);
    }
    if (fs::exists(status) && ::access(name_.c_str(), W_OK) != 0) {
        fail(errno);
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        file_.reset(std::fopen(name_.c_str(), "wb"));
    } else {
        target_ = fs::exists(status) ? fs::canonical(name_, error) : name_;
        openBeside(target_);
    }
    if (file_ == nullptr) {
        fail(errno);
    }
    constexpr std::size_t bufferSize = 1U << 18U; // takes are large, and rows of tables small
    std::setvbuf(file_.get(), nullptr, _IOFBF, bufferSize);
    if (fs::is_regular_file(status)) {
        fs::permissions(written_, status.permissions(), error);
    }
}

OutputFile::~OutputFile() {
    if (!written_.empty()) {
        std::error_code ignored;
        fs::remove(written_, ignored);
    }
}

void OutputFile::openBeside(const fs::path& regularTarget) {
    const fs::path directory = regularTarget.parent_path();
    for (int attempt = 0; file_ == nullptr && (attempt == 0 || errno == EEXIST); ++attempt) {
        const fs::path name = newName(directory, attempt);
        file_.reset(std::fopen(name.c_str(), "wbx"));
        if (file_ != nullptr) {
            written_ = name;
        }
    }
}

void OutputFile::write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) {
        fail(errno);
    }
}

void OutputFile::commit() {
    // Closing writes what is still buffered: only then is it known whether everything has arrived.
    if (std::fclose(file_.release()) != 0) {
        fail(errno);
    }
    if (!written_.empty()) {
        std::error_code error;
        fs::rename(written_, target_, error);
        if (error) {
            fail(error.value());
        }
        written_.clear();
    }
}

void OutputFile::fail(int errorNumber) const {
    throw std::runtime_error(fmt::format("cannot write '{}': {}", name_.string(),
                                         std::generic_category().message(errorNumber)));
}

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
