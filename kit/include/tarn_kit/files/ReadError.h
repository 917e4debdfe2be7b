// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace tarn::kit {

/// A place in a file that is not made of lines: so many bytes from its start.
struct ByteOffset {
    std::uint64_t value = 0;
};

/// Why a file could not be read, and where. `what()` is one line, "walk.bvh:12:7: expected ..." or
/// "walk.c3d: byte 514: expected ...": it shows control characters as codes such as `\x0a`.
class TARN_KIT_EXPORT ReadError : public std::runtime_error {
public:
    /// `line` and `column` count from 1, the column in bytes. Line 0 means the file as a whole (it
    /// could not be opened, say): `what()` then leaves both out.
    ReadError(std::string file, std::size_t line, std::size_t column, const std::string& reason);
    /// In a file of bytes: line and column are 0.
    ReadError(std::string file, ByteOffset offset, const std::string& reason);
    ReadError(const ReadError&) = default;
    ReadError(ReadError&&) = default;
    ReadError& operator=(const ReadError&) = default;
    ReadError& operator=(ReadError&&) = default;
    ~ReadError() override;

    const std::string& file() const noexcept { return file_; }
    std::size_t line() const noexcept { return line_; }
    std::size_t column() const noexcept { return column_; }
    /// The offset of the byte; nothing in a file of lines.
    const std::optional<std::uint64_t>& offset() const noexcept { return offset_; }

private:
    std::string file_;
    std::size_t line_;
    std::size_t column_;
    std::optional<std::uint64_t> offset_;
};

} // namespace tarn::kit
