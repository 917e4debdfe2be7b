// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_draw/sheet/Subject.h>

#include <string>
#include <vector>

namespace tarn::draw {

/// All bodies at one instant of a session.
struct PoseInstant {
    int frame;      ///< index in the session; -1 for the rest poses of takes without frames
    double seconds; ///< from its start
    /// Where the nodes of each subject are; nothing of those who are not there.
    std::vector<std::vector<Vector3f>> bodies;
};

/// "frame 12, 0.400 s"
std::string captionOf(const PoseInstant& instant);

/// What is drawn of the bodies of a session. Lengths are in its unit.
struct PoseSummary {
    std::vector<PoseInstant> instants; ///< none if no body is ever there
    /// Where the first root of each subject was, frame by frame; frames without it left out.
    std::vector<std::vector<Vector3f>> rootPaths;
    double ground = 0; ///< height of the ground, as the feet have it
};

/// Summarises a session in at most `instantCount` instants, evenly spaced among the frames in which
/// somebody is there, the first and the last one of them included. Without frames, there is one
/// instant of the rest poses.
PoseSummary summarize(const std::vector<Subject>& subjects, int instantCount);

} // namespace tarn::draw
