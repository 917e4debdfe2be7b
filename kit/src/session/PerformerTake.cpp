// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/PerformerTake.h>

#include <tarn_kit/body/ForwardKinematics.h>

#include <any>
#include <cmath>

namespace tarn::kit {

namespace {

/// The payload of a frame; null if there is none of this type.
template <class Payload>
const Payload* payloadIn(const std::shared_ptr<Frame>& frame) {
    return frame == nullptr ? nullptr : std::any_cast<Payload>(&frame->data());
}

} // namespace

std::optional<BodyPose> bodyAt(const Rig& rig, Tracks& take, int frame) {
    const auto solved = take.getFrame(frame, bodyDataType);
    if (const auto* const body = payloadIn<BodyPose>(solved)) {
        return body->segments.size() == rig.nodes().size() ? std::optional(*body) : std::nullopt;
    }
    const auto posed = take.getFrame(frame, poseDataType);
    const auto* const pose = payloadIn<Pose>(posed);
    return pose != nullptr && pose->values.size() == rig.valueCount()
               ? std::optional(worldPose(rig, *pose))
               : std::nullopt;
}

std::vector<double> metresPerUnit(const std::vector<PerformerTake>& performers) {
    std::vector<double> metres;
    double unknown = 0; // until the first of them says
    for (const PerformerTake& performer : performers) {
        const double known = performer.rig->space().unit.metres;
        if (!(known > 0) && unknown == 0) {
            const auto height = static_cast<double>(performer.rig->height());
            const double metresOfHeight = adultHeight / height;
            unknown = height > 0 && std::isfinite(metresOfHeight) ? metresOfHeight : 1;
        }
        metres.push_back(known > 0 ? known : unknown);
    }
    return metres;
}

} // namespace tarn::kit
