// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Bone.h>
#include <tarn/Rotation.h>
#include <tarn/Skeleton.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Space.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::kit {

/// What one value of a pose moves: the joint's position along an axis of its parent, or its
/// rotation about one of its own axes. Positions are in the rig's length unit, rotations in
/// degrees.
enum class Channel : std::uint8_t {
    Xposition,
    Yposition,
    Zposition,
    Xrotation,
    Yrotation,
    Zrotation,
};

/// A joint of a rig, or an end site: a point that ends a chain and has no channels.
struct RigNode {
    std::string name;              ///< an end site is named after its parent, with "_End" added
    int parent;                    ///< index of the parent node, always smaller; -1 for a root
    Vector3f offset;               ///< from the parent, in the parent's axes, with no rotation
    std::vector<Channel> channels; ///< in the order in which the values of a pose follow each other
    std::size_t firstValue;        ///< index of this node's first value in `Pose::values`
    Bone* bone;                    ///< owned by the rig; null for an end site
    bool isEndSite() const noexcept { return bone == nullptr; }
};

/// The values of one frame: one per channel, joint after joint as the rig lists them. It is the
/// payload of frames of the data type `poseDataType`; what the values move is said by the rig.
struct TARN_KIT_EXPORT Pose {
    std::vector<float> values;
};

/// The data type of frames whose payload is a `Pose`.
inline constexpr int poseDataType = 1;

/// A body as motion files describe it: joints with offsets and channels, and end sites, in file
/// order, together with the skeleton of bones that hosts and solvers work with.
///
/// Right-handed; `space()` says which axis is up and what lengths are measured in.
/// Threads: build it on one thread; from then on any number may read it at once, solvers included.
/// Ownership: the rig owns its skeletons and bones; whoever links one of them to an object of their
/// own unlinks it before the rig is destroyed.
class TARN_KIT_EXPORT Rig {
public:
    Rig();
    ~Rig();
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    /// Appends a joint with a bone of its own and returns its index. `parent` is the index of a
    /// joint of this rig (not of an end site), or -1 for a root: a root starts a skeleton of its
    /// own, named after it.
    int addJoint(const std::string& name, int parent, const Vector3f& offset,
                 std::vector<Channel> channels);
    /// Appends an end site below the joint `parent` and returns its index.
    int addEndSite(int parent, const Vector3f& offset);

    /// Joints and end sites in the order in which they were added, parents before children.
    const std::vector<RigNode>& nodes() const noexcept;
    /// One skeleton per root, in order; most rigs have one.
    const std::vector<std::unique_ptr<Skeleton>>& skeletons() const noexcept;
    /// How many of the nodes are joints.
    int jointCount() const noexcept;
    /// How many values a pose of this rig has.
    std::size_t valueCount() const noexcept;
    /// How far the nodes reach along an axis when no joint moves or turns. 0 without nodes.
    float heightAlong(UpAxis axis) const;
    /// The height of the body: how far it reaches along the axis on which its rest pose stands.
    float height() const { return heightAlong(standing()); }
    /// The axis along which the rest pose stands: Y, unless it was said. Takes may have been
    /// captured with another one up, which is that of `space()`.
    UpAxis standing() const noexcept;
    void setStanding(UpAxis axis) noexcept;

    /// What positions of the rig and of its poses mean: in an unknown unit, with Y up, until it is
    /// said.
    const Space& space() const noexcept;
    void setSpace(const Space& space);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
