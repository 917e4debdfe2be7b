// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/Take.h"

#include <tarn/Rotation.h>
#include <tarn_kit/body/Rotations.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::capture {

/// What can be said of the nodes of a take in each frame.
struct MotionKinds {
    bool positions = false;  ///< in the world, in the take's unit
    bool rotations = false;  ///< quaternions, from the node's axes to the world's
    bool angles = false;     ///< of a joint relative to its parent, in degrees
    bool velocities = false; ///< in the world, in the take's unit per second
};

/// Reads a list such as "positions,angles". Throws `UsageError`, which names `--what`, for anything
/// else.
MotionKinds parseMotionKinds(std::string_view text);

/// All that is said of the nodes in one frame, in node order; empty for what was not asked for.
struct MotionSample {
    std::vector<Vector3f> positions;
    std::vector<Quaternionf> rotations;
    std::vector<kit::EulerAngles> angles;
    /// Nothing in a take of one frame.
    std::vector<std::optional<Vector3f>> velocities;
};

/// The order of the angles of a joint: that of its channels, if those turn about three different
/// axes one after the other, z, y, x otherwise.
EulerOrder angleOrder(const kit::RigNode& joint);
/// The same as letters: "zxy".
std::string angleAxes(const kit::RigNode& joint);

/// Samples a take frame after frame. Angles are those nearest to the frame before, so that curves
/// do not jump. A velocity is the way from the frame before to the frame behind, by the time
/// between those two; at the ends of the take from the frame itself.
class MotionSampler {
public:
    /// The take must outlive this.
    MotionSampler(const Take& take, const MotionKinds& kinds);

    /// Precondition: the take has the frame, and `frame` is greater than the last one.
    MotionSample at(int frame);

private:
    std::vector<kit::EulerAngles> anglesAt(int frame);
    std::vector<std::optional<Vector3f>> velocitiesAt(int frame);

    const Take& take_;
    const MotionKinds kinds_;
    std::vector<kit::EulerAngles> lastAngles_;
};

} // namespace tarn::capture
