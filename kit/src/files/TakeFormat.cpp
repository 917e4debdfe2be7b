// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/TakeFormat.h>

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <system_error>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t wanted = 512; // the header of a C3D file has many a NUL

/// Whether it starts as a BVH file, which may hold any bytes in its names.
bool startsAsBvh(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    constexpr std::string_view word = "hierarchy";
    if (text.substr(0, mark.size()) == mark) {
        text.remove_prefix(mark.size());
    }
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    return lowered(text.substr(0, word.size())) == word;
}

TakeFormat formatByEnding(const fs::path& file) {
    return lowered(file.extension().string()) == ".c3d" ? TakeFormat::C3d : TakeFormat::Bvh;
}

} // namespace

TakeFormat takeFormatIn(std::string_view beginning) {
    const std::string_view looked = beginning.substr(0, wanted);
    const bool hasNul = looked.find('\0') != std::string_view::npos;
    return hasNul && !startsAsBvh(looked) ? TakeFormat::C3d : TakeFormat::Bvh;
}

TakeFormat takeFormatOf(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) {
        return formatByEnding(file);
    }
    std::ifstream stream(file, std::ios::binary);
    std::array<char, wanted> bytes{};
    stream.read(bytes.data(), bytes.size());
    const auto size = static_cast<std::size_t>(stream.gcount());
    return size == 0 ? formatByEnding(file) : takeFormatIn({bytes.data(), size});
}

} // namespace tarn::kit
