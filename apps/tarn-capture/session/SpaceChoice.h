// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Settings.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/Bvh.h>

#include <optional>

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

/// Notes in a document what was chosen, and nothing of what was not; and reads that.
void noteSpace(Settings& entry, const SpaceChoice& choice);
SpaceChoice notedSpace(const Settings& entry);

} // namespace tarn::capture
