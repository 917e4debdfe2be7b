// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/BodyPose.h>

#include "body/Kinematics.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

namespace {

/// The axes about which a joint turns, in order.
struct RotationOrder {
    EulerOrder axes;
    std::size_t count = 0;
};

bool turnsAbout(const RotationOrder& order, std::int32_t axis) {
    const auto* const begin = order.axes.axes.data();
    const auto* const end = begin + order.count;
    return std::find(begin, end, axis) != end;
}

RotationOrder orderOf(const RigNode& node) {
    RotationOrder order;
    for (const Channel channel : node.channels) {
        if (isPosition(channel)) {
            continue;
        }
        const auto axis = static_cast<std::int32_t>(axisOf(channel));
        if (turnsAbout(order, axis)) {
            throw std::invalid_argument("joint " + node.name +
                                        " turns about the same axis more than once");
        }
        order.axes[order.count++] = axis;
    }
    return order;
}

/// 1 where the three axes follow each other as x, y, z do, else -1: two of them tell.
double signOf(const RotationOrder& order) {
    return (order.axes[0] + 1) % 3 == order.axes[1] ? 1 : -1;
}

/// In radians, within half a turn of 0.
double wrapped(double angle) {
    if (angle > pi) {
        return angle - 2 * pi;
    }
    return angle < -pi ? angle + 2 * pi : angle;
}

double along(const Quaterniond& rotation, std::int32_t axis) {
    return axis == 0 ? rotation.x : axis == 1 ? rotation.y : rotation.z;
}

/// The nearest turn about one axis.
EulerAngles oneAngle(const Quaterniond& rotation, const RotationOrder& order) {
    return {wrapped(2 * std::atan2(along(rotation, order.axes[0]), rotation.w)), 0, 0};
}

/// The nearest product of two turns. With half angles a and b, the quaternion of such a product is
/// (cos a cos b, sin a cos b, cos a sin b, sign sin a sin b): sums and differences of its
/// components are sine and cosine of a + b and of a - b.
EulerAngles twoAngles(const Quaterniond& rotation, const RotationOrder& order) {
    const double w = rotation.w;
    const double first = along(rotation, order.axes[0]);
    const double second = along(rotation, order.axes[1]);
    const double third = signOf(order) * along(rotation, 3 - order.axes[0] - order.axes[1]);
    const double sum = std::atan2(first + second, w - third);
    const double difference = std::atan2(first - second, w + third);
    return {wrapped(sum + difference), wrapped(sum - difference), 0};
}

/// In radians, one per rotation channel. Nearest to `previous`, if that is not null.
EulerAngles anglesOf(const Quaterniond& rotation, const RotationOrder& order,
                     const EulerAngles* previous) {
    if (order.count == 3) {
        return previous == nullptr ? toEulerRadians(rotation, order.axes)
                                   : toEulerRadians(rotation, order.axes, *previous);
    }
    EulerAngles angles = order.count == 2   ? twoAngles(rotation, order)
                         : order.count == 1 ? oneAngle(rotation, order)
                                            : EulerAngles{};
    if (previous != nullptr) {
        for (std::size_t i = 0; i < order.count; ++i) {
            angles[i] = (*previous)[i] + std::remainder(angles[i] - (*previous)[i], 2 * pi);
        }
    }
    return angles;
}

/// The angles among the values of a node, in radians.
EulerAngles anglesIn(const RigNode& node, const float* value) {
    EulerAngles angles = {};
    std::size_t next = 0;
    for (const Channel channel : node.channels) {
        const auto amount = static_cast<double>(*value++);
        if (!isPosition(channel)) {
            angles[next++] = radiansOf(amount);
        }
    }
    return angles;
}

Transform transformOf(const Segment& segment) {
    return {normalized(toDouble(segment.rotation)), toDouble(segment.position)};
}

Transform relativeTo(const Transform& parent, const Transform& child) {
    const Quaterniond back = inverse(parent.rotation);
    return {back * child.rotation, back * (child.position - parent.position)};
}

/// Writes the node's values, given where it is relative to its parent.
void setValues(const RigNode& node, const Transform& local, const float* previous, float* value) {
    const RotationOrder order = orderOf(node);
    EulerAngles angles;
    if (previous == nullptr) {
        angles = anglesOf(local.rotation, order, nullptr);
    } else {
        const EulerAngles before = anglesIn(node, previous);
        angles = anglesOf(local.rotation, order, &before);
    }
    Vector3d position = local.position - toDouble(node.offset);
    std::size_t nextAngle = 0;
    for (const Channel channel : node.channels) {
        if (isPosition(channel)) {
            // A position that is listed again has nothing left to add.
            *value++ = toSingle(std::exchange(position[axisOf(channel)], 0));
        } else {
            *value++ = toSingle(degreesOf(angles[nextAngle++]));
        }
    }
}

/// `previous` may be null.
Pose poseNear(const Rig& rig, const BodyPose& body, const Pose* previous) {
    assert(body.segments.size() == rig.nodes().size());
    Pose pose;
    pose.values.resize(rig.valueCount());
    Transforms world;
    world.reserve(body.segments.size());
    for (const Segment& segment : body.segments) {
        const RigNode& node = rig.nodes()[world.size()];
        world.push_back(transformOf(segment));
        const Transform parent =
            node.parent < 0 ? Transform() : world[static_cast<std::size_t>(node.parent)];
        setValues(node, relativeTo(parent, world.back()),
                  previous == nullptr ? nullptr : previous->values.data() + node.firstValue,
                  pose.values.data() + node.firstValue);
    }
    return pose;
}

} // namespace

Pose poseOf(const Rig& rig, const BodyPose& body) { return poseNear(rig, body, nullptr); }

Pose poseOf(const Rig& rig, const BodyPose& body, const Pose& previous) {
    assert(previous.values.size() == rig.valueCount());
    return poseNear(rig, body, &previous);
}

} // namespace tarn::kit
