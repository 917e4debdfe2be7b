// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "body/Kinematics.h"

#include <cassert>
#include <cmath>

namespace tarn::kit {

namespace {

constexpr double halfRadiansPerDegree = pi / 360;

/// Whole turns, which only cost precision, taken out. Two of them: a quaternion knows half angles.
double reduced(double degrees) {
    constexpr double period = 720;
    return std::abs(degrees) > period ? std::fmod(degrees, period) : degrees;
}

/// Turns about one of the axes that the rotation has brought about.
void turn(Quaterniond& rotation, std::size_t axis, double degrees) {
    const double angle = reduced(degrees) * halfRadiansPerDegree;
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    const auto [x, y, z, w] = rotation;
    switch (axis) {
    case 0:
        rotation = {cosine * x + sine * w, cosine * y + sine * z, cosine * z - sine * y,
                    cosine * w - sine * x};
        break;
    case 1:
        rotation = {cosine * x - sine * z, cosine * y + sine * w, cosine * z + sine * x,
                    cosine * w - sine * y};
        break;
    default:
        rotation = {cosine * x + sine * y, cosine * y - sine * x, cosine * z + sine * w,
                    cosine * w - sine * z};
        break;
    }
}

/// Positions count along the parent's axes, wherever in the list of channels they stand.
Transform localOf(const RigNode& node, const float* value) {
    Transform local;
    local.position = toDouble(node.offset);
    for (const Channel channel : node.channels) {
        const auto amount = static_cast<double>(*value++);
        if (isPosition(channel)) {
            local.position[axisOf(channel)] += amount;
        } else {
            turn(local.rotation, axisOf(channel), amount);
        }
    }
    return local;
}

} // namespace

void setLocal(const Rig& rig, const Pose& pose, Transforms& transforms) {
    assert(pose.values.size() == rig.valueCount());
    const std::vector<RigNode>& nodes = rig.nodes();
    transforms.resize(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        transforms[i] = localOf(nodes[i], pose.values.data() + nodes[i].firstValue);
    }
}

void makeWorld(const Rig& rig, Transforms& transforms) {
    const std::vector<RigNode>& nodes = rig.nodes();
    assert(transforms.size() == nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].parent >= 0) {
            transforms[i] = transforms[static_cast<std::size_t>(nodes[i].parent)] * transforms[i];
        }
    }
}

} // namespace tarn::kit
