// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerFrames.h"

#include "support/Errors.h"

#include <fmt/format.h>

#include <cstdint>

namespace tarn::capture {

FrameRange chosenFrames(const std::optional<FrameChoice>& choice, const kit::C3dInfo& take) {
    if (!choice || choice->isCount) { // N frames are the first ones, whatever their numbers
        return chosenFrames(choice, take.frameCount);
    }
    const std::int64_t end = take.firstFrame + take.frameCount - 1;
    const std::int64_t first = choice->first;
    const std::int64_t last = choice->last ? *choice->last : end;
    if (first < take.firstFrame || first > end || last > end) {
        throw UsageError(take.frameCount == 0 ? "--frames: the take has no frames"
                                              : fmt::format("--frames: the take has frames {}..{}",
                                                            take.firstFrame, end));
    }
    return {static_cast<int>(first - take.firstFrame), static_cast<int>(last - take.firstFrame)};
}

const kit::MarkerFrame& markersAt(const kit::C3dTake& take, int frame) {
    // The take keeps the frame alive.
    return take.tracks->getFrame(frame, kit::markerDataType)->dataAs<kit::MarkerFrame>();
}

double secondsAt(const kit::C3dInfo& take, int frame) {
    return static_cast<double>(frame) / take.rate;
}

} // namespace tarn::capture
