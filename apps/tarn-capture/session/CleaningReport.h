// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/processing/cleaning/GapFilling.h>
#include <tarn_kit/processing/cleaning/LowPass.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// What was done to a take of markers. Frames are told as the file numbers them.
struct CleaningReport {
    /// The take as it was read: names, numbers of frames, unit.
    kit::C3dTake take;
    std::optional<kit::LengthUnit> unit; ///< of lengths that are told; else that of the take
    std::vector<int> untouched;          ///< unlabelled points
    bool byDefault = false;              ///< nobody asked for anything in particular
    std::optional<std::vector<kit::MarkerChange>> changes;
    std::optional<std::vector<kit::MarkerGap>> gaps;
    kit::LowPassOptions filter;
    std::optional<kit::LowPassed> filtered;
};

/// For people: a line per step, and below it one for each change and gap, up to some dozens.
std::string textOf(const CleaningReport& report);

/// For programs: a JSON document with all of it.
std::string documentOf(const CleaningReport& report);

} // namespace tarn::capture
