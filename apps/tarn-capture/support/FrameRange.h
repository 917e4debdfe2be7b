// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>

namespace tarn::capture {

/// Frames of a take, both ends included: 10..15 are 6 frames. Empty if `last` is before `first`.
struct FrameRange {
    int first;
    int last;
};

/// All frames of a take.
inline FrameRange allFrames(int frameCount) { return {0, frameCount - 1}; }

/// Reads "A..B", decimal digits on both sides. Throws `UsageError`, which names `option`, if it is
/// something else or A is after B.
FrameRange parseFrameRange(std::string_view text, std::string_view option);

/// Throws `UsageError`, which says what the take has, unless both are frames of the take.
void checkFrameRange(FrameRange range, int frameCount, std::string_view option);

} // namespace tarn::capture
