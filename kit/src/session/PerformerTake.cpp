// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/PerformerTake.h>

#include "body/Kinematics.h"

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

/// Turns transforms in the world into such that are relative to parents.
void makeLocal(const Rig& rig, Transforms& transforms) {
    for (std::size_t i = transforms.size(); i-- > 0;) { // children first
        const int parent = rig.nodes()[i].parent;
        if (parent >= 0) {
            const Transform& above = transforms[static_cast<std::size_t>(parent)];
            const Quaterniond back = inverse(above.rotation);
            transforms[i] = {back * transforms[i].rotation,
                             back * (transforms[i].position - above.position)};
        }
    }
}

std::optional<Transforms> localAt(const Rig& rig, Tracks& take, int frame) {
    Transforms local;
    const auto solved = take.getFrame(frame, bodyDataType);
    const auto posed = take.getFrame(frame, poseDataType);
    if (const auto* const body = payloadIn<BodyPose>(solved)) {
        if (body->segments.size() != rig.nodes().size()) {
            return std::nullopt;
        }
        for (const Segment& segment : body->segments) {
            local.push_back({normalized(toDouble(segment.rotation)), toDouble(segment.position)});
        }
        makeLocal(rig, local);
        return local;
    }
    const auto* const pose = payloadIn<Pose>(posed);
    if (pose == nullptr || pose->values.size() != rig.valueCount()) {
        return std::nullopt;
    }
    setLocal(rig, *pose, local);
    return local;
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

std::optional<std::vector<JointTransform>> jointsAt(const PerformerTake& performer, double metres,
                                                    int frame) {
    const auto local = localAt(*performer.rig, *performer.take, frame);
    if (!local) {
        return std::nullopt;
    }
    const UpAxis up = performer.rig->space().up;
    std::vector<JointTransform> joints;
    joints.reserve(local->size());
    for (const Transform& transform : *local) {
        joints.push_back({upright(normalized(transform.rotation), up),
                          metres * upright(transform.position, up)});
    }
    return joints;
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
