// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace tarn::kit {

/// Why a file could not be read, and where. `what()` is one line, "walk.bvh:12:7: expected ...": it
/// shows control characters as codes such as `\x0a`.
class TARN_KIT_EXPORT ReadError : public std::runtime_error {
public:
    /// `line` and `column` count from 1, the column in bytes. Line 0 means the file as a whole (it
    /// could not be opened, say): `what()` then leaves both out.
    ReadError(std::string file, std::size_t line, std::size_t column, const std::string& reason);
    ReadError(const ReadError&) = default;
    ReadError(ReadError&&) = default;
    ReadError& operator=(const ReadError&) = default;
    ReadError& operator=(ReadError&&) = default;
    ~ReadError() override;

    const std::string& file() const noexcept { return file_; }
    std::size_t line() const noexcept { return line_; }
    std::size_t column() const noexcept { return column_; }

private:
    std::string file_;
    std::size_t line_;
    std::size_t column_;
};

} // namespace tarn::kit
