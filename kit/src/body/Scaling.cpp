// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Scaling.h>

#include "body/Kinematics.h"

#include <cassert>
#include <cmath>

namespace tarn::kit {

std::shared_ptr<Rig> scaledRig(const Rig& rig, double factor) {
    assert(std::isfinite(factor) && factor > 0);
    auto scaled = std::make_shared<Rig>();
    for (const RigNode& node : rig.nodes()) {
        const Vector3f offset = toSingle(factor * toDouble(node.offset));
        if (node.isEndSite()) {
            scaled->addEndSite(node.parent, offset);
        } else {
            scaled->addJoint(node.name, node.parent, offset, node.channels);
        }
    }
    scaled->setStanding(rig.standing());
    scaled->setSpace(rig.space());
    return scaled;
}

Pose scaledPose(const Rig& rig, const Pose& pose, double factor) {
    assert(pose.values.size() == rig.valueCount());
    Pose scaled = pose;
    for (const RigNode& node : rig.nodes()) {
        for (std::size_t i = 0; i < node.channels.size(); ++i) {
            float& value = scaled.values[node.firstValue + i];
            value = isPosition(node.channels[i]) ? toSingle(factor * static_cast<double>(value))
                                                 : value;
        }
    }
    return scaled;
}

} // namespace tarn::kit
