// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>

#include <cstdint>
#include <string>

namespace tarn {

/// The segments of a body, numbered 0 to 166 without gaps. The numbers are part of stored data and
/// of the binary interface: they never change.
///
/// Each enumerator is `Bone` and the segment's name, as `boneIDToBoneName` gives it.
enum EBoneID : std::int32_t {
    // The trunk and the limbs.
    BoneHips = 0,
    BoneRightUpLeg = 1,
    BoneRightLeg,
    BoneRightFoot,
    BoneLeftUpLeg,
    BoneLeftLeg,
    BoneLeftFoot,
    BoneRightShoulder = 7,
    BoneRightArm,
    BoneRightForeArm,
    BoneRightHand,
    BoneLeftShoulder,
    BoneLeftArm,
    BoneLeftForeArm,
    BoneLeftHand,
    BoneHead = 15,
    BoneNeck,
    BoneSpine3,
    BoneSpine2,
    BoneSpine1,
    BoneSpine,
    BoneRightToeBase = 21,
    BoneLeftToeBase,

    // The right hand: per finger, the bone inside the hand and four phalanges.
    BoneRightFingerBase = 23,
    BoneRightInHandThumb = 24,
    BoneRightHandThumb1,
    BoneRightHandThumb2,
    BoneRightHandThumb3,
    BoneRightHandThumb4,
    BoneRightInHandIndex = 29,
    BoneRightHandIndex1,
    BoneRightHandIndex2,
    BoneRightHandIndex3,
    BoneRightHandIndex4,
    BoneRightInHandMiddle = 34,
    BoneRightHandMiddle1,
    BoneRightHandMiddle2,
    BoneRightHandMiddle3,
    BoneRightHandMiddle4,
    BoneRightInHandRing = 39,
    BoneRightHandRing1,
    BoneRightHandRing2,
    BoneRightHandRing3,
    BoneRightHandRing4,
    BoneRightInHandPinky = 44,
    BoneRightHandPinky1,
    BoneRightHandPinky2,
    BoneRightHandPinky3,
    BoneRightHandPinky4,
    BoneRightInHandExtraFinger = 49,
    BoneRightHandExtraFinger1,
    BoneRightHandExtraFinger2,
    BoneRightHandExtraFinger3,
    BoneRightHandExtraFinger4,

    // The left hand.
    BoneLeftFingerBase = 54,
    BoneLeftInHandThumb = 55,
    BoneLeftHandThumb1,
    BoneLeftHandThumb2,
    BoneLeftHandThumb3,
    BoneLeftHandThumb4,
    BoneLeftInHandIndex = 60,
    BoneLeftHandIndex1,
    BoneLeftHandIndex2,
    BoneLeftHandIndex3,
    BoneLeftHandIndex4,
    BoneLeftInHandMiddle = 65,
    BoneLeftHandMiddle1,
    BoneLeftHandMiddle2,
    BoneLeftHandMiddle3,
    BoneLeftHandMiddle4,
    BoneLeftInHandRing = 70,
    BoneLeftHandRing1,
    BoneLeftHandRing2,
    BoneLeftHandRing3,
    BoneLeftHandRing4,
    BoneLeftInHandPinky = 75,
    BoneLeftHandPinky1,
    BoneLeftHandPinky2,
    BoneLeftHandPinky3,
    BoneLeftHandPinky4,
    BoneLeftInHandExtraFinger = 80,
    BoneLeftHandExtraFinger1,
    BoneLeftHandExtraFinger2,
    BoneLeftHandExtraFinger3,
    BoneLeftHandExtraFinger4,

    // The right foot: per toe, the bone inside the foot and four phalanges.
    BoneRightInFootThumb = 85,
    BoneRightFootThumb1,
    BoneRightFootThumb2,
    BoneRightFootThumb3,
    BoneRightFootThumb4,
    BoneRightInFootIndex = 90,
    BoneRightFootIndex1,
    BoneRightFootIndex2,
    BoneRightFootIndex3,
    BoneRightFootIndex4,
    BoneRightInFootMiddle = 95,
    BoneRightFootMiddle1,
    BoneRightFootMiddle2,
    BoneRightFootMiddle3,
    BoneRightFootMiddle4,
    BoneRightInFootRing = 100,
    BoneRightFootRing1,
    BoneRightFootRing2,
    BoneRightFootRing3,
    BoneRightFootRing4,
    BoneRightInFootPinky = 105,
    BoneRightFootPinky1,
    BoneRightFootPinky2,
    BoneRightFootPinky3,
    BoneRightFootPinky4,
    BoneRightInFootExtraFinger = 110,
    BoneRightFootExtraFinger1,
    BoneRightFootExtraFinger2,
    BoneRightFootExtraFinger3,
    BoneRightFootExtraFinger4,

    // The left foot.
    BoneLeftInFootThumb = 115,
    BoneLeftFootThumb1,
    BoneLeftFootThumb2,
    BoneLeftFootThumb3,
    BoneLeftFootThumb4,
    BoneLeftInFootIndex = 120,
    BoneLeftFootIndex1,
    BoneLeftFootIndex2,
    BoneLeftFootIndex3,
    BoneLeftFootIndex4,
    BoneLeftInFootMiddle = 125,
    BoneLeftFootMiddle1,
    BoneLeftFootMiddle2,
    BoneLeftFootMiddle3,
    BoneLeftFootMiddle4,
    BoneLeftInFootRing = 130,
    BoneLeftFootRing1,
    BoneLeftFootRing2,
    BoneLeftFootRing3,
    BoneLeftFootRing4,
    BoneLeftInFootPinky = 135,
    BoneLeftFootPinky1,
    BoneLeftFootPinky2,
    BoneLeftFootPinky3,
    BoneLeftFootPinky4,
    BoneLeftInFootExtraFinger = 140,
    BoneLeftFootExtraFinger1,
    BoneLeftFootExtraFinger2,
    BoneLeftFootExtraFinger3,
    BoneLeftFootExtraFinger4,

    // More vertebrae.
    BoneNeck1 = 145,
    BoneNeck2,
    BoneNeck3,
    BoneNeck4,
    BoneNeck5,
    BoneNeck6,
    BoneNeck7,
    BoneNeck8,
    BoneNeck9,
    BoneSpine4 = 154,
    BoneSpine5,
    BoneSpine6,
    BoneSpine7,
    BoneSpine8,
    BoneSpine9,

    // What is carried, and what extends the shoulders.
    BoneProps0 = 160,
    BoneProps1,
    BoneProps2,
    BoneProps3,
    BoneProps4,
    BoneRightShoulderExtra = 165,
    BoneLeftShoulderExtra,
};

/// The number of segments, and so of names.
inline constexpr int boneIDCount = 167;

/// The segment's name, such as "RightHandThumb1". Precondition: `id` is 0 to 166.
TARN_EXPORT std::string boneIDToBoneName(EBoneID id);

/// The segment of exactly this name, case and length included; -1 if there is none.
TARN_EXPORT EBoneID boneNameToBoneID(const std::string& name);

} // namespace tarn
