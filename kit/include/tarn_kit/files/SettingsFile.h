// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Settings.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/files/ReadError.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {

// What people need who write settings documents by hand: `Settings` says whether a document can be
// read, these say what is wrong with it and where.

/// Loads a document as `Settings::loadSettingsFromFile` does, from a regular file or a pipe, and
/// returns its text, in which `placeOf` finds what stands where. Throws `ReadError`, and changes
/// nothing, if it cannot: with line and column of the markup at fault, or about the file as a
/// whole. Blocks until the writers of a pipe have closed it.
TARN_KIT_EXPORT std::string loadSettings(Settings& settings, const std::filesystem::path& file);

/// The same from the text of a document; `name` stands for the file in errors.
TARN_KIT_EXPORT void loadSettings(Settings& settings, const std::string& text,
                                  const std::string& name);

/// A place in a text. Both count from 1, the column in bytes.
struct TextPlace {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// Where the element at a path of a document begins: the first of its name at every level, as
/// `Settings` follows paths, but at the last one that of `index`, counted from 0. Nothing if there
/// is none, or the document cannot be read that far.
TARN_KIT_EXPORT std::optional<TextPlace> placeOf(std::string_view document, std::string_view path,
                                                 std::size_t index = 0);

/// Removes the entries at a path, all of that name, with all that is in them; returns how many
/// there were. (`Settings::remove` takes a name and no path.) No signal.
TARN_KIT_EXPORT std::size_t removeSetting(Settings& settings, const std::string& path);

} // namespace tarn::kit
