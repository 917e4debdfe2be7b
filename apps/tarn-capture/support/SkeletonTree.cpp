// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/SkeletonTree.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <vector>

namespace tarn::capture {

namespace {

constexpr int deepestIndent = 40;

bool isPosition(kit::Channel channel) { return channel <= kit::Channel::Zposition; }

/// "position XYZ, rotation ZYX"; positions and rotations that alternate keep their order.
std::string describeChannels(const std::vector<kit::Channel>& channels) {
    std::string text;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const bool position = isPosition(channels[i]);
        if (i == 0 || position != isPosition(channels[i - 1])) {
            text += i == 0 ? "" : ", ";
            text += position ? "position " : "rotation ";
        }
        text += "XYZ"[static_cast<std::size_t>(channels[i]) % 3];
    }
    return text;
}

std::string describe(const kit::RigNode& node) {
    const std::string name = kit::printable(node.name);
    if (node.isEndSite()) {
        return name + "  (end site)";
    }
    return node.channels.empty() ? name : name + "  " + describeChannels(node.channels);
}

std::string indent(int level) {
    if (level < deepestIndent) {
        return fmt::format("{:{}}", "", level * 2);
    }
    return fmt::format("{:{}}({}) ", "", deepestIndent * 2, level);
}

} // namespace

std::string skeletonTree(const kit::Rig& rig, const std::string& margin) {
    std::string text;
    std::vector<int> levels;
    levels.reserve(rig.nodes().size());
    for (const kit::RigNode& node : rig.nodes()) {
        levels.push_back(node.parent < 0 ? 0 : levels[static_cast<std::size_t>(node.parent)] + 1);
        text += margin + indent(levels.back()) + describe(node) + "\n";
    }
    return text;
}

} // namespace tarn::capture
