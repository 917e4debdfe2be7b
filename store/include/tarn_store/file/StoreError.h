// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_store/Export.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tarn::store {

/// What kept a take file from being read or written.
enum class StoreProblem : std::uint8_t {
    Missing,     ///< there is no such file
    Foreign,     ///< the file is something else
    TooNew,      ///< a later version wrote it, in a format that is not known here
    Damaged,     ///< what it holds contradicts itself
    Busy,        ///< another program keeps it locked
    Refused,     ///< no right to read or to write, or something is there already
    Full,        ///< no space is left
    Unsupported, ///< what is to be kept cannot be
    Failed,      ///< reading or writing failed
};

/// Why a take file could not be read or written. `what()` is one line, "walk.tarn: no space is
/// left".
class TARN_STORE_EXPORT StoreError : public std::runtime_error {
public:
    StoreError(std::filesystem::path file, StoreProblem problem, const std::string& reason);
    StoreError(const StoreError&) = default;
    StoreError& operator=(const StoreError&) = default;
    ~StoreError() override;

    const std::filesystem::path& file() const noexcept { return file_; }
    StoreProblem problem() const noexcept { return problem_; }
    /// What `what()` says behind the file.
    const std::string& reason() const noexcept { return reason_; }

private:
    std::filesystem::path file_;
    StoreProblem problem_;
    std::string reason_;
};

} // namespace tarn::store
