// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/BoneID.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using tarn::boneIDCount;
using tarn::boneIDToBoneName;
using tarn::boneNameToBoneID;
using tarn::EBoneID;

static_assert(std::is_same_v<std::underlying_type_t<EBoneID>, std::int32_t>);
static_assert(std::is_convertible_v<EBoneID, int>);
static_assert(boneIDCount == 167);

constexpr auto noBone = static_cast<EBoneID>(-1);

using Names = std::vector<std::string>;

void append(Names& names, const Names& more) {
    names.insert(names.end(), more.begin(), more.end());
}

/// `prefix` followed by each number from `first` to `last`.
Names numbered(const std::string& prefix, int first, int last) {
    Names names;
    for (int number = first; number <= last; ++number) {
        names.push_back(prefix + std::to_string(number));
    }
    return names;
}

/// The fingers of a hand or the toes of a foot: each has one bone inside and four beyond.
Names digits(const std::string& inside, const std::string& beyond) {
    Names names;
    for (const std::string digit : {"Thumb", "Index", "Middle", "Ring", "Pinky", "ExtraFinger"}) {
        names.push_back(inside + digit);
        append(names, numbered(beyond + digit, 1, 4));
    }
    return names;
}

/// All names in the order of their ids, put together from the pattern they follow.
Names namesInOrder() {
    Names names = {"Hips",      "RightUpLeg",   "RightLeg",      "RightFoot",      "LeftUpLeg",
                   "LeftLeg",   "LeftFoot",     "RightShoulder", "RightArm",       "RightForeArm",
                   "RightHand", "LeftShoulder", "LeftArm",       "LeftForeArm",    "LeftHand",
                   "Head",      "Neck",         "Spine3",        "Spine2",         "Spine1",
                   "Spine",     "RightToeBase", "LeftToeBase",   "RightFingerBase"};
    append(names, digits("RightInHand", "RightHand"));
    names.emplace_back("LeftFingerBase");
    append(names, digits("LeftInHand", "LeftHand"));
    append(names, digits("RightInFoot", "RightFoot"));
    append(names, digits("LeftInFoot", "LeftFoot"));
    append(names, numbered("Neck", 1, 9));
    append(names, numbered("Spine", 4, 9));
    append(names, numbered("Props", 0, 4));
    append(names, {"RightShoulderExtra", "LeftShoulderExtra"});
    return names;
}

/// Every enumerator with the name that its spelling promises.
std::vector<std::pair<EBoneID, std::string>> enumerators() {
    using namespace tarn;
#define NAMED(name)                                                                                \
    { Bone##name, #name }
    return {
        NAMED(Hips),
        NAMED(RightUpLeg),
        NAMED(RightLeg),
        NAMED(RightFoot),
        NAMED(LeftUpLeg),
        NAMED(LeftLeg),
        NAMED(LeftFoot),
        NAMED(RightShoulder),
        NAMED(RightArm),
        NAMED(RightForeArm),
        NAMED(RightHand),
        NAMED(LeftShoulder),
        NAMED(LeftArm),
        NAMED(LeftForeArm),
        NAMED(LeftHand),
        NAMED(Head),
        NAMED(Neck),
        NAMED(Spine3),
        NAMED(Spine2),
        NAMED(Spine1),
        NAMED(Spine),
        NAMED(RightToeBase),
        NAMED(LeftToeBase),
        NAMED(RightFingerBase),
        NAMED(RightInHandThumb),
        NAMED(RightHandThumb1),
        NAMED(RightHandThumb2),
        NAMED(RightHandThumb3),
        NAMED(RightHandThumb4),
        NAMED(RightInHandIndex),
        NAMED(RightHandIndex1),
        NAMED(RightHandIndex2),
        NAMED(RightHandIndex3),
        NAMED(RightHandIndex4),
        NAMED(RightInHandMiddle),
        NAMED(RightHandMiddle1),
        NAMED(RightHandMiddle2),
        NAMED(RightHandMiddle3),
        NAMED(RightHandMiddle4),
        NAMED(RightInHandRing),
        NAMED(RightHandRing1),
        NAMED(RightHandRing2),
        NAMED(RightHandRing3),
        NAMED(RightHandRing4),
        NAMED(RightInHandPinky),
        NAMED(RightHandPinky1),
        NAMED(RightHandPinky2),
        NAMED(RightHandPinky3),
        NAMED(RightHandPinky4),
        NAMED(RightInHandExtraFinger),
        NAMED(RightHandExtraFinger1),
        NAMED(RightHandExtraFinger2),
        NAMED(RightHandExtraFinger3),
        NAMED(RightHandExtraFinger4),
        NAMED(LeftFingerBase),
        NAMED(LeftInHandThumb),
        NAMED(LeftHandThumb1),
        NAMED(LeftHandThumb2),
        NAMED(LeftHandThumb3),
        NAMED(LeftHandThumb4),
        NAMED(LeftInHandIndex),
        NAMED(LeftHandIndex1),
        NAMED(LeftHandIndex2),
        NAMED(LeftHandIndex3),
        NAMED(LeftHandIndex4),
        NAMED(LeftInHandMiddle),
        NAMED(LeftHandMiddle1),
        NAMED(LeftHandMiddle2),
        NAMED(LeftHandMiddle3),
        NAMED(LeftHandMiddle4),
        NAMED(LeftInHandRing),
        NAMED(LeftHandRing1),
        NAMED(LeftHandRing2),
        NAMED(LeftHandRing3),
        NAMED(LeftHandRing4),
        NAMED(LeftInHandPinky),
        NAMED(LeftHandPinky1),
        NAMED(LeftHandPinky2),
        NAMED(LeftHandPinky3),
        NAMED(LeftHandPinky4),
        NAMED(LeftInHandExtraFinger),
        NAMED(LeftHandExtraFinger1),
        NAMED(LeftHandExtraFinger2),
        NAMED(LeftHandExtraFinger3),
        NAMED(LeftHandExtraFinger4),
        NAMED(RightInFootThumb),
        NAMED(RightFootThumb1),
        NAMED(RightFootThumb2),
        NAMED(RightFootThumb3),
        NAMED(RightFootThumb4),
        NAMED(RightInFootIndex),
        NAMED(RightFootIndex1),
        NAMED(RightFootIndex2),
        NAMED(RightFootIndex3),
        NAMED(RightFootIndex4),
        NAMED(RightInFootMiddle),
        NAMED(RightFootMiddle1),
        NAMED(RightFootMiddle2),
        NAMED(RightFootMiddle3),
        NAMED(RightFootMiddle4),
        NAMED(RightInFootRing),
        NAMED(RightFootRing1),
        NAMED(RightFootRing2),
        NAMED(RightFootRing3),
        NAMED(RightFootRing4),
        NAMED(RightInFootPinky),
        NAMED(RightFootPinky1),
        NAMED(RightFootPinky2),
        NAMED(RightFootPinky3),
        NAMED(RightFootPinky4),
        NAMED(RightInFootExtraFinger),
        NAMED(RightFootExtraFinger1),
        NAMED(RightFootExtraFinger2),
        NAMED(RightFootExtraFinger3),
        NAMED(RightFootExtraFinger4),
        NAMED(LeftInFootThumb),
        NAMED(LeftFootThumb1),
        NAMED(LeftFootThumb2),
        NAMED(LeftFootThumb3),
        NAMED(LeftFootThumb4),
        NAMED(LeftInFootIndex),
        NAMED(LeftFootIndex1),
        NAMED(LeftFootIndex2),
        NAMED(LeftFootIndex3),
        NAMED(LeftFootIndex4),
        NAMED(LeftInFootMiddle),
        NAMED(LeftFootMiddle1),
        NAMED(LeftFootMiddle2),
        NAMED(LeftFootMiddle3),
        NAMED(LeftFootMiddle4),
        NAMED(LeftInFootRing),
        NAMED(LeftFootRing1),
        NAMED(LeftFootRing2),
        NAMED(LeftFootRing3),
        NAMED(LeftFootRing4),
        NAMED(LeftInFootPinky),
        NAMED(LeftFootPinky1),
        NAMED(LeftFootPinky2),
        NAMED(LeftFootPinky3),
        NAMED(LeftFootPinky4),
        NAMED(LeftInFootExtraFinger),
        NAMED(LeftFootExtraFinger1),
        NAMED(LeftFootExtraFinger2),
        NAMED(LeftFootExtraFinger3),
        NAMED(LeftFootExtraFinger4),
        NAMED(Neck1),
        NAMED(Neck2),
        NAMED(Neck3),
        NAMED(Neck4),
        NAMED(Neck5),
        NAMED(Neck6),
        NAMED(Neck7),
        NAMED(Neck8),
        NAMED(Neck9),
        NAMED(Spine4),
        NAMED(Spine5),
        NAMED(Spine6),
        NAMED(Spine7),
        NAMED(Spine8),
        NAMED(Spine9),
        NAMED(Props0),
        NAMED(Props1),
        NAMED(Props2),
        NAMED(Props3),
        NAMED(Props4),
        NAMED(RightShoulderExtra),
        NAMED(LeftShoulderExtra),
    };
#undef NAMED
}

TEST(BoneID, EveryIdHasItsName) {
    const Names names = namesInOrder();
    ASSERT_EQ(names.size(), static_cast<std::size_t>(boneIDCount));
    for (int id = 0; id < boneIDCount; ++id) {
        EXPECT_EQ(boneIDToBoneName(static_cast<EBoneID>(id)), names[static_cast<std::size_t>(id)]);
    }
}

TEST(BoneID, EveryEnumeratorIsNamedAfterItsSegment) {
    const auto all = enumerators();
    ASSERT_EQ(all.size(), static_cast<std::size_t>(boneIDCount));
    int id = 0;
    for (const auto& [enumerator, name] : all) {
        EXPECT_EQ(static_cast<int>(enumerator), id) << name;
        EXPECT_EQ(boneIDToBoneName(enumerator), name);
        ++id;
    }
}

TEST(BoneID, TheGroupsStartAtTheirFixedNumbers) {
    const std::vector<std::pair<std::string, int>> starts = {
        {"Hips", 0},
        {"RightUpLeg", 1},
        {"RightShoulder", 7},
        {"Head", 15},
        {"RightToeBase", 21},
        {"RightFingerBase", 23},
        {"RightInHandThumb", 24},
        {"RightHandThumb1", 25},
        {"RightHandThumb4", 28},
        {"RightInHandIndex", 29},
        {"RightInHandExtraFinger", 49},
        {"RightHandExtraFinger4", 53},
        {"LeftFingerBase", 54},
        {"LeftInHandThumb", 55},
        {"LeftHandExtraFinger4", 84},
        {"RightInFootThumb", 85},
        {"RightFootThumb1", 86},
        {"RightInFootExtraFinger", 110},
        {"RightFootExtraFinger4", 114},
        {"LeftInFootThumb", 115},
        {"LeftFootExtraFinger4", 144},
        {"Neck1", 145},
        {"Spine4", 154},
        {"Props0", 160},
        {"RightShoulderExtra", 165},
        {"LeftShoulderExtra", 166},
    };
    for (const auto& [name, id] : starts) {
        EXPECT_EQ(boneNameToBoneID(name), id) << name;
    }
}

TEST(BoneID, EveryIdIsFoundAgainByItsName) {
    for (int id = 0; id < boneIDCount; ++id) {
        EXPECT_EQ(boneNameToBoneID(boneIDToBoneName(static_cast<EBoneID>(id))), id);
    }
}

TEST(BoneID, AnUnknownNameGivesMinusOne) {
    for (const std::string name : {"", "hips", "HIPS", "Hips ", " Hips", "Hip", "Hipss", "Neck0",
                                   "Neck10", "Spine0", "Props5", "RightHandThumb", "BoneHips"}) {
        EXPECT_EQ(boneNameToBoneID(name), noBone) << '"' << name << '"';
    }
}

TEST(BoneID, ANameWithAZeroByteBehindItIsUnknown) {
    EXPECT_EQ(boneNameToBoneID(std::string("Hips\0", 5)), noBone);
    EXPECT_EQ(boneNameToBoneID(std::string("\0", 1)), noBone);
}

TEST(BoneID, TheIdOfAnUnknownNameHasAllBitsSet) {
    EXPECT_EQ(static_cast<std::uint32_t>(boneNameToBoneID("Tail")), 0xFFFFFFFFU);
}

#ifndef NDEBUG
TEST(BoneIDDeathTest, AnIdOutsideTheTableIsCaughtInADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(boneIDToBoneName(noBone), "id < boneIDCount");
    EXPECT_DEATH(boneIDToBoneName(static_cast<EBoneID>(boneIDCount)), "id < boneIDCount");
}
#endif

} // namespace
