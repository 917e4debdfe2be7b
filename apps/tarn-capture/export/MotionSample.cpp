// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "export/MotionSample.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/body/ForwardKinematics.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tarn::capture {

namespace {

bool* kindIn(MotionKinds& kinds, std::string_view name) {
    return name == "positions"    ? &kinds.positions
           : name == "rotations"  ? &kinds.rotations
           : name == "angles"     ? &kinds.angles
           : name == "velocities" ? &kinds.velocities
                                  : nullptr;
}

} // namespace

MotionKinds parseMotionKinds(std::string_view text) {
    MotionKinds kinds;
    std::string_view rest = text;
    while (true) {
        const std::size_t end = std::min(rest.find(','), rest.size());
        bool* const kind = kindIn(kinds, rest.substr(0, end));
        if (kind == nullptr) {
            throw UsageError(
                fmt::format("--what '{}': expected one or more of positions, rotations, "
                            "angles and velocities, with commas between them",
                            text));
        }
        *kind = true;
        if (end == rest.size()) {
            return kinds;
        }
        rest.remove_prefix(end + 1);
    }
}

EulerOrder angleOrder(const kit::RigNode& joint) {
    std::vector<std::int32_t> axes;
    for (const kit::Channel channel : joint.channels) {
        if (channel >= kit::Channel::Xrotation) {
            axes.push_back(static_cast<std::int32_t>(channel) % 3);
        }
    }
    const bool isOrder =
        axes.size() == 3 && axes[0] != axes[1] && axes[1] != axes[2] && axes[0] != axes[2];
    return isOrder ? EulerOrder{{axes[0], axes[1], axes[2]}} : EulerOrder{{2, 1, 0}};
}

std::string angleAxes(const kit::RigNode& joint) {
    std::string axes;
    for (const std::int32_t axis : angleOrder(joint).axes) {
        axes += "xyz"[static_cast<std::size_t>(axis)];
    }
    return axes;
}

MotionSampler::MotionSampler(const Take& take, const MotionKinds& kinds)
    : take_(take), kinds_(kinds) {}

MotionSample MotionSampler::at(int frame) {
    MotionSample sample;
    if (kinds_.positions) {
        sample.positions = kit::worldPositions(take_.rig(), take_.pose(frame));
    }
    if (kinds_.rotations) {
        for (const kit::Segment& segment :
             kit::worldPose(take_.rig(), take_.pose(frame)).segments) {
            sample.rotations.push_back(segment.rotation);
        }
    }
    if (kinds_.angles) {
        sample.angles = anglesAt(frame);
    }
    if (kinds_.velocities) {
        sample.velocities = velocitiesAt(frame);
    }
    return sample;
}

std::vector<kit::EulerAngles> MotionSampler::anglesAt(int frame) {
    const auto rotations = kit::localRotations(take_.rig(), take_.pose(frame));
    const auto& nodes = take_.rig().nodes();
    std::vector<kit::EulerAngles> angles;
    angles.reserve(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const EulerOrder order = angleOrder(nodes[i]);
        angles.push_back(lastAngles_.empty()
                             ? kit::toEulerDegrees(rotations[i], order)
                             : kit::toEulerDegrees(rotations[i], order, lastAngles_[i]));
        for (double& angle : angles.back()) {
            angle += 0.0; // no negative zero
        }
    }
    lastAngles_ = angles;
    return angles;
}

std::vector<std::optional<Vector3f>> MotionSampler::velocitiesAt(int frame) {
    const int before = std::max(frame - 1, 0);
    const int behind = std::min(frame + 1, take_.frameCount() - 1);
    const double seconds = take_.secondsAt(behind) - take_.secondsAt(before);
    const auto from = kit::worldPositions(take_.rig(), take_.pose(before));
    const auto to = kit::worldPositions(take_.rig(), take_.pose(behind));
    std::vector<std::optional<Vector3f>> velocities(from.size());
    if (before == behind) {
        return velocities;
    }
    for (std::size_t i = 0; i < from.size(); ++i) {
        velocities[i] =
            kit::toSingle(1 / seconds * (kit::toDouble(to[i]) - kit::toDouble(from[i])));
    }
    return velocities;
}

} // namespace tarn::capture
