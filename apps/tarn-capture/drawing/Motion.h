// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/ShownFrames.h"
#include "session/Take.h"

#include <tarn/Rotation.h>

#include <string>
#include <vector>

namespace tarn::capture {

/// The body at one instant.
struct Instant {
    int frame;                       ///< frame index; -1 for the rest pose of a take without frames
    double seconds;                  ///< from the start of the take
    std::vector<Vector3f> positions; ///< in the world, in node order
};

/// "frame 12, 0.400 s"
std::string captionOf(const Instant& instant);

/// What is drawn of a motion. Lengths are in the take's unit.
struct Motion {
    std::vector<Instant> instants;  ///< evenly spaced, the first and the last one included
    std::vector<Vector3f> rootPath; ///< where the first root was, frame by frame
    double ground = 0;              ///< height of the ground, as the feet have it
};

/// Summarises what was shown of a take in at most `instantCount` instants. Without frames, the
/// motion is one instant of the rest pose.
Motion summarize(const Take& take, const std::vector<ShownFrame>& shown, int instantCount);

} // namespace tarn::capture
