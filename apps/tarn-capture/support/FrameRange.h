// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Errors.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::capture {

/// Frames of a take, both ends included: 10..15 are 6 frames. Empty if `last` is before `first`.
struct FrameRange {
    int first;
    int last;
};

/// All frames of a take.
inline FrameRange allFrames(int frameCount) { return {0, frameCount - 1}; }
inline int countOf(FrameRange range) { return range.last - range.first + 1; }

/// Frames that somebody asked for, before it is known how many there are.
struct FrameChoice {
    int first = 0;
    std::optional<int> last; ///< to the end if not given
    bool isCount = false;    ///< whether so many frames were asked for, whatever their numbers
    std::string asked = "--frames"; ///< the flag or argument, as messages name it
};

/// A take does not have the frames that were asked for. Of several takes, others may.
class FramesError : public UsageError {
public:
    using UsageError::UsageError;
};

/// Reads "A..B", "A.." (from A to the end) or "N" (the first N frames), in decimal digits. Throws
/// `UsageError`, which names the flag or argument, if it is something else, A is after B, or N is
/// 0.
FrameChoice parseFrames(std::string_view text, std::string asked = "--frames");

/// The frames that were asked for of so many, the first of which has that number, as indexes from
/// 0; all if nothing was. Throws `FramesError`, which says what the take has, unless it has them
/// all.
FrameRange chosenFrames(const std::optional<FrameChoice>& choice, int frameCount,
                        std::int64_t firstFrame = 0);

} // namespace tarn::capture
