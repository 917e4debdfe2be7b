// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Object.h>

#include <list>
#include <memory>
#include <string>

namespace tarn {

class Bone;

/// A body: a name, the root of a tree of bones, and props (extra rigid bodies) beside that tree.
///
/// Ownership: a skeleton owns neither bones nor props and is not linked to them; whoever makes them
/// keeps them alive while the skeleton refers to them. Threads: one at a time. Nothing that is set
/// here is announced.
class TARN_EXPORT Skeleton : public Object {
public:
    /// A skeleton without root and props. The object name stays empty.
    explicit Skeleton(const std::string& name);
    ~Skeleton() override;
    Skeleton(const Skeleton&) = delete;
    Skeleton& operator=(const Skeleton&) = delete;

    /// Valid until the name is set again or the skeleton is destroyed.
    const std::string& skeletonName() const;
    void setSkeletonName(const std::string& name);

    /// The root bone, or null.
    Bone* rootBone() const;
    /// Replaces the root bone; null leaves the skeleton without one. No link is made or broken.
    void setBone(Bone* root);

    /// Appends a prop, which stays for the skeleton's life. Null and duplicates are kept like
    /// others.
    void addProp(Bone* prop);
    /// The props in the order in which they were added.
    std::list<Bone*> props() const;

    /// Every bone of the root's tree, a parent before its children and the children in their order,
    /// each with all that is below it; then the props. Without a root, the props alone.
    /// Precondition: no bone is its own descendant.
    std::list<Bone*> bones() const;
    /// A bone of the root's tree by its exact, case-sensitive name, or null if there is none or
    /// there is no root. Props are not searched. Where a name occurs twice, the root comes first;
    /// from then on, all children of a bone come before anything deeper below it. Precondition: no
    /// bone is its own descendant.
    Bone* findBoneByName(const std::string& name);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
