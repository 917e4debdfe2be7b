// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/FrameRange.h"

#include <tarn_kit/files/C3d.h>

#include <functional>
#include <string_view>

namespace tarn::capture {

/// Takes text, piece by piece, so that the length of a take costs time and no memory.
using TextSink = std::function<void(std::string_view)>;

// Where the markers of a take are, frame by frame, with the numbers that the file gives the frames
// and the time from its first one. Positions are those of the file, written with the fewest digits
// that read back to the same value.

/// A table: frame, time, then x, y and z of each marker, empty where it was not seen.
void writeMarkerCsv(const kit::C3dTake& take, FrameRange range, const TextSink& write);

/// A document:
///
///     {"markers": ["LFHD", ...], "subjects": ["Anna", ...], "unit": "mm", "rate": 120.0,
///      "first_frame": 1,
///      "frames": [{"frame": 1, "time": 0.0, "positions": [[x, y, z], null, ...]}, ...]}
///
/// with a subject for each marker, "" for none, and a position or null (not seen) for each, in the
/// order of the file.
void writeMarkerJson(const kit::C3dTake& take, FrameRange range, const TextSink& write);

} // namespace tarn::capture
