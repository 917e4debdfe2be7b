// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/ReadError.h>

#include <string_view>
#include <utility>

namespace tarn::kit {

namespace {

/// Control characters as `\x0a`: a message stays on its line whatever the file or its name holds.
std::string onOneLine(const std::string& text) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string line;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x20 || code == 0x7f) {
            line += {'\\', 'x', digits[code / 16], digits[code % 16]};
        } else {
            line += c;
        }
    }
    return line;
}

std::string message(const std::string& file, std::size_t line, std::size_t column,
                    const std::string& reason) {
    std::string place;
    if (line != 0) {
        place = ":" + std::to_string(line) + ":" + std::to_string(column);
    }
    return onOneLine(file + place + ": " + reason);
}

} // namespace

ReadError::ReadError(std::string file, std::size_t line, std::size_t column,
                     const std::string& reason)
    : std::runtime_error(message(file, line, column, reason)), file_(std::move(file)), line_(line),
      column_(column) {}

ReadError::ReadError(std::string file, ByteOffset offset, const std::string& reason)
    : std::runtime_error(
          onOneLine(file + ": byte " + std::to_string(offset.value) + ": " + reason)),
      file_(std::move(file)), line_(0), column_(0), offset_(offset.value) {}

ReadError::~ReadError() = default;

} // namespace tarn::kit
