// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/Subject.h>

#include "figure/Upright.h"

#include <fmt/format.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Text.h>

#include <any>
#include <utility>

namespace tarn::draw {

namespace {

std::vector<Vector3f> positionsOf(const kit::BodyPose& body) {
    std::vector<Vector3f> positions;
    positions.reserve(body.segments.size());
    for (const kit::Segment& segment : body.segments) {
        positions.push_back(segment.position);
    }
    return positions;
}

/// The payload of a frame; null if there is none of this type.
template <class Payload>
const Payload* payloadOf(const std::shared_ptr<Frame>& frame) {
    return frame == nullptr ? nullptr : std::any_cast<Payload>(&frame->data());
}

/// In the take's own axes.
std::vector<Vector3f> givenPositionsAt(const Subject& subject, int frame) {
    const auto solved = subject.take->getFrame(frame, kit::bodyDataType);
    if (const auto* const body = payloadOf<kit::BodyPose>(solved)) {
        return body->segments.size() == subject.rig->nodes().size() ? positionsOf(*body)
                                                                    : std::vector<Vector3f>();
    }
    const auto posed = subject.take->getFrame(frame, kit::poseDataType);
    const auto* const pose = payloadOf<kit::Pose>(posed);
    return pose != nullptr && pose->values.size() == subject.rig->valueCount()
               ? kit::worldPositions(*subject.rig, *pose)
               : std::vector<Vector3f>();
}

} // namespace

Subject subjectOf(std::string name, std::shared_ptr<const kit::Rig> rig,
                  std::shared_ptr<Tracks> take) {
    const kit::Space& space = rig->space();
    const kit::UpAxis up = space.up;
    kit::LengthUnit unit =
        space.unit.known() ? space.unit : kit::guessLengthUnit(static_cast<double>(rig->height()));
    return {std::move(name), std::move(rig), std::move(take), std::move(unit), up, std::nullopt};
}

std::vector<Vector3f> positionsAt(const Subject& subject, int frame) {
    auto positions = givenPositionsAt(subject, frame);
    for (Vector3f& at : positions) {
        at = upright(at, subject.up);
    }
    return positions;
}

std::string whyNotDrawn(const std::vector<Subject>& subjects) {
    if (subjects.size() > mostSubjects) {
        return fmt::format("{} performers are too many for a drawing: at most {} can be shown",
                           subjects.size(), mostSubjects);
    }
    for (const Subject& subject : subjects) {
        if (subject.rig == nullptr || subject.take == nullptr) {
            return fmt::format("performer '{}' cannot be drawn without a {}",
                               kit::printable(subject.name),
                               subject.rig == nullptr ? "rig" : "take");
        }
    }
    return {};
}

} // namespace tarn::draw
