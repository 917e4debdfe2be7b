// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Bvh.h>

#include "files/BvhHierarchy.h"
#include "files/BvhMotion.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <ios>
#include <streambuf>
#include <system_error>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void failWhole(const std::string& name, const std::string& reason) {
    throw ReadError(name, 0, 0, reason);
}

/// All that `source` has left; one read is enough if that is at most `size` bytes.
std::string readAll(std::streambuf& source, std::size_t size, const std::string& name) {
    std::string text;
    std::size_t used = 0;
    try {
        while (used == text.size()) {
            text.resize(std::max(size + 1, used * 2));
            const auto room = static_cast<std::streamsize>(text.size() - used);
            used += static_cast<std::size_t>(source.sgetn(&text[used], room));
        }
    } catch (const std::ios_base::failure& failure) {
        failWhole(name, failure.code().message());
    }
    text.resize(used);
    return text;
}

/// Only a regular file has an end that is certain to come.
std::string readFile(const fs::path& path, const std::string& name) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        failWhole(name, "not a regular file");
    }
    std::filebuf file;
    errno = 0;
    if (file.open(path, std::ios_base::in | std::ios_base::binary) == nullptr) {
        failWhole(name, std::generic_category().message(errno));
    }
    const std::uintmax_t size = fs::file_size(path, error);
    return readAll(file, error ? 0 : static_cast<std::size_t>(size), name);
}

BvhTake parse(std::string_view text, const std::string& name) {
    TextScanner scanner(text, name);
    BvhTake take;
    take.rig = readHierarchy(scanner);
    readMotion(scanner, take);
    take.tracks->setTracksName(fs::path(name).stem().string());
    return take;
}

} // namespace

BvhTake readBvh(const fs::path& file) {
    const std::string name = file.string();
    return parse(readFile(file, name), name);
}

BvhTake readBvh(std::istream& stream, const std::string& name) {
    if (!stream) {
        failWhole(name, "the stream cannot be read");
    }
    constexpr std::size_t firstRead = 65'536;
    return parse(readAll(*stream.rdbuf(), firstRead, name), name);
}

} // namespace tarn::kit
