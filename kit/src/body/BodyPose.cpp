// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/BodyPose.h>

#include "body/Kinematics.h"

#include <cassert>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double degreesPerRadian = 180 / pi;

/// So close to a quarter turn (a rotation that is off by less than 1e-6) there is nothing left to
/// tell the first angle from the last one by.
constexpr double nothingLeft = 3e-7;

/// The axes about which a joint turns, in order.
struct RotationOrder {
    std::array<std::size_t, 3> axes = {};
    std::size_t count = 0;
};

bool turnsAbout(const RotationOrder& order, std::size_t axis) {
    const auto* const end = order.axes.begin() + order.count;
    return std::find(order.axes.begin(), end, axis) != end;
}

RotationOrder orderOf(const RigNode& node) {
    RotationOrder order;
    for (const Channel channel : node.channels) {
        if (isPosition(channel)) {
            continue;
        }
        if (turnsAbout(order, axisOf(channel))) {
            throw std::invalid_argument("joint " + node.name +
                                        " turns about the same axis more than once");
        }
        order.axes[order.count++] = axisOf(channel);
    }
    return order;
}

/// 1 where the three axes follow each other as x, y, z do, else -1: two of them tell.
double signOf(const RotationOrder& order) {
    return (order.axes[0] + 1) % 3 == order.axes[1] ? 1 : -1;
}

double lengthOf(double a, double b) { return std::sqrt(a * a + b * b); }

/// In radians, within half a turn of 0.
double wrapped(double angle) {
    if (angle > pi) {
        return angle - 2 * pi;
    }
    return angle < -pi ? angle + 2 * pi : angle;
}

/// The nearest turn about one axis.
Vector oneAngle(const Rotation& rotation, const RotationOrder& order) {
    return {wrapped(2 * std::atan2(rotation.vector[order.axes[0]], rotation.scalar)), 0, 0};
}

/// The nearest product of two turns. With half angles a and b, the quaternion of such a product is
/// (cos a cos b, sin a cos b, cos a sin b, sign sin a sin b): sums and differences of its
/// components are sine and cosine of a + b and of a - b.
Vector twoAngles(const Rotation& rotation, const RotationOrder& order) {
    const double w = rotation.scalar;
    const double first = rotation.vector[order.axes[0]];
    const double second = rotation.vector[order.axes[1]];
    const double third = signOf(order) * rotation.vector[3 - order.axes[0] - order.axes[1]];
    const double sum = std::atan2(first + second, w - third);
    const double difference = std::atan2(first - second, w + third);
    return {wrapped(sum + difference), wrapped(sum - difference), 0};
}

/// With half angles a, b and c: of sums and differences of the quaternion's components, one pair is
/// (cos b + sin b) times cosine and sine of a + c, the other (cos b - sin b) times those of a - c.
/// Each of the two factors is 0 at one of the quarter turns, and stays accurate next to it.
Vector threeAngles(const Rotation& rotation, const RotationOrder& order) {
    const double sign = signOf(order);
    const double w = rotation.scalar;
    const double first = rotation.vector[order.axes[0]];
    const double second = sign * rotation.vector[order.axes[1]];
    const double third = rotation.vector[order.axes[2]];
    const double plus = lengthOf(w + second, first + third);
    const double minus = lengthOf(w - second, first - third);
    const double sum = std::atan2(first + third, w + second);
    const double difference = std::atan2(first - third, w - second);
    if (minus < nothingLeft) {
        return {wrapped(2 * sum), sign * pi / 2, 0};
    }
    if (plus < nothingLeft) {
        return {wrapped(2 * difference), -sign * pi / 2, 0};
    }
    const double middle = 2 * std::atan2(plus, minus) - pi / 2;
    return {wrapped(sum + difference), sign * middle, wrapped(sum - difference)};
}

/// In radians, one per rotation channel.
Vector anglesOf(const Rotation& rotation, const RotationOrder& order) {
    switch (order.count) {
    case 0:
        return {};
    case 1:
        return oneAngle(rotation, order);
    case 2:
        return twoAngles(rotation, order);
    default:
        return threeAngles(rotation, order);
    }
}

Transform transformOf(const Segment& segment) {
    const Quaternionf& q = segment.rotation;
    const Rotation rotation = {
        {static_cast<double>(q.x), static_cast<double>(q.y), static_cast<double>(q.z)},
        static_cast<double>(q.w)};
    return {normalized(rotation), toVector(segment.position)};
}

Transform relativeTo(const Transform& parent, const Transform& child) {
    const Rotation back = inverse(parent.rotation);
    return {back * child.rotation, back * (child.position - parent.position)};
}

/// Writes the node's values, given where it is relative to its parent.
void setValues(const RigNode& node, const Transform& local, float* value) {
    const Vector angles = anglesOf(local.rotation, orderOf(node));
    Vector position = local.position - toVector(node.offset);
    std::size_t nextAngle = 0;
    for (const Channel channel : node.channels) {
        if (isPosition(channel)) {
            // A position that is listed again has nothing left to add.
            *value++ = toFloat(std::exchange(position[axisOf(channel)], 0));
        } else {
            *value++ = toFloat(angles[nextAngle++] * degreesPerRadian);
        }
    }
}

} // namespace

Pose poseOf(const Rig& rig, const BodyPose& body) {
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
        setValues(node, relativeTo(parent, world.back()), pose.values.data() + node.firstValue);
    }
    return pose;
}

} // namespace tarn::kit
