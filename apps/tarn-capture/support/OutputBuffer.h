// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/OutputFile.h"

#include <streambuf>
#include <string_view>

namespace tarn::capture {

/// What a stream needs to write to an `OutputFile`, which must outlive it. What the file throws
/// comes out of the stream if `std::ios::badbit` is among the stream's exceptions.
class OutputBuffer final : public std::streambuf {
public:
    explicit OutputBuffer(OutputFile& file) : file_(file) {}

private:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        file_.write({text, static_cast<std::size_t>(size)});
        return size;
    }
    int_type overflow(int_type character) override {
        const char text = traits_type::to_char_type(character);
        file_.write({&text, 1});
        return character;
    }

    OutputFile& file_;
};

} // namespace tarn::capture
