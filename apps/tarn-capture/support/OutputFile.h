// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

namespace tarn::capture {

/// A file that is written as a whole or not at all: what is written goes into a new file beside the
/// target, and `commit` puts that in the target's place in one step, with the permissions of a file
/// that was there. Without `commit` the target stays as it was and the new file is removed. A link
/// to a file stays a link. A target that is no regular file (a pipe, a terminal) is written to
/// directly.
///
/// The constructor, `write` and `commit` throw `std::runtime_error`: one line that names the
/// target.
class OutputFile {
public:
    explicit OutputFile(std::filesystem::path target);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view text);
    void commit();

private:
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void openBeside(const std::filesystem::path& regularTarget);
    [[noreturn]] void fail(int errorNumber) const;

    std::filesystem::path name_;    ///< what messages call the target
    std::filesystem::path target_;  ///< what is replaced
    std::filesystem::path written_; ///< the new file; empty if there is none, or none any more
    std::unique_ptr<std::FILE, Closer> file_;
};

/// Creates a directory, and those above it, if it is not there. Throws `std::runtime_error`: one
/// line that names it.
void makeDirectory(const std::filesystem::path& directory);

/// Throws `UsageError` if writing to `output` would destroy `input`. `option` is what named
/// `output`.
void refuseToOverwrite(const std::filesystem::path& input, const std::filesystem::path& output,
                       std::string_view option);

} // namespace tarn::capture
