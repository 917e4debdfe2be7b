// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/FrameRange.h"

#include <tarn_kit/files/C3d.h>

#include <optional>

namespace tarn::capture {

/// The frames of a take that were asked for, by the numbers that the file gives them, as indexes
/// from 0; all if nothing was. Throws `UsageError`, which says what the take has, unless it has
/// them all.
FrameRange chosenFrames(const std::optional<FrameChoice>& choice, const kit::C3dInfo& take);

/// The markers at a frame of the take. Precondition: 0 <= `frame` < `frameCount`.
const kit::MarkerFrame& markersAt(const kit::C3dTake& take, int frame);

/// When a frame begins, in seconds from the start of the take, by the rate that the file states.
double secondsAt(const kit::C3dInfo& take, int frame);

} // namespace tarn::capture
