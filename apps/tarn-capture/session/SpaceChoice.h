// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Settings.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/Bvh.h>

#include <optional>
#include <string>
#include <string_view>

namespace tarn::capture {

/// What the user says of the lengths and axes of takes, which files leave open.
struct SpaceChoice {
    double scale = 1;                    ///< multiplies all lengths
    std::optional<kit::LengthUnit> unit; ///< of lengths once they are scaled
    std::optional<kit::UpAxis> up;
};

/// A take that is scaled, with the space of its rig as it was chosen; where it was not, as it is
/// known, as that of a recording may be, or else guessed.
kit::BvhTake withSpace(kit::BvhTake take, const SpaceChoice& choice);

/// Notes in an entry of a document, in its group "Reading", what was chosen, and nothing of what
/// was not.
void noteSpace(Settings& entry, const SpaceChoice& choice);
/// Reads that below the key of the entry; `text` is that of the document `file`. Throws
/// `std::runtime_error`, which names place and key, for what nobody can have chosen.
SpaceChoice notedSpace(const Settings& document, const std::string& key, const std::string& file,
                       const std::string& text);

/// By how much lengths can be multiplied; nothing for a text that does not say it.
std::optional<double> parseScale(std::string_view text);
/// What the texts of such values may be, for errors.
inline constexpr const char* scaleWords = "a number from 0.000001 to 1000000";
inline constexpr const char* unitWords = "m, cm, mm, in or ft";
inline constexpr const char* upWords = "x, y or z";

} // namespace tarn::capture
