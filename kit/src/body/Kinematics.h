// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Rotations.h>

#include <cstddef>
#include <vector>

namespace tarn::kit {

// What is done with the nodes of a rig, in double precision: how a pose turns and moves each node
// relative to its parent, and where that puts it in the world. The one place where channels get
// their meaning.

/// A node's axes and origin, relative to its parent or to the world.
struct Transform {
    Quaterniond rotation;
    Vector3d position;
};

/// One per node of a rig, in node order.
using Transforms = std::vector<Transform>;

inline bool isPosition(Channel channel) { return channel <= Channel::Zposition; }

/// 0, 1, 2 for x, y, z.
inline std::size_t axisOf(Channel channel) { return static_cast<std::size_t>(channel) % 3; }

inline Transform operator*(const Transform& parent, const Transform& local) {
    return {parent.rotation * local.rotation, parent.position + parent.rotation * local.position};
}

/// Replaces `transforms` by where `pose` puts each node relative to its parent.
/// Precondition: `pose` has `rig.valueCount()` values.
void setLocal(const Rig& rig, const Pose& pose, Transforms& transforms);

/// Turns transforms relative to the parents into transforms relative to the world, in place.
/// Precondition: there is one per node.
void makeWorld(const Rig& rig, Transforms& transforms);

} // namespace tarn::kit
