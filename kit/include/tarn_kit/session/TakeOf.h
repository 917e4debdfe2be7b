// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>

#include <memory>
#include <vector>

namespace tarn::kit {

/// A new track of `dataType` with `frames[i]` in slot i; an empty pointer is a frame that it lacks.
/// Frames are shared, not copied.
TARN_KIT_EXPORT std::shared_ptr<Track> trackOf(int dataType,
                                               std::vector<std::shared_ptr<Frame>> frames);

/// A new take of one track of `dataType` at offset 0, which shows `frames[i]` at frame index i;
/// an empty pointer is a frame that it lacks. `rate` is in whole frames per second, 0 for none.
/// Length and frame count are the number of frames, the work range reaches from the first to the
/// last one, and the current time is 0. Frames are shared, not copied.
TARN_KIT_EXPORT std::shared_ptr<Tracks>
takeOf(int dataType, std::vector<std::shared_ptr<Frame>> frames, int rate);

} // namespace tarn::kit
