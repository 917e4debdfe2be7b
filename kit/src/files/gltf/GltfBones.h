// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Rotations.h>

#include <array>
#include <cstdint>
#include <vector>

namespace tarn::kit {

/// A mesh of bones: triangles, three vertices each, and the node with which each vertex moves.
struct GltfBones {
    std::vector<std::array<float, 3>> positions; ///< in the world, at rest
    std::vector<std::array<float, 3>> normals;   ///< of length 1
    std::vector<std::array<std::uint16_t, 4>> joints;
    std::vector<std::array<float, 4>> weights;
};

/// A bone from each node to each of those below it, and a small one for a rig that has none.
/// `world` is where the nodes are at rest, in metres.
GltfBones bonesOf(const std::vector<RigNode>& nodes, const std::vector<Vector3d>& world);

} // namespace tarn::kit
