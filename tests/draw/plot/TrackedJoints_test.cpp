// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/plot/TrackedJoints.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> trackedNames(const std::vector<std::string>& children) {
    kit::Rig rig;
    rig.addJoint("Hips", -1, {0, 0, 0}, {});
    for (const std::string& name : children) {
        rig.addJoint(name, 0, {0, 1, 0}, {});
    }
    std::vector<std::string> names;
    for (const TrackedJoint& joint : trackedJoints(rig)) {
        names.push_back(joint.label + "=" + rig.nodes()[joint.node].name);
    }
    return names;
}

TEST(TrackedJoints, AreFoundByTheirNames) {
    EXPECT_THAT(trackedNames({"Neck", "Head", "LeftHand", "RightHand", "LeftFoot", "RightFoot"}),
                ElementsAre("root (Hips)=Hips", "head=Head", "left hand=LeftHand",
                            "right hand=RightHand", "left foot=LeftFoot", "right foot=RightFoot"));
    EXPECT_THAT(trackedNames({"head", "rHand", "rThumb1", "lHand", "rFoot", "lFoot"}),
                ElementsAre("root (Hips)=Hips", "head=head", "left hand=lHand", "right hand=rHand",
                            "left foot=lFoot", "right foot=rFoot"));
    EXPECT_THAT(trackedNames({"m:hand_l", "m:hand_r", "m:LeftAnkle"}),
                ElementsAre("root (Hips)=Hips", "left hand=m:hand_l", "right hand=m:hand_r",
                            "left foot=m:LeftAnkle"));
}

TEST(TrackedJoints, AreTheEndsOfChainsWhereNamesTellNothing) {
    EXPECT_THAT(trackedNames({"A", "B\n", "C", "D", "E", "F", "G"}),
                ElementsAre("root (Hips)=Hips", "A=A", "B\xEF\xBF\xBD=B\n", "C=C", "D=D", "E=E"));
    EXPECT_THAT(trackedNames({}), ElementsAre("root (Hips)=Hips"));
}

TEST(TrackedJoints, AreNotThoseWhoseNamesOnlyEndLikeASide) {
    EXPECT_THAT(trackedNames({"Skull", "footHeel", "handHeel", "lHand"}),
                ElementsAre("root (Hips)=Hips", "left hand=lHand"));
}

TEST(TrackedJoints, HaveLabelsInAnyScript) {
    EXPECT_THAT(
        trackedNames({"\xE5\xB7\xA6\xE6\x89\x8B", "Bein\xF0\xA0\xAE\xB7", "Fu\xF0\xA0\xAE"}),
        ElementsAre("root (Hips)=Hips", "\xE5\xB7\xA6\xE6\x89\x8B=\xE5\xB7\xA6\xE6\x89\x8B",
                    "Bein\xF0\xA0\xAE\xB7=Bein\xF0\xA0\xAE\xB7",
                    "Fu\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD=Fu\xF0\xA0\xAE"));
}

TEST(TrackedJoints, AreNoneOfARigWithoutNodes) {
    EXPECT_THAT(trackedJoints(kit::Rig()), IsEmpty());
}

} // namespace
} // namespace tarn::draw
