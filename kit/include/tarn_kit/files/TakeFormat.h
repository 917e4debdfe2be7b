// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace tarn::kit {

/// The kinds of files that takes are read from.
enum class TakeFormat : std::uint8_t {
    Bvh, ///< a body, for `readBvh`
    C3d, ///< markers, for `readC3d`
};

/// The format of a file by how it begins, some hundred bytes or all of it: what starts with the
/// word HIERARCHY is BVH, and so is other text; what has a NUL is C3D. Whatever the file is called,
/// and however damaged it is, that is who can say best what is wrong with it.
TARN_KIT_EXPORT TakeFormat takeFormatIn(std::string_view beginning);

/// The format of a file by its content; by its ending where it is empty, cannot be read, or is not
/// a file that can be read twice.
TARN_KIT_EXPORT TakeFormat takeFormatOf(const std::filesystem::path& file);

} // namespace tarn::kit
