// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/BoneID.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <string_view>
#include <unordered_map>

namespace tarn {
namespace {

constexpr std::array<std::string_view, boneIDCount> boneNames = {
    "Hips",
    "RightUpLeg",
    "RightLeg",
    "RightFoot",
    "LeftUpLeg",
    "LeftLeg",
    "LeftFoot",
    "RightShoulder",
    "RightArm",
    "RightForeArm",
    "RightHand",
    "LeftShoulder",
    "LeftArm",
    "LeftForeArm",
    "LeftHand",
    "Head",
    "Neck",
    "Spine3",
    "Spine2",
    "Spine1",
    "Spine",
    "RightToeBase",
    "LeftToeBase",
    "RightFingerBase",
    "RightInHandThumb",
    "RightHandThumb1",
    "RightHandThumb2",
    "RightHandThumb3",
    "RightHandThumb4",
    "RightInHandIndex",
    "RightHandIndex1",
    "RightHandIndex2",
    "RightHandIndex3",
    "RightHandIndex4",
    "RightInHandMiddle",
    "RightHandMiddle1",
    "RightHandMiddle2",
    "RightHandMiddle3",
    "RightHandMiddle4",
    "RightInHandRing",
    "RightHandRing1",
    "RightHandRing2",
    "RightHandRing3",
    "RightHandRing4",
    "RightInHandPinky",
    "RightHandPinky1",
    "RightHandPinky2",
    "RightHandPinky3",
    "RightHandPinky4",
    "RightInHandExtraFinger",
    "RightHandExtraFinger1",
    "RightHandExtraFinger2",
    "RightHandExtraFinger3",
    "RightHandExtraFinger4",
    "LeftFingerBase",
    "LeftInHandThumb",
    "LeftHandThumb1",
    "LeftHandThumb2",
    "LeftHandThumb3",
    "LeftHandThumb4",
    "LeftInHandIndex",
    "LeftHandIndex1",
    "LeftHandIndex2",
    "LeftHandIndex3",
    "LeftHandIndex4",
    "LeftInHandMiddle",
    "LeftHandMiddle1",
    "LeftHandMiddle2",
    "LeftHandMiddle3",
    "LeftHandMiddle4",
    "LeftInHandRing",
    "LeftHandRing1",
    "LeftHandRing2",
    "LeftHandRing3",
    "LeftHandRing4",
    "LeftInHandPinky",
    "LeftHandPinky1",
    "LeftHandPinky2",
    "LeftHandPinky3",
    "LeftHandPinky4",
    "LeftInHandExtraFinger",
    "LeftHandExtraFinger1",
    "LeftHandExtraFinger2",
    "LeftHandExtraFinger3",
    "LeftHandExtraFinger4",
    "RightInFootThumb",
    "RightFootThumb1",
    "RightFootThumb2",
    "RightFootThumb3",
    "RightFootThumb4",
    "RightInFootIndex",
    "RightFootIndex1",
    "RightFootIndex2",
    "RightFootIndex3",
    "RightFootIndex4",
    "RightInFootMiddle",
    "RightFootMiddle1",
    "RightFootMiddle2",
    "RightFootMiddle3",
    "RightFootMiddle4",
    "RightInFootRing",
    "RightFootRing1",
    "RightFootRing2",
    "RightFootRing3",
    "RightFootRing4",
    "RightInFootPinky",
    "RightFootPinky1",
    "RightFootPinky2",
    "RightFootPinky3",
    "RightFootPinky4",
    "RightInFootExtraFinger",
    "RightFootExtraFinger1",
    "RightFootExtraFinger2",
    "RightFootExtraFinger3",
    "RightFootExtraFinger4",
    "LeftInFootThumb",
    "LeftFootThumb1",
    "LeftFootThumb2",
    "LeftFootThumb3",
    "LeftFootThumb4",
    "LeftInFootIndex",
    "LeftFootIndex1",
    "LeftFootIndex2",
    "LeftFootIndex3",
    "LeftFootIndex4",
    "LeftInFootMiddle",
    "LeftFootMiddle1",
    "LeftFootMiddle2",
    "LeftFootMiddle3",
    "LeftFootMiddle4",
    "LeftInFootRing",
    "LeftFootRing1",
    "LeftFootRing2",
    "LeftFootRing3",
    "LeftFootRing4",
    "LeftInFootPinky",
    "LeftFootPinky1",
    "LeftFootPinky2",
    "LeftFootPinky3",
    "LeftFootPinky4",
    "LeftInFootExtraFinger",
    "LeftFootExtraFinger1",
    "LeftFootExtraFinger2",
    "LeftFootExtraFinger3",
    "LeftFootExtraFinger4",
    "Neck1",
    "Neck2",
    "Neck3",
    "Neck4",
    "Neck5",
    "Neck6",
    "Neck7",
    "Neck8",
    "Neck9",
    "Spine4",
    "Spine5",
    "Spine6",
    "Spine7",
    "Spine8",
    "Spine9",
    "Props0",
    "Props1",
    "Props2",
    "Props3",
    "Props4",
    "RightShoulderExtra",
    "LeftShoulderExtra",
};

/// Finds bones by name.
class BoneIndex {
public:
    BoneIndex() {
        for (std::size_t id = 0; id < boneNames.size(); ++id) {
            ids_.emplace(boneNames[id], static_cast<EBoneID>(id));
            longest_ = std::max(longest_, boneNames[id].size());
        }
    }

    EBoneID find(std::string_view name) const {
        const auto found = name.size() > longest_ ? ids_.end() : ids_.find(name);
        return found == ids_.end() ? static_cast<EBoneID>(-1) : found->second;
    }

private:
    std::unordered_map<std::string_view, EBoneID> ids_;
    std::size_t longest_ = 0;
};

} // namespace

std::string boneIDToBoneName(EBoneID id) {
    assert(id >= 0 && id < boneIDCount);
    return std::string(boneNames[static_cast<std::size_t>(id)]);
}

EBoneID boneNameToBoneID(const std::string& name) {
    static const BoneIndex index;
    return index.find(name);
}

} // namespace tarn
