// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/FrameRange.h"

#include <tarn/Tracks.h>

#include <optional>

namespace tarn::capture {

/// Compares the poses of some frames of two takes: time and values. Returns the index of the first
/// frame that differs, or that only one of them has; none if all are the same.
std::optional<int> firstDifference(Tracks& a, Tracks& b, FrameRange range);
/// The same with the markers of the frames.
std::optional<int> firstMarkerDifference(Tracks& a, Tracks& b, FrameRange range);

} // namespace tarn::capture
