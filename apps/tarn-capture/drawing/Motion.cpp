// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/Motion.h"

#include "drawing/Sampling.h"

#include <fmt/format.h>
#include <tarn_kit/body/ForwardKinematics.h>

#include <cstddef>
#include <utility>

namespace tarn::capture {

namespace {

using Positions = std::vector<Vector3f>;

Motion restMotion(const Take& take) {
    Positions positions = kit::worldPositions(take.rig(), take.restPose());
    Motion motion;
    motion.rootPath.push_back(positions.front());
    motion.ground = median({lowestPoint(positions)});
    motion.instants.push_back({-1, 0, std::move(positions)});
    return motion;
}

} // namespace

std::string captionOf(const Instant& instant) {
    return instant.frame < 0 ? "rest pose: the take has no frames"
                             : fmt::format("frame {}, {:.3f} s", instant.frame, instant.seconds);
}

Motion summarize(const Take& take, const std::vector<ShownFrame>& shown, int instantCount) {
    if (shown.empty()) {
        return restMotion(take);
    }
    const auto positionsOf = [&take](const ShownFrame& at) {
        return kit::worldPositions(take.rig(), at.data->dataAs<kit::Pose>());
    };
    Motion motion;
    std::vector<double> lowest;
    for (const ShownFrame& at : shown) {
        const Positions positions = positionsOf(at);
        motion.rootPath.push_back(positions.front());
        lowest.push_back(lowestPoint(positions));
    }
    motion.ground = median(std::move(lowest));
    for (const std::size_t i : evenlySpaced(shown.size(), static_cast<std::size_t>(instantCount))) {
        motion.instants.push_back(
            {shown[i].frame, take.secondsAt(shown[i].frame), positionsOf(shown[i])});
    }
    return motion;
}

} // namespace tarn::capture
