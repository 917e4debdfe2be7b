// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Performance.h"

#include <tarn/Rotation.h>

#include <vector>

namespace tarn::capture {

/// All bodies at one instant of a session.
struct GroupInstant {
    int frame;      ///< index in the session
    double seconds; ///< from its start
    /// Where the nodes of each performer are; nothing of those who are not there.
    std::vector<std::vector<Vector3f>> bodies;
};

/// What is drawn of a session. Lengths are in its unit.
struct GroupMotion {
    std::vector<GroupInstant> instants; ///< none if no body is ever there
    /// Where the first root of each performer was, frame by frame; frames without it left out.
    std::vector<std::vector<Vector3f>> rootPaths;
    double ground = 0; ///< height of the ground, as the feet have it
};

/// Summarises a session in at most `instantCount` instants, evenly spaced among the frames in which
/// somebody is there, the first and the last one of them included.
GroupMotion summarize(const std::vector<Performance>& performances, int rate, int instantCount);

} // namespace tarn::capture
