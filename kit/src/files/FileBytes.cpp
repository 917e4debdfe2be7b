// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/FileBytes.h"

#include <tarn_kit/files/ReadError.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ios>
#include <system_error>

namespace tarn::kit {

namespace fs = std::filesystem;

void failWhole(const std::string& name, const std::string& reason) {
    throw ReadError(name, 0, 0, reason);
}

std::size_t openFile(const fs::path& path, const std::string& name, std::filebuf& file) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        failWhole(name, "not a regular file");
    }
    errno = 0;
    if (file.open(path, std::ios_base::in | std::ios_base::binary) == nullptr) {
        failWhole(name, std::generic_category().message(errno));
    }
    const std::uintmax_t size = fs::file_size(path, error);
    return error ? 0 : static_cast<std::size_t>(size);
}

std::size_t readSome(std::streambuf& source, char* bytes, std::size_t size,
                     const std::string& name) {
    try {
        return static_cast<std::size_t>(source.sgetn(bytes, static_cast<std::streamsize>(size)));
    } catch (const std::ios_base::failure& failure) {
        failWhole(name, failure.code().message());
    }
}

std::string readAll(std::streambuf& source, std::size_t size, const std::string& name) {
    std::string text;
    std::size_t used = 0;
    while (used == text.size()) {
        text.resize(std::max(size + 1, used * 2));
        used += readSome(source, &text[used], text.size() - used, name);
    }
    text.resize(used);
    return text;
}

} // namespace tarn::kit
