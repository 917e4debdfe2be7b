// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/Subject.h>

#include <fmt/format.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/PerformerTake.h>

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
    const auto body = kit::bodyAt(*subject.rig, *subject.take, frame);
    auto positions = body ? positionsOf(*body) : std::vector<Vector3f>();
    for (Vector3f& at : positions) {
        at = kit::upright(at, subject.up);
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
