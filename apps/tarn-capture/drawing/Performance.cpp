// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/Performance.h"

#include <fmt/format.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <any>
#include <limits>

namespace tarn::capture {

std::vector<Vector3f> positionsAt(const Performance& performance, int frame) {
    std::vector<Vector3f> positions;
    const std::shared_ptr<Frame> found = performance.solved->getFrame(frame, kit::bodyDataType);
    const auto* const body =
        found == nullptr ? nullptr : std::any_cast<kit::BodyPose>(&found->data());
    if (body != nullptr && body->segments.size() == performance.rig->nodes().size()) {
        positions.reserve(body->segments.size());
        for (const kit::Segment& segment : body->segments) {
            positions.push_back(segment.position);
        }
    }
    return positions;
}

int frameCountOf(const std::vector<Performance>& performances) {
    int count = 0;
    for (const Performance& performance : performances) {
        count = std::max(count, performance.solved->timeLength());
    }
    return count;
}

double bodyHeightOf(const std::vector<Performance>& performances) {
    float height = 0;
    for (const Performance& performance : performances) {
        height = std::max(height, performance.rig->height());
    }
    return static_cast<double>(std::min(height, std::numeric_limits<float>::max()));
}

kit::LengthUnit unitOf(const std::vector<Performance>& performances) {
    return performances.empty() ? kit::LengthUnit{"unit", ""} : performances.front().unit;
}

std::string namesText(const std::vector<Performance>& performances) {
    std::string text;
    for (const Performance& performance : performances) {
        text += (text.empty() ? "" : ", ") + performance.name;
    }
    return text;
}

std::string factsText(const std::vector<Performance>& performances, int rate) {
    const int frames = frameCountOf(performances);
    return fmt::format("{}; {} at {} per second, {:.3f} s",
                       kit::counted(performances.size(), "performer"),
                       kit::counted(static_cast<std::size_t>(frames), "frame"), rate,
                       static_cast<double>(frames) / rate);
}

} // namespace tarn::capture
