// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "page/Content.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace tarn::view {

namespace {

using kit::Quaterniond;
using kit::Vector3d;

constexpr double farthest = 1e5; ///< metres
constexpr int mostFrames = 10'000'000;
constexpr std::size_t mostNodes = 65'535;
/// As long as the scalar part of a rotation is larger than this, it need not be kept: the others
/// give it without losing a digit that counts.
constexpr double largeScalar = 0.3;

struct Node {
    std::array<std::vector<std::int32_t>, 4> rotation; ///< x, y, z, w
    std::array<std::vector<std::int32_t>, 3> position;
    bool needsScalar = false;
};

std::int32_t rounded(double value, double unit) {
    return static_cast<std::int32_t>(std::lround(value / unit));
}

bool isShowable(const kit::JointTransform& joint) {
    return std::isfinite(kit::lengthOf(joint.rotation)) && kit::lengthOf(joint.position) < farthest;
}

void check(const kit::PerformerTake& performer) {
    if (performer.rig == nullptr || performer.take == nullptr) {
        throw std::invalid_argument("it has no rig or no take");
    }
    const std::size_t nodes = performer.rig->nodes().size();
    if (nodes == 0 || nodes > mostNodes) {
        throw std::invalid_argument("it has " + std::to_string(nodes) +
                                    " joints and end sites, not 1 to " + std::to_string(mostNodes));
    }
    if (performer.take->timeLength() > mostFrames) {
        throw std::invalid_argument("it has more than " + std::to_string(mostFrames) + " frames");
    }
}

/// All frames of a performer in whole numbers; where there is no body, those of the frame before.
class Sampled {
public:
    Sampled(const kit::PerformerTake& performer, double metres)
        : performer_(performer), metres_(metres), nodes_(performer.rig->nodes().size()) {
        for (int frame = 0; frame < performer.take->timeLength(); ++frame) {
            sample(frame);
        }
    }

    const std::vector<std::int32_t>& presence() const { return presence_; }
    std::vector<Node>& nodes() { return nodes_; }
    /// The farthest that a node is from where the take has it, once numbers are as the page reads
    /// them.
    double largestError() const;

private:
    void sample(int frame);
    static void append(Node& node, const kit::JointTransform& joint);
    std::vector<kit::JointTransform> worldOf(std::vector<kit::JointTransform> joints) const;
    std::vector<kit::JointTransform> shownAt(std::size_t frame) const;

    const kit::PerformerTake& performer_;
    double metres_;
    std::vector<std::int32_t> presence_;
    std::vector<Node> nodes_;
};

void Sampled::sample(int frame) {
    const auto joints = kit::jointsAt(performer_, metres_, frame);
    presence_.push_back(joints ? 1 : 0);
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (joints && !isShowable((*joints)[i])) {
            throw std::invalid_argument("frame index " + std::to_string(frame) +
                                        " has a value that is not finite, or beyond 100 km");
        }
        if (joints) {
            append(nodes_[i], (*joints)[i]);
            continue;
        }
        for (auto& column : nodes_[i].rotation) {
            column.push_back(column.empty() ? 0 : column.back());
        }
        for (auto& column : nodes_[i].position) {
            column.push_back(column.empty() ? 0 : column.back());
        }
    }
}

void Sampled::append(Node& node, const kit::JointTransform& joint) {
    const Quaterniond& q = joint.rotation;
    std::array<double, 4> parts = {q.x, q.y, q.z, q.w};
    double along = 0; // the one before, so that signs do not jump
    for (std::size_t i = 0; i < parts.size(); ++i) {
        along += node.rotation[i].empty() ? 0 : parts[i] * node.rotation[i].back();
    }
    const bool jumps = along == 0 ? q.w < 0 : along < 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        node.rotation[i].push_back(rounded(jumps ? -parts[i] : parts[i], 1 / fullTurn));
    }
    node.needsScalar = node.needsScalar || node.rotation[3].back() < largeScalar * fullTurn;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        node.position[axis].push_back(rounded(joint.position[axis], step));
    }
}

std::vector<kit::JointTransform> Sampled::worldOf(std::vector<kit::JointTransform> joints) const {
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const int parent = performer_.rig->nodes()[i].parent;
        if (parent >= 0) {
            const kit::JointTransform& above = joints[static_cast<std::size_t>(parent)];
            joints[i] = {above.rotation * joints[i].rotation,
                         above.position + above.rotation * joints[i].position};
        }
    }
    return joints;
}

std::vector<kit::JointTransform> Sampled::shownAt(std::size_t frame) const {
    std::vector<kit::JointTransform> joints;
    for (const Node& node : nodes_) {
        const auto part = [&](std::size_t i) { return node.rotation[i][frame] / fullTurn; };
        Quaterniond q = {part(0), part(1), part(2), part(3)};
        if (!node.needsScalar) {
            q.w = std::sqrt(std::max(0.0, 1 - q.x * q.x - q.y * q.y - q.z * q.z));
        }
        Vector3d at;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            at[axis] = step * node.position[axis][frame];
        }
        joints.push_back({kit::normalized(q), at});
    }
    return joints;
}

double Sampled::largestError() const {
    double largest = 0;
    for (std::size_t frame = 0; frame < presence_.size(); ++frame) {
        if (presence_[frame] == 0) {
            continue;
        }
        const auto given =
            worldOf(kit::jointsAt(performer_, metres_, static_cast<int>(frame)).value());
        const auto shown = worldOf(shownAt(frame));
        for (std::size_t i = 0; i < given.size(); ++i) {
            largest = std::max(largest, kit::lengthOf(given[i].position - shown[i].position));
        }
    }
    return largest;
}

bool isConstant(const std::vector<std::int32_t>& column) {
    return std::adjacent_find(column.begin(), column.end(), std::not_equal_to<>()) == column.end();
}

/// The node's place in the page's facts; its columns follow each other: position, if it moves, then
/// rotation, with as many parts as are said.
Json packNode(const kit::RigNode& about, Node& node, const Vector3d& rest, Columns& columns) {
    Json facts = {{"name", kit::validUtf8(about.name)}, {"parent", about.parent}};
    if (about.isEndSite()) {
        facts["end"] = true;
    }
    const auto& at = node.position;
    const bool hasFrames = !at[0].empty();
    if (std::all_of(at.begin(), at.end(), isConstant)) {
        Json place = Json::array();
        for (std::size_t axis = 0; axis < 3; ++axis) {
            place.push_back(hasFrames ? at[axis].front() : rounded(rest[axis], step));
        }
        facts["at"] = std::move(place);
    } else {
        for (const auto& column : at) {
            columns.add(column);
        }
        facts["moves"] = true;
    }
    const auto& turn = node.rotation;
    if (!std::all_of(turn.begin(), turn.end(), isConstant)) {
        const std::size_t parts = node.needsScalar ? 4 : 3;
        for (std::size_t i = 0; i < parts; ++i) {
            columns.add(turn[i]);
        }
        facts["turns"] = parts;
    } else if (hasFrames) {
        facts["turn"] = {turn[0].front(), turn[1].front(), turn[2].front(), turn[3].front()};
    }
    return facts;
}

} // namespace

Packed packPerformer(const kit::PerformerTake& performer, double metres, Columns& columns) {
    check(performer);
    Sampled sampled(performer, metres);
    const kit::Space& space = performer.rig->space();
    Packed packed;
    packed.largestError = sampled.largestError();
    packed.facts = {{"name", kit::validUtf8(performer.name)},
                    {"source", kit::validUtf8(performer.source)},
                    {"rate", {performer.rate.numerator(), performer.rate.denominator()}},
                    {"frames", sampled.presence().size()},
                    {"firstFrame", performer.firstFrame},
                    {"unit", kit::spaceText(space)},
                    {"unitIs", space.unit.known() ? kit::originText(space.unitOrigin) : "unknown"},
                    {"metresPerUnit", metres}};
    const bool isWhole = std::find(sampled.presence().begin(), sampled.presence().end(), 0) ==
                         sampled.presence().end();
    packed.facts["whole"] = isWhole;
    if (!isWhole) {
        columns.add(sampled.presence());
    }
    Json nodes = Json::array();
    for (std::size_t i = 0; i < sampled.nodes().size(); ++i) {
        const kit::RigNode& node = performer.rig->nodes()[i];
        const Vector3f rest = kit::upright(node.offset, space.up);
        nodes.push_back(packNode(node, sampled.nodes()[i], metres * kit::toDouble(rest), columns));
    }
    packed.facts["nodes"] = std::move(nodes);
    return packed;
}

} // namespace tarn::view
