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

bool isOfNoText(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code < 0x20 && c != '\t' && c != '\n' && c != '\v' && c != '\f' && c != '\r';
}

TakeFormat formatByEnding(const fs::path& file) {
    return lowered(file.extension().string()) == ".c3d" ? TakeFormat::C3d : TakeFormat::Bvh;
}

} // namespace

TakeFormat takeFormatOf(std::string_view beginning) {
    const std::string_view looked = beginning.substr(0, wanted);
    return std::any_of(looked.begin(), looked.end(), isOfNoText) ? TakeFormat::C3d
                                                                 : TakeFormat::Bvh;
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
    return size == 0 ? formatByEnding(file) : takeFormatOf(std::string_view(bytes.data(), size));
}

} // namespace tarn::kit
