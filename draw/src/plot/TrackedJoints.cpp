// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/plot/TrackedJoints.h>

#include "figure/JointName.h"

#include <tarn_draw/figure/JointSide.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>

namespace tarn::draw {

namespace {

using Nodes = std::vector<kit::RigNode>;

constexpr CurveStyle headStyle{colours::ink, 2.5, CurveSign::none};
constexpr CurveStyle rootStyle{colours::path, 5, CurveSign::none};
constexpr std::array<CurveStyle, 5> endStyles{{{colours::left, 2.5, CurveSign::disc},
                                               {colours::right, 2.5, CurveSign::ring},
                                               {colours::leftFoot, 2.5, CurveSign::square},
                                               {colours::rightFoot, 2.5, CurveSign::frame},
                                               {colours::ink, 2.5, CurveSign::none}}};

bool hasAnyWord(const std::string& name, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&name](const char* word) { return hasWord(name, word); });
}

/// The first joint on a side whose name has one of the words in it.
std::optional<std::size_t> findJoint(const Nodes& nodes, Side side,
                                     std::initializer_list<const char*> words) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (!nodes[i].isEndSite() && hasAnyWord(nodes[i].name, words) &&
            sideOf(nodes[i].name) == side) {
            return i;
        }
    }
    return std::nullopt;
}

/// The parts of the body that are named.
std::vector<TrackedJoint> namedParts(const Nodes& nodes) {
    std::vector<TrackedJoint> parts;
    const auto add = [&](const char* label, std::optional<std::size_t> node,
                         const CurveStyle& style) {
        if (node) {
            parts.push_back({label, *node, style});
        }
    };
    add("head", findJoint(nodes, Side::centre, {"head"}), headStyle);
    add("left hand", findJoint(nodes, Side::left, {"hand", "wrist"}), endStyles[0]);
    add("right hand", findJoint(nodes, Side::right, {"hand", "wrist"}), endStyles[1]);
    add("left foot", findJoint(nodes, Side::left, {"foot", "ankle"}), endStyles[2]);
    add("right foot", findJoint(nodes, Side::right, {"foot", "ankle"}), endStyles[3]);
    return parts;
}

/// Nodes without children, but no roots.
std::vector<TrackedJoint> chainEnds(const Nodes& nodes) {
    std::vector<bool> isParent(nodes.size(), false);
    for (const kit::RigNode& node : nodes) {
        if (node.parent >= 0) {
            isParent[static_cast<std::size_t>(node.parent)] = true;
        }
    }
    std::vector<TrackedJoint> ends;
    for (std::size_t i = 0; i < nodes.size() && ends.size() < endStyles.size(); ++i) {
        if (!isParent[i] && nodes[i].parent >= 0) {
            ends.push_back({kit::printable(nodes[i].name), i, endStyles.at(ends.size())});
        }
    }
    return ends;
}

} // namespace

std::vector<TrackedJoint> trackedJoints(const kit::Rig& rig) {
    const Nodes& nodes = rig.nodes();
    if (nodes.empty()) {
        return {};
    }
    std::vector<TrackedJoint> joints = namedParts(nodes);
    if (joints.empty()) {
        joints = chainEnds(nodes);
    }
    const bool rootIsTracked = std::any_of(
        joints.begin(), joints.end(), [](const TrackedJoint& joint) { return joint.node == 0; });
    if (!rootIsTracked) {
        joints.insert(joints.begin(),
                      {"root (" + kit::printable(nodes.front().name) + ")", 0, rootStyle});
    }
    return joints;
}

} // namespace tarn::draw
