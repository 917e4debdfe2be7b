#include <tarn/Skeleton.h>

#include <tarn/Bone.h>

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

/// Puts `bones` before all that is pending, the first of them next.
void visitNext(Pending& pending, const std::list<Bone*>& bones) {
    pending.insert(pending.end(), bones.rbegin(), bones.rend());
}

Bone* findNamed(const std::list<Bone*>& bones, const std::string& name) {
    for (Bone* const bone : bones) {
        if (bone->name() == name) {
            return bone;
        }
    }
    return nullptr;
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
        visitNext(pending, bone->childrenBones());
    }
    found.insert(found.end(), d_->props.begin(), d_->props.end());
    return found;
}

Bone* Skeleton::findBoneByName(const std::string& name) {
    if (d_->root == nullptr || d_->root->name() == name) {
        return d_->root;
    }
    Pending pending = {d_->root};
    while (!pending.empty()) {
        const std::list<Bone*> children = takeNext(pending)->childrenBones();
        if (Bone* const found = findNamed(children, name)) {
            return found;
        }
        visitNext(pending, children);
    }
    return nullptr;
}

} // namespace tarn
