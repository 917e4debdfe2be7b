// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/sheet/Subject.h>
#include <tarn_kit/body/BodyPose.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::draw {

/// A body 20 units high: hips, head, hands and feet.
inline std::shared_ptr<kit::Rig> smallRig() {
    auto rig = std::make_shared<kit::Rig>();
    rig->addJoint("Hips", -1, {0, 10, 0}, {});
    rig->addJoint("Head", 0, {0, 10, 0}, {});
    rig->addJoint("LeftHand", 0, {5, 0, 0}, {});
    rig->addJoint("RightHand", 0, {-5, 0, 0}, {});
    rig->addJoint("LeftFoot", 0, {2, -10, 0}, {});
    rig->addJoint("RightFoot", 0, {-2, -10, 0}, {});
    return rig;
}

/// Where the nodes of the small rig are, if it stands at this place.
inline std::vector<Vector3f> standingAt(float x, float z) {
    return {{x, 10, z}, {x, 20, z}, {x + 5, 10, z}, {x - 5, 10, z}, {x + 2, 0, z}, {x - 2, 0, z}};
}

/// Gives the positions of a frame; none for an empty slot.
using PositionsOf = std::function<std::vector<Vector3f>(int frame)>;

inline Subject subject(const std::string& name, int frames, const PositionsOf& positionsOf,
                       std::shared_ptr<kit::Rig> rig = smallRig()) {
    auto take = std::make_shared<Tracks>();
    take->setFps(10);
    take->setTimeLength(frames);
    for (int i = 0; i < frames; ++i) {
        kit::BodyPose body;
        for (const Vector3f& position : positionsOf(i)) {
            body.segments.push_back({position, {0, 0, 0, 1}});
        }
        if (!body.segments.empty()) {
            take->setFrame(i, kit::bodyDataType,
                           std::make_shared<Frame>(Time(static_cast<unsigned>(i), 10),
                                                   kit::bodyDataType, body));
        }
    }
    return {name, std::move(rig), take, {"unit", ""}};
}

} // namespace tarn::draw
