// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/ForwardKinematics.h>

#include "body/Kinematics.h"

namespace tarn::kit {

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
    makeWorld(rig, transforms);
    BodyPose body;
    body.segments.reserve(transforms.size());
    for (const Transform& transform : transforms) {
        body.segments.push_back({toSingle(transform.position), toSingle(transform.rotation)});
    }
    return body;
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
