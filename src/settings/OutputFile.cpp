// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/OutputFile.h>

#include "settings/FileReplacement.h"

#include <cassert>
#include <cstddef>
#include <locale>
#include <ostream>
#include <streambuf>

namespace tarn {

namespace {

constexpr std::size_t bufferSize = 1U << 18U; // takes are large, and rows of tables small

/// Hands what a stream gets to an `OutputFile`.
class StreamBuffer final : public std::streambuf {
public:
    explicit StreamBuffer(OutputFile& file) : file_(file) {}

private:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        file_.write({text, static_cast<std::size_t>(size)});
        return size;
    }
    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            const char text = traits_type::to_char_type(character);
            file_.write({&text, 1});
        }
        return traits_type::not_eof(character);
    }

    OutputFile& file_;
};

/// A stream that throws what its buffer throws.
class Stream final : public std::ostream {
public:
    explicit Stream(OutputFile& file) : std::ostream(nullptr), buffer_(file) {
        rdbuf(&buffer_);
        imbue(std::locale::classic());
        exceptions(std::ios::badbit);
    }

private:
    StreamBuffer buffer_;
};

} // namespace

struct OutputFile::PrivateData {
    explicit PrivateData(const std::string& fileName) : file(FileReplacement::open(fileName)) {}

    void flush() {
        file->write(buffer);
        buffer.clear();
    }

    std::unique_ptr<FileReplacement> file;
    std::string buffer;
    std::unique_ptr<std::ostream> stream; ///< made when it is asked for
    bool isCommitted = false;
};

OutputFile::OutputFile(const std::string& fileName) : d_(std::make_unique<PrivateData>(fileName)) {}

OutputFile::~OutputFile() = default;

void OutputFile::write(std::string_view text) {
    assert(!d_->isCommitted);
    if (d_->buffer.size() + text.size() > bufferSize) {
        d_->flush();
    }
    if (text.size() >= bufferSize) {
        d_->file->write(text);
    } else {
        d_->buffer += text;
    }
}

std::ostream& OutputFile::stream() {
    if (d_->stream == nullptr) {
        d_->stream = std::make_unique<Stream>(*this);
    }
    return *d_->stream;
}

void OutputFile::commit() {
    assert(!d_->isCommitted);
    d_->isCommitted = true;
    d_->flush();
    d_->file->commit();
}

} // namespace tarn
