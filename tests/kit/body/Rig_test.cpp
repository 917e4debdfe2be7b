// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Rig.h>

#include <gmock/gmock.h>

#include <string>
#include <type_traits>

namespace tarn::kit {
namespace {

using ::testing::ElementsAre;

static_assert(!std::is_copy_constructible_v<Rig>);
static_assert(!std::is_move_constructible_v<Rig>);

TEST(Rig, StartsWithNothing) {
    const Rig rig;
    EXPECT_TRUE(rig.nodes().empty());
    EXPECT_TRUE(rig.skeletons().empty());
    EXPECT_EQ(rig.jointCount(), 0);
    EXPECT_EQ(rig.valueCount(), 0U);
    EXPECT_EQ(rig.height(), 0.0F);
}

TEST(Rig, GivesTheIndexOfEachNodeItAdds) {
    Rig rig;
    EXPECT_EQ(rig.addJoint("Hips", -1, {}, {}), 0);
    EXPECT_EQ(rig.addJoint("Leg", 0, {}, {}), 1);
    EXPECT_EQ(rig.addEndSite(1, {}), 2);
    EXPECT_EQ(rig.addJoint("Spine", 0, {}, {}), 3);
    EXPECT_EQ(rig.nodes().size(), 4U);
}

TEST(Rig, KeepsWhatAJointIsMadeOf) {
    Rig rig;
    rig.addJoint("Hips", -1, {1, 2, 3}, {Channel::Yposition, Channel::Zrotation});
    const RigNode& node = rig.nodes().at(0);
    EXPECT_EQ(node.name, "Hips");
    EXPECT_EQ(node.parent, -1);
    EXPECT_EQ(node.offset.x, 1.0F);
    EXPECT_EQ(node.offset.y, 2.0F);
    EXPECT_EQ(node.offset.z, 3.0F);
    EXPECT_THAT(node.channels, ElementsAre(Channel::Yposition, Channel::Zrotation));
    EXPECT_FALSE(node.isEndSite());
}

TEST(Rig, NamesAnEndSiteAfterItsParent) {
    Rig rig;
    rig.addJoint("Hand", -1, {}, {Channel::Xrotation});
    rig.addEndSite(0, {4, 5, 6});
    const RigNode& node = rig.nodes().at(1);
    EXPECT_EQ(node.name, "Hand_End");
    EXPECT_EQ(node.parent, 0);
    EXPECT_EQ(node.offset.z, 6.0F);
    EXPECT_TRUE(node.isEndSite());
    EXPECT_EQ(node.bone, nullptr);
    EXPECT_TRUE(node.channels.empty());
}

TEST(Rig, CountsJointsWithoutEndSites) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {});
    rig.addEndSite(0, {});
    rig.addJoint("Leg", 0, {}, {});
    EXPECT_EQ(rig.jointCount(), 2);
}

TEST(Rig, LaysOutTheValuesOfAPoseJointAfterJoint) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {Channel::Xposition, Channel::Xrotation});
    rig.addEndSite(0, {});
    rig.addJoint("Still", 0, {}, {});
    rig.addJoint("Leg", 0, {}, {Channel::Zrotation, Channel::Yrotation, Channel::Zrotation});
    rig.addJoint("Foot", 3, {}, {Channel::Zrotation});
    EXPECT_EQ(rig.nodes()[0].firstValue, 0U);
    EXPECT_EQ(rig.nodes()[3].firstValue, 2U);
    EXPECT_EQ(rig.nodes()[4].firstValue, 5U);
    EXPECT_EQ(rig.valueCount(), 6U);
}

TEST(Rig, LinksABoneOfTheSameNameForEachJoint) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {});
    rig.addJoint("Leg", 0, {}, {});
    rig.addEndSite(1, {});
    rig.addJoint("Spine", 0, {}, {});
    Bone* const hips = rig.nodes()[0].bone;
    Bone* const leg = rig.nodes()[1].bone;
    Bone* const spine = rig.nodes()[3].bone;
    EXPECT_EQ(leg->name(), "Leg");
    EXPECT_EQ(hips->parentBone(), nullptr);
    EXPECT_EQ(leg->parentBone(), hips);
    EXPECT_THAT(hips->childrenBones(), ElementsAre(leg, spine));
    EXPECT_TRUE(leg->childrenBones().empty());
}

TEST(Rig, HasASkeletonOfItsBonesInOrder) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {});
    rig.addJoint("Leg", 0, {}, {});
    rig.addJoint("Foot", 1, {}, {});
    rig.addJoint("Spine", 0, {}, {});
    ASSERT_EQ(rig.skeletons().size(), 1U);
    Skeleton& skeleton = *rig.skeletons()[0];
    EXPECT_EQ(skeleton.skeletonName(), "Hips");
    EXPECT_EQ(skeleton.rootBone(), rig.nodes()[0].bone);
    EXPECT_EQ(skeleton.findBoneByName("Foot"), rig.nodes()[2].bone);
    EXPECT_THAT(skeleton.bones(), ElementsAre(rig.nodes()[0].bone, rig.nodes()[1].bone,
                                              rig.nodes()[2].bone, rig.nodes()[3].bone));
}

TEST(Rig, HasASkeletonPerRoot) {
    Rig rig;
    rig.addJoint("Dancer", -1, {}, {});
    rig.addJoint("Prop", -1, {}, {});
    rig.addJoint("Handle", 1, {}, {});
    ASSERT_EQ(rig.skeletons().size(), 2U);
    EXPECT_EQ(rig.skeletons()[0]->skeletonName(), "Dancer");
    EXPECT_THAT(rig.skeletons()[0]->bones(), ElementsAre(rig.nodes()[0].bone));
    EXPECT_EQ(rig.skeletons()[1]->skeletonName(), "Prop");
    EXPECT_THAT(rig.skeletons()[1]->bones(), ElementsAre(rig.nodes()[1].bone, rig.nodes()[2].bone));
}

TEST(Rig, MeasuresItsHeightFromTheLowestToTheHighestNode) {
    Rig rig;
    rig.addJoint("Hips", -1, {0, 10, 0}, {Channel::Yposition});
    rig.addJoint("Leg", 0, {0, -4, 0}, {});
    rig.addEndSite(1, {100, -5, 0});
    rig.addJoint("Spine", 0, {0, 6, 100}, {});
    rig.addEndSite(3, {0, 1.5F, 0});
    EXPECT_FLOAT_EQ(rig.height(), 16.5F);
}

TEST(Rig, MeasuresItsHeightAcrossAllRoots) {
    Rig rig;
    rig.addJoint("Dancer", -1, {0, 3, 0}, {});
    rig.addJoint("Prop", -1, {0, -2, 0}, {});
    EXPECT_FLOAT_EQ(rig.height(), 5.0F);
}

TEST(Rig, MeasuresItsHeightAlongTheAxisOnWhichItStandsWhicheverIsUp) {
    Rig rig;
    rig.addJoint("Hips", -1, {0, 3, 7}, {});
    rig.addJoint("Head", 0, {0, 1, 2}, {});
    Space space;
    space.up = UpAxis::Z;
    rig.setSpace(space);
    EXPECT_FLOAT_EQ(rig.height(), 1);
    rig.setStanding(UpAxis::Z);
    EXPECT_FLOAT_EQ(rig.height(), 2);
    EXPECT_FLOAT_EQ(rig.heightAlong(UpAxis::Y), 1);
    EXPECT_EQ(rig.space().up, UpAxis::Z);
}

TEST(Rig, OfOneNodeHasNoHeight) {
    Rig rig;
    rig.addJoint("Hips", -1, {0, 10, 0}, {});
    EXPECT_EQ(rig.height(), 0.0F);
}

#ifndef NDEBUG
class RigDeathTest : public ::testing::Test {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        rig_.addJoint("Hips", -1, {}, {});
        rig_.addEndSite(0, {});
    }
    Rig rig_;
};

TEST_F(RigDeathTest, AssertsThatAParentIsThere) {
    EXPECT_DEATH(rig_.addJoint("Leg", 2, {}, {}), "parent");
    EXPECT_DEATH(rig_.addJoint("Leg", -2, {}, {}), "parent");
}

TEST_F(RigDeathTest, AssertsThatAParentIsNoEndSite) {
    EXPECT_DEATH(rig_.addJoint("Leg", 1, {}, {}), "parent");
    EXPECT_DEATH(rig_.addEndSite(1, {}), "parent");
}

TEST_F(RigDeathTest, AssertsThatAnEndSiteHasAParent) {
    EXPECT_DEATH(rig_.addEndSite(-1, {}), "parent");
}
#endif

} // namespace
} // namespace tarn::kit
