// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Spatial.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace tarn::kit {

// A body and its markers as the numerical core sees them: indices and numbers in metres and
// radians.

inline constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/// A joint that turns in all three axes; where it hardly does in one, its spread there is small.
/// What is said of its turn is said of the rotation vector from `usual` to the turn.
struct SolvedJoint {
    std::size_t parent = none; ///< smaller than the joint's own index; `none` for the first only
    Vector3d offset;           ///< from the parent, in the parent's axes
    Quaterniond usual;         ///< how it is turned where nothing is known
    Vector3d spread;           ///< how far from that it is expected, one standard deviation
    Vector3d lowest;           ///< of the rotation vector from no turn
    Vector3d highest;
    /// Of the parent's turn, from its usual one, that is expected of this joint as well. None with
    /// the first joint as parent.
    Block share;
    /// What turns as it likes, whatever the joints above do.
    bool isFree = false;
};

struct SolvedMarker {
    std::size_t joint = 0; ///< the one that moves it
    Vector3d offset;       ///< from that joint, in its axes
    double spread = 0.008; ///< how far from its place it is expected, one standard deviation
};

/// A length along which a joint lies away from its parent. Several may add up to an offset, and one
/// may move several joints.
struct LengthUse {
    std::size_t length = 0;
    std::size_t joint = 0;
    Vector3d direction;
};

/// How skin takes a marker along while a joint is turned from its usual turn: the marker's own
/// joint or one that hangs on it.
struct SkinPull {
    std::size_t marker = 0;
    std::size_t joint = 0;
    Block shift; ///< metres in the axes of the marker's joint per radian
};

struct Articulation {
    std::vector<SolvedJoint> joints; ///< parents first
    std::vector<SolvedMarker> markers;
    std::vector<double> lengths;
    std::vector<LengthUse> uses;
    std::vector<SkinPull> skin;

    /// Makes the joints' offsets what the lengths say.
    void applyLengths();
};

/// How a body stands.
struct Stance {
    Vector3d position;              ///< of the first joint
    std::vector<Quaterniond> turns; ///< of each joint, relative to its parent
};

/// What was measured of a marker. Without weight it was not.
struct Sighting {
    Vector3d position;
    double weight = 0;
    bool isWanted = true; ///< whether another label's measurement may be taken for it
};

/// One per marker.
using Sightings = std::vector<Sighting>;

} // namespace tarn::kit
