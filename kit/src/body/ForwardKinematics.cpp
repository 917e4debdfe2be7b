// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/ForwardKinematics.h>

#include "body/Kinematics.h"

#include <cassert>
#include <cstddef>

namespace tarn::kit {

namespace {

/// From transforms relative to the parents, which it turns into those relative to the world.
BodyPose bodyOf(const Rig& rig, Transforms& transforms) {
    makeWorld(rig, transforms);
    BodyPose body;
    body.segments.reserve(transforms.size());
    for (const Transform& transform : transforms) {
        body.segments.push_back({toSingle(transform.position), toSingle(transform.rotation)});
    }
    return body;
}

} // namespace

std::vector<Vector3f> worldPositions(const Rig& rig, const Pose& pose) {
    Transforms transforms;
    setLocal(rig, pose, transforms);
    makeWorld(rig, transforms);
    std::vector<Vector3f> positions;
    positions.reserve(transforms.size());
    for (const Transform& transform : transforms) {
        positions.push_back(toSingle(transform.position));
    }
    return positions;
}

BodyPose worldPose(const Rig& rig, const Pose& pose) {
    Transforms transforms;
    setLocal(rig, pose, transforms);
    return bodyOf(rig, transforms);
}

BodyPose worldPose(const Rig& rig, const std::vector<Quaterniond>& localRotations,
                   const Vector3d& moved) {
    const std::vector<RigNode>& nodes = rig.nodes();
    assert(localRotations.size() == nodes.size());
    Transforms transforms;
    transforms.reserve(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Vector3d offset = toDouble(nodes[i].offset);
        transforms.push_back({localRotations[i], nodes[i].parent < 0 ? offset + moved : offset});
    }
    return bodyOf(rig, transforms);
}

std::vector<Quaterniond> localRotations(const Rig& rig, const Pose& pose) {
    Transforms transforms;
    setLocal(rig, pose, transforms);
    std::vector<Quaterniond> rotations;
    rotations.reserve(transforms.size());
    for (const Transform& transform : transforms) {
        rotations.push_back(transform.rotation);
    }
    return rotations;
}

} // namespace tarn::kit
