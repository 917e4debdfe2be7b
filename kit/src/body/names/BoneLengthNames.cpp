// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "body/names/Limb.h"

#include <tarn_kit/body/BodyNames.h>

namespace tarn::kit {

namespace {

/// What a node is called: by its segment, or else its own name.
std::string nameOf(const Rig& rig, const BodyMatch& match, int node) {
    const auto segment = match.segmentOf(node);
    return segment ? boneIDToBoneName(*segment) : rig.nodes()[static_cast<std::size_t>(node)].name;
}

/// Whether the joint `next` is farther out on the limb of `segment`.
bool continues(const BodyMatch& match, EBoneID segment, int next) {
    const auto other = match.segmentOf(next);
    const LimbPlace here = limbPlaceOf(segment);
    if (!other || here.limb < 0) {
        return false;
    }
    const LimbPlace there = limbPlaceOf(*other);
    return there.limb == here.limb && there.order > here.order;
}

} // namespace

std::vector<std::string> boneLengthNames(const Rig& rig, const BodyMatch& match) {
    const auto& nodes = rig.nodes();
    std::vector<int> ends(nodes.size(), -1); // of each node's bone
    std::vector<int> children(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].parent < 0) {
            continue;
        }
        const auto parent = static_cast<std::size_t>(nodes[i].parent);
        ++children[parent];
        const auto segment = match.segmentOf(nodes[i].parent);
        const int node = static_cast<int>(i);
        if (ends[parent] < 0 && segment && continues(match, *segment, node)) {
            ends[parent] = node;
        }
    }
    std::vector<std::string> names(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].parent < 0) {
            continue;
        }
        const auto parent = static_cast<std::size_t>(nodes[i].parent);
        const int node = static_cast<int>(i);
        names[i] = nameOf(rig, match, nodes[i].parent);
        if (ends[parent] != node && children[parent] > 1) {
            const std::string end = nameOf(rig, match, node);
            names[i] = names[i].empty() || end.empty() ? "" : names[i] + "-" + end;
        }
    }
    return names;
}

} // namespace tarn::kit
