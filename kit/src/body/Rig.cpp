// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Rig.h>

#include "body/Kinematics.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace tarn::kit {

struct Rig::PrivateData {
    std::vector<RigNode> nodes;
    std::vector<std::unique_ptr<Bone>> bones;
    std::vector<std::unique_ptr<Skeleton>> skeletons;
    std::size_t valueCount = 0;
    UpAxis standing = UpAxis::Y;
    Space space;

    bool isJoint(int index) const;
    RigNode& joint(int index) { return nodes[static_cast<std::size_t>(index)]; }
    int append(RigNode node);
    void link(Bone* bone, int parent);
};

bool Rig::PrivateData::isJoint(int index) const {
    return index >= 0 && static_cast<std::size_t>(index) < nodes.size() &&
           !nodes[static_cast<std::size_t>(index)].isEndSite();
}

int Rig::PrivateData::append(RigNode node) {
    valueCount += node.channels.size();
    nodes.push_back(std::move(node));
    return static_cast<int>(nodes.size()) - 1;
}

void Rig::PrivateData::link(Bone* bone, int parent) {
    if (parent >= 0) {
        joint(parent).bone->addChildBone(bone);
        return;
    }
    skeletons.push_back(std::make_unique<Skeleton>(bone->name()));
    skeletons.back()->setBone(bone);
}

Rig::Rig() : d_(std::make_unique<PrivateData>()) {}

Rig::~Rig() = default;

int Rig::addJoint(const std::string& name, int parent, const Vector3f& offset,
                  std::vector<Channel> channels) {
    assert(parent == -1 || d_->isJoint(parent));
    d_->bones.push_back(std::make_unique<Bone>(name));
    Bone* const bone = d_->bones.back().get();
    d_->link(bone, parent);
    return d_->append({name, parent, offset, std::move(channels), d_->valueCount, bone});
}

int Rig::addEndSite(int parent, const Vector3f& offset) {
    assert(d_->isJoint(parent));
    return d_->append(
        {d_->joint(parent).name + "_End", parent, offset, {}, d_->valueCount, nullptr});
}

const std::vector<RigNode>& Rig::nodes() const noexcept { return d_->nodes; }

const std::vector<std::unique_ptr<Skeleton>>& Rig::skeletons() const noexcept {
    return d_->skeletons;
}

int Rig::jointCount() const noexcept { return static_cast<int>(d_->bones.size()); }

std::size_t Rig::valueCount() const noexcept { return d_->valueCount; }

UpAxis Rig::standing() const noexcept { return d_->standing; }

void Rig::setStanding(UpAxis axis) noexcept { d_->standing = axis; }

const Space& Rig::space() const noexcept { return d_->space; }

void Rig::setSpace(const Space& space) { d_->space = space; }

float Rig::heightAlong(UpAxis axis) const {
    if (d_->nodes.empty()) {
        return 0;
    }
    std::vector<double> heights;
    heights.reserve(d_->nodes.size());
    for (const RigNode& node : d_->nodes) {
        const double base = node.parent < 0 ? 0 : heights[static_cast<std::size_t>(node.parent)];
        heights.push_back(base + toDouble(node.offset)[static_cast<std::size_t>(axis)]);
    }
    const auto [lowest, highest] = std::minmax_element(heights.begin(), heights.end());
    return toSingle(*highest - *lowest);
}

} // namespace tarn::kit
