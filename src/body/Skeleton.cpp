// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Skeleton.h>

#include "body/JointData.h"
#include "core/TypedLinks.h"

#include <tarn/Bone.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace tarn {

struct Skeleton::PrivateData {
    std::string name;
    Bone* root = nullptr;
    std::list<Bone*> props;
};

namespace {

/// The bones still to be visited, the next one last. The walks of a tree keep them here instead of
/// on the call stack, which a long chain of bones would overflow.
using Pending = std::vector<Bone*>;

Bone* takeNext(Pending& pending) {
    Bone* const next = pending.back();
    pending.pop_back();
    return next;
}

/// Puts the child bones of `bone` before all that is pending, the first of them next. Returns where
/// they begin.
Pending::difference_type visitChildrenNext(Pending& pending, const Bone& bone) {
    const auto before = static_cast<Pending::difference_type>(pending.size());
    const std::list<Object*>& children = bone.children();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        if (Bone* const childBone = asTyped<Bone>(*child)) {
            pending.push_back(childBone);
        }
    }
    return before;
}

} // namespace

Skeleton::Skeleton(const std::string& name) : d_(std::make_unique<PrivateData>()) {
    d_->name = name;
}

Skeleton::~Skeleton() = default;

const std::string& Skeleton::skeletonName() const { return d_->name; }

void Skeleton::setSkeletonName(const std::string& name) { d_->name = name; }

Bone* Skeleton::rootBone() const { return d_->root; }

void Skeleton::setBone(Bone* root) { d_->root = root; }

void Skeleton::addProp(Bone* prop) { d_->props.push_back(prop); }

std::list<Bone*> Skeleton::props() const { return d_->props; }

std::list<Bone*> Skeleton::bones() const {
    std::list<Bone*> found;
    Pending pending;
    if (d_->root != nullptr) {
        pending.push_back(d_->root);
    }
    while (!pending.empty()) {
        Bone* const bone = takeNext(pending);
        found.push_back(bone);
        visitChildrenNext(pending, *bone);
    }
    found.insert(found.end(), d_->props.begin(), d_->props.end());
    return found;
}

Bone* Skeleton::findBoneByName(const std::string& name) {
    const auto isNamed = [&name](Bone* bone) { return bone->joint()->d_->name == name; };
    if (d_->root == nullptr || isNamed(d_->root)) {
        return d_->root;
    }
    Pending pending = {d_->root};
    while (!pending.empty()) {
        // All children of a bone are looked at before their own children: the first of them stands
        // last.
        const auto children = visitChildrenNext(pending, *takeNext(pending));
        const auto end = std::make_reverse_iterator(pending.begin() + children);
        const auto found = std::find_if(pending.rbegin(), end, isNamed);
        if (found != end) {
            return *found;
        }
    }
    return nullptr;
}

} // namespace tarn
