// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TextScanner.h"
#include "files/bvh/BvhFormat.h"

#include <tarn_kit/files/Bvh.h>

#include <algorithm>
#include <any>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace tarn::kit {

namespace {

using Nodes = std::vector<RigNode>;

[[noreturn]] void refuse(const std::string& reason) {
    throw std::invalid_argument("no BVH file can hold this take: " + reason);
}

// What a file can hold: what the reader accepts.

/// Whether the reader finds `name`, and all of it, behind the word that opens a joint.
bool isReadable(const std::string& name) {
    const std::string line = " " + name;
    return !name.empty() && name.size() <= bvhMaxNameLength &&
           TextScanner(line, line).takeLine() == name;
}

bool isFinite(const Vector3f& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

void checkNode(const RigNode& node, std::size_t index) {
    if (!node.isEndSite() && !isReadable(node.name)) {
        refuse("the name of node " + std::to_string(index) + " could not be read back");
    }
    if (!isFinite(node.offset)) {
        refuse("the offset of node " + std::to_string(index) + " is not finite");
    }
}

void checkRig(const Rig& rig) {
    const Nodes& nodes = rig.nodes();
    if (nodes.empty() || nodes.size() > bvhMaxNodes) {
        refuse("it has " + std::to_string(nodes.size()) + " joints and end sites, not 1 to " +
               std::to_string(bvhMaxNodes));
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        checkNode(nodes[i], i);
    }
}

int frameCountOf(const BvhTake& take) { return std::max(take.tracks->timeLength(), 0); }

[[noreturn]] void refuseFrame(int index, const std::string& reason) {
    refuse("frame index " + std::to_string(index) + " " + reason);
}

void checkFrame(const BvhTake& take, int index) {
    const std::shared_ptr<Frame> frame = take.tracks->getFrame(index, poseDataType);
    const auto* const pose = frame == nullptr ? nullptr : std::any_cast<Pose>(&frame->data());
    if (pose == nullptr) {
        refuseFrame(index, "shows no pose");
    }
    if (pose->values.size() != take.rig->valueCount()) {
        refuseFrame(index, "has " + std::to_string(pose->values.size()) + " values, not the " +
                               std::to_string(take.rig->valueCount()) + " of the rig");
    }
    if (!std::all_of(pose->values.begin(), pose->values.end(),
                     [](float value) { return std::isfinite(value); })) {
        refuseFrame(index, "has a value that is not finite");
    }
}

void checkFrames(const BvhTake& take) {
    const int count = frameCountOf(take);
    if (count > 0 && take.rig->valueCount() == 0) {
        refuse("it has frames, but no joint has channels");
    }
    for (int i = 0; i < count; ++i) {
        checkFrame(take, i);
    }
}

void check(const BvhTake& take) {
    if (take.rig == nullptr || take.tracks == nullptr) {
        refuse("it has no rig or no tracks");
    }
    const bool inRange =
        take.frameTime >= shortestFrameTime && take.frameTime <= longestFrameTime; // not for NaN
    if (!inRange) {
        refuse("its frame time is not from 0.000001 to 2 seconds");
    }
    checkRig(*take.rig);
    checkFrames(take);
}

/// A node and how many others it is inside of.
struct Place {
    std::size_t node;
    std::size_t depth;
};

/// The nodes as a file lists them: each followed by all that is below it. Keeps a list instead of
/// calling itself, so that no rig is too deep for it.
std::vector<Place> fileOrder(const Nodes& nodes) {
    std::vector<std::vector<std::size_t>> children(nodes.size()); // last ones first
    std::vector<Place> waiting;                                   // next one last
    for (std::size_t i = nodes.size(); i-- > 0;) {
        if (nodes[i].parent < 0) {
            waiting.push_back({i, 0});
        } else {
            children[static_cast<std::size_t>(nodes[i].parent)].push_back(i);
        }
    }
    std::vector<Place> order;
    while (!waiting.empty()) {
        const Place next = waiting.back();
        waiting.pop_back();
        order.push_back(next);
        for (const std::size_t child : children[next.node]) {
            waiting.push_back({child, next.depth + 1});
        }
    }
    return order;
}

/// Appends the fewest digits that read back to the same number.
template <class Number>
void appendNumber(std::string& text, Number value) {
    std::array<char, 32> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), result.ptr);
}

void appendIndent(std::string& text, std::size_t depth) {
    constexpr std::size_t deepest = 64; // chains of thousands of joints shall not be mostly blanks
    text.append(std::min(depth, deepest), '\t');
}

void appendOffset(std::string& text, const Vector3f& offset) {
    text += "OFFSET";
    for (const float value : {offset.x, offset.y, offset.z}) {
        text += ' ';
        appendNumber(text, value);
    }
    text += '\n';
}

void appendChannels(std::string& text, const std::vector<Channel>& channels) {
    text += "CHANNELS ";
    appendNumber(text, channels.size());
    for (const Channel channel : channels) {
        text.append(" ").append(channelNames.at(static_cast<std::size_t>(channel)));
    }
    text += '\n';
}

/// All of a node but its closing brace and what is inside.
void appendNode(std::string& text, const RigNode& node, std::size_t depth) {
    appendIndent(text, depth);
    if (node.isEndSite()) {
        text += "End Site\n";
    } else {
        text.append(depth == 0 ? "ROOT " : "JOINT ").append(node.name).append("\n");
    }
    appendIndent(text, depth);
    text += "{\n";
    appendIndent(text, depth + 1);
    appendOffset(text, node.offset);
    if (!node.isEndSite()) {
        appendIndent(text, depth + 1);
        appendChannels(text, node.channels);
    }
}

void appendClosingBraces(std::string& text, std::size_t openNodes, std::size_t depth) {
    while (openNodes > depth) {
        --openNodes;
        appendIndent(text, openNodes);
        text += "}\n";
    }
}

std::string hierarchyText(const Nodes& nodes, const std::vector<Place>& order) {
    std::string text = "HIERARCHY\n";
    std::size_t openNodes = 0;
    for (const Place& place : order) {
        appendClosingBraces(text, openNodes, place.depth);
        appendNode(text, nodes[place.node], place.depth);
        openNodes = place.depth + 1;
    }
    appendClosingBraces(text, openNodes, 0);
    return text;
}

std::string headText(const BvhTake& take, const std::vector<Place>& order) {
    std::string text = hierarchyText(take.rig->nodes(), order);
    text += "MOTION\nFrames: ";
    appendNumber(text, frameCountOf(take));
    text += "\nFrame Time: ";
    appendNumber(text, take.frameTime);
    text += '\n';
    return text;
}

/// The index in `Pose::values` of each value of a row.
std::vector<std::size_t> valueOrder(const Nodes& nodes, const std::vector<Place>& order) {
    std::vector<std::size_t> values;
    for (const Place& place : order) {
        const RigNode& node = nodes[place.node];
        for (std::size_t i = 0; i < node.channels.size(); ++i) {
            values.push_back(node.firstValue + i);
        }
    }
    return values;
}

void appendRow(std::string& text, const Pose& pose, const std::vector<std::size_t>& order) {
    for (const std::size_t i : order) {
        appendNumber(text, pose.values[i]);
        text += ' ';
    }
    text.back() = '\n';
}

/// Hands on what has been put together.
void flush(std::string& text, std::ostream& stream) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
}

} // namespace

void writeBvh(const BvhTake& take, std::ostream& stream) {
    constexpr std::size_t chunkSize = 65'536;
    check(take);
    const std::vector<Place> order = fileOrder(take.rig->nodes());
    const std::vector<std::size_t> values = valueOrder(take.rig->nodes(), order);
    std::string text = headText(take, order);
    for (int i = 0; i < frameCountOf(take) && stream; ++i) {
        appendRow(text, take.tracks->getFrame(i, poseDataType)->dataAs<Pose>(), values);
        if (text.size() >= chunkSize) {
            flush(text, stream);
        }
    }
    flush(text, stream);
}

} // namespace tarn::kit
