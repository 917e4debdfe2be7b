#include <tarn_kit/ForwardKinematics.h>

#include <array>
#include <cassert>
#include <cmath>

namespace tarn::kit {

namespace {

constexpr double radiansPerDegree = 3.14159265358979323846 / 180;

using Vector = std::array<double, 3>;

using Axes = std::array<Vector, 3>;

/// A node's axes and origin in the world.
struct Transform {
    Axes axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    Vector origin = {0, 0, 0};
};

bool isPosition(Channel channel) { return channel <= Channel::Zposition; }

/// 0, 1, 2 for x, y, z.
std::size_t axisOf(Channel channel) { return static_cast<std::size_t>(channel) % 3; }

void move(Vector& point, const Vector& direction, double distance) {
    for (std::size_t i = 0; i < 3; ++i) {
        point[i] += distance * direction[i];
    }
}

/// Turns the axes about one of them.
void rotate(Axes& axes, std::size_t axis, double degrees) {
    const double cosine = std::cos(degrees * radiansPerDegree);
    const double sine = std::sin(degrees * radiansPerDegree);
    Vector& first = axes[(axis + 1) % 3];
    Vector& second = axes[(axis + 2) % 3];
    for (std::size_t i = 0; i < 3; ++i) {
        const double old = first[i];
        first[i] = cosine * old + sine * second[i];
        second[i] = cosine * second[i] - sine * old;
    }
}

/// Where a node is, given its parent. Positions count along the parent's axes, wherever in the list
/// of channels they stand.
Transform childOf(const Transform& parent, const Node& node, const Pose& pose) {
    Transform child = parent;
    move(child.origin, parent.axes[0], static_cast<double>(node.offset.x));
    move(child.origin, parent.axes[1], static_cast<double>(node.offset.y));
    move(child.origin, parent.axes[2], static_cast<double>(node.offset.z));
    std::size_t next = node.firstValue;
    for (const Channel channel : node.channels) {
        const auto value = static_cast<double>(pose.values[next++]);
        if (isPosition(channel)) {
            move(child.origin, parent.axes[axisOf(channel)], value);
        } else {
            rotate(child.axes, axisOf(channel), value);
        }
    }
    return child;
}

std::vector<Transform> worldTransforms(const Rig& rig, const Pose& pose) {
    assert(pose.values.size() == rig.valueCount());
    const Transform origin;
    std::vector<Transform> world;
    world.reserve(rig.nodes().size());
    for (const Node& node : rig.nodes()) {
        const Transform& parent =
            node.parent < 0 ? origin : world[static_cast<std::size_t>(node.parent)];
        world.push_back(childOf(parent, node, pose));
    }
    return world;
}

Vector3f rounded(const Vector& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

} // namespace

std::vector<Vector3f> worldPositions(const Rig& rig, const Pose& pose) {
    std::vector<Vector3f> positions;
    positions.reserve(rig.nodes().size());
    for (const Transform& transform : worldTransforms(rig, pose)) {
        positions.push_back(rounded(transform.origin));
    }
    return positions;
}

} // namespace tarn::kit
