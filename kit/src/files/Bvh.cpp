// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Bvh.h>

#include "files/BvhHierarchy.h"
#include "files/BvhMotion.h"
#include "files/FileBytes.h"

#include <fstream>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

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
    std::filebuf buffer;
    const std::size_t size = openFile(file, name, buffer);
    return parse(readAll(buffer, size, name), name);
}

BvhTake readBvh(std::istream& stream, const std::string& name) {
    if (!stream) {
        failWhole(name, "the stream cannot be read");
    }
    constexpr std::size_t firstRead = 65'536;
    return parse(readAll(*stream.rdbuf(), firstRead, name), name);
}

} // namespace tarn::kit
