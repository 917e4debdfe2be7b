// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Object.h>

#include <list>
#include <memory>
#include <string>

namespace tarn {

/// The joint of a bone: a name and a place in the tree of joints, which runs in parallel to the
/// tree of bones. `Bone::addChildBone` links the joints along with their bones.
///
/// Ownership: a bone makes and owns its joint; a joint made on its own belongs to whoever made it.
/// Links own nothing (see `Object`). Threads: one at a time.
class TARN_EXPORT Joint : public Object {
public:
    /// The object name stays empty: `name()` is the joint's own, fixed name.
    explicit Joint(const std::string& name);
    ~Joint() override;
    Joint(const Joint&) = delete;
    Joint& operator=(const Joint&) = delete;

    std::string name() const;
    /// The first parent that is a joint, or null.
    Joint* parentJoint() const;
    /// The children that are joints, in the order in which they were linked.
    std::list<Joint*> childrenJoints() const;

private:
    friend class Skeleton; // compares the names of a whole body without copying them
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
