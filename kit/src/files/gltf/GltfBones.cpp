// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/gltf/GltfBones.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

namespace {

constexpr double shortest = 1e-4; ///< metres; what is shorter is no bone
constexpr double thickest = 0.03; ///< metres, from the middle line
constexpr double thickness = 0.1; ///< of a bone's length
constexpr double widestAt = 0.2;  ///< of a bone's length, from its near end

std::array<float, 3> toValue(const Vector3d& v) {
    return {toSingle(v.x), toSingle(v.y), toSingle(v.z)};
}

Vector3d unit(const Vector3d& v) { return (1 / lengthOf(v)) * v; }

/// A vector of length 1 at a right angle to `way`.
Vector3d across(const Vector3d& way) {
    const bool isUpright = std::abs(way.y) > 0.9 * lengthOf(way);
    return unit(cross(way, isUpright ? Vector3d{1, 0, 0} : Vector3d{0, 1, 0}));
}

void addTriangle(GltfBones& bones, const std::array<Vector3d, 3>& corners, std::uint16_t joint) {
    const Vector3d normal = unit(cross(corners[1] - corners[0], corners[2] - corners[0]));
    for (const Vector3d& corner : corners) {
        bones.positions.push_back(toValue(corner));
        bones.normals.push_back(toValue(normal));
        bones.joints.push_back({joint, 0, 0, 0});
        bones.weights.push_back({1, 0, 0, 0});
    }
}

/// Eight triangles: a slim double pyramid, widest near the joint that turns it.
void addBone(GltfBones& bones, const Vector3d& from, const Vector3d& to, std::uint16_t joint) {
    const Vector3d way = to - from;
    const double width = std::min(thickness * lengthOf(way), thickest);
    const Vector3d side = width * across(way);
    const Vector3d other = width * unit(cross(way, side));
    const Vector3d middle = from + widestAt * way;
    const std::array<Vector3d, 4> ring = {middle + side, middle + other, middle - side,
                                          middle - other};
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Vector3d& next = ring[(i + 1) % ring.size()];
        addTriangle(bones, {from, next, ring[i]}, joint);
        addTriangle(bones, {to, ring[i], next}, joint);
    }
}

} // namespace

GltfBones bonesOf(const std::vector<RigNode>& nodes, const std::vector<Vector3d>& world) {
    GltfBones bones;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const int parent = nodes[i].parent;
        if (parent >= 0 &&
            lengthOf(world[i] - world[static_cast<std::size_t>(parent)]) > shortest) {
            addBone(bones, world[static_cast<std::size_t>(parent)], world[i],
                    static_cast<std::uint16_t>(parent));
        }
    }
    if (bones.positions.empty()) {
        addBone(bones, world.front(), world.front() + Vector3d{0, 2 * thickest, 0}, 0);
    }
    return bones;
}

} // namespace tarn::kit
