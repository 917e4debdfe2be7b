// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Bone.h>
#include <tarn/Joint.h>
#include <tarn/Skeleton.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using tarn::Bone;
using tarn::Joint;
using tarn::Object;
using tarn::Skeleton;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<Object, Skeleton>);
static_assert(!std::is_copy_constructible_v<Skeleton>);
static_assert(!std::is_copy_assignable_v<Skeleton>);
static_assert(!std::is_convertible_v<std::string, Skeleton>);
static_assert(sizeof(Skeleton) == sizeof(Object) + sizeof(void*));

TEST(Skeleton, HasANameOfItsOwnNoRootAndNoProps) {
    const Skeleton skeleton("actor");
    EXPECT_EQ(skeleton.skeletonName(), "actor");
    EXPECT_EQ(skeleton.objectName(), "");
    EXPECT_EQ(skeleton.rootBone(), nullptr);
    EXPECT_THAT(skeleton.props(), IsEmpty());
}

TEST(Skeleton, SetSkeletonNameAnnouncesNothingAndLeavesTheObjectName) {
    Skeleton skeleton("actor");
    const std::string& name = skeleton.skeletonName();
    int announced = 0;
    skeleton.onNameChanged().connect([&](const std::string&) { ++announced; });
    skeleton.setSkeletonName("other");
    EXPECT_EQ(skeleton.skeletonName(), "other");
    EXPECT_EQ(&skeleton.skeletonName(), &name);
    EXPECT_EQ(skeleton.objectName(), "");
    EXPECT_EQ(announced, 0);
}

TEST(Skeleton, SetBoneReplacesTheRootAndLinksNothing) {
    Skeleton skeleton("actor");
    Bone first("first");
    Bone second("second");
    int announced = 0;
    skeleton.onChildAdded().connect([&](Object*) { ++announced; });
    second.onParentAdded().connect([&](Object*) { ++announced; });
    skeleton.setBone(&first);
    EXPECT_EQ(skeleton.rootBone(), &first);
    skeleton.setBone(&second);
    EXPECT_EQ(skeleton.rootBone(), &second);
    EXPECT_THAT(skeleton.children(), IsEmpty());
    EXPECT_THAT(second.parents(), IsEmpty());
    EXPECT_THAT(second.children(), IsEmpty());
    EXPECT_EQ(announced, 0);
}

TEST(Skeleton, SetBoneTakesTheRootAwayWithNull) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    skeleton.setBone(&root);
    skeleton.setBone(nullptr);
    EXPECT_EQ(skeleton.rootBone(), nullptr);
    EXPECT_THAT(skeleton.bones(), IsEmpty());
    EXPECT_EQ(skeleton.findBoneByName("Hips"), nullptr);
}

TEST(Skeleton, KeepsPropsInOrderDuplicatesAndNullIncluded) {
    Skeleton skeleton("actor");
    Bone b("b");
    Bone a("a");
    skeleton.addProp(&b);
    skeleton.addProp(nullptr);
    skeleton.addProp(&a);
    skeleton.addProp(&b);
    EXPECT_THAT(skeleton.props(), ElementsAre(&b, nullptr, &a, &b));
    EXPECT_THAT(skeleton.bones(), ElementsAre(&b, nullptr, &a, &b));
}

TEST(Skeleton, AddPropLinksNothing) {
    Skeleton skeleton("actor");
    Bone prop("Props0");
    skeleton.addProp(&prop);
    EXPECT_THAT(skeleton.children(), IsEmpty());
    EXPECT_THAT(prop.parents(), IsEmpty());
}

TEST(Skeleton, PropsAreACopy) {
    Skeleton skeleton("actor");
    Bone prop("Props0");
    skeleton.addProp(&prop);
    skeleton.props().clear();
    EXPECT_THAT(skeleton.props(), ElementsAre(&prop));
}

TEST(Skeleton, OwnsNeitherItsBonesNorItsProps) {
    Bone root("Hips");
    Bone prop("Props0");
    {
        Skeleton skeleton("actor");
        skeleton.setBone(&root);
        skeleton.addProp(&prop);
    }
    EXPECT_EQ(root.name(), "Hips");
    EXPECT_EQ(prop.name(), "Props0");
}

TEST(Skeleton, BonesListsAParentBeforeItsChildrenAndPropsLast) {
    Skeleton skeleton("actor");
    Bone root("root");
    Bone a("A");
    Bone a1("A1");
    Bone b("B");
    Bone prop("P");
    root.addChildBone(&a);
    root.addChildBone(&b);
    a.addChildBone(&a1);
    skeleton.addProp(&prop);
    skeleton.setBone(&root);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&root, &a, &a1, &b, &prop));
}

TEST(Skeleton, BonesListsAWholeBranchBeforeTheNext) {
    Skeleton skeleton("actor");
    Bone root("root");
    Bone a("A");
    Bone a1("A1");
    Bone a11("A11");
    Bone a12("A12");
    Bone a2("A2");
    Bone b("B");
    Bone b1("B1");
    Bone c("C");
    skeleton.setBone(&root);
    for (Bone* const child : {&a, &b, &c}) {
        root.addChildBone(child);
    }
    a.addChildBone(&a1);
    a.addChildBone(&a2);
    a1.addChildBone(&a11);
    a1.addChildBone(&a12);
    b.addChildBone(&b1);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&root, &a, &a1, &a11, &a12, &a2, &b, &b1, &c));
}

TEST(Skeleton, BonesWithoutARootAreThePropsAlone) {
    Skeleton skeleton("actor");
    EXPECT_THAT(skeleton.bones(), IsEmpty());
    Bone prop("Props0");
    skeleton.addProp(&prop);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&prop));
}

TEST(Skeleton, BonesDoesNotVisitWhatIsBelowAProp) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone prop("Props0");
    Bone below("Props1");
    prop.addChildBone(&below);
    skeleton.setBone(&root);
    skeleton.addProp(&prop);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&root, &prop));
}

TEST(Skeleton, BonesListsABoneOncePerLinkAndOncePerProp) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone a("A");
    Bone a1("A1");
    root.addChildBone(&a);
    root.addChildBone(&a);
    a.addChildBone(&a1);
    skeleton.setBone(&root);
    skeleton.addProp(&a);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&root, &a, &a1, &a, &a1, &a));
}

TEST(Skeleton, TheWalksPassOverNullAndOtherObjectsAmongTheChildren) {
    Skeleton skeleton("actor");
    Object plain;
    Joint joint("Spine");
    Bone root("Hips");
    Bone a("A");
    Bone spine("Spine");
    skeleton.setBone(&root);
    root.addChild(nullptr);
    root.addChild(&plain);
    root.addChild(&joint);
    root.addChildBone(&a);
    a.addChild(nullptr);
    a.addChildBone(&spine);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&root, &a, &spine));
    EXPECT_EQ(skeleton.findBoneByName("Spine"), &spine);
    EXPECT_EQ(skeleton.findBoneByName("Head"), nullptr);
}

TEST(Skeleton, TheWalksStartAtTheRootEvenIfItHasAParent) {
    Skeleton skeleton("actor");
    Bone above("above");
    Bone root("Hips");
    Bone sibling("sibling");
    above.addChildBone(&root);
    above.addChildBone(&sibling);
    skeleton.setBone(&root);
    EXPECT_THAT(skeleton.bones(), ElementsAre(&root));
    EXPECT_EQ(skeleton.findBoneByName("above"), nullptr);
    EXPECT_EQ(skeleton.findBoneByName("sibling"), nullptr);
}

TEST(Skeleton, FindsABoneAtAnyDepth) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone a("A");
    Bone a1("A1");
    Bone b("B");
    Bone b1("B1");
    root.addChildBone(&a);
    root.addChildBone(&b);
    a.addChildBone(&a1);
    b.addChildBone(&b1);
    skeleton.setBone(&root);
    for (Bone* const bone : {&root, &a, &a1, &b, &b1}) {
        EXPECT_EQ(skeleton.findBoneByName(bone->name()), bone);
    }
}

TEST(Skeleton, FindsTheRootBeforeAnythingElseOfItsName) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone child("Hips");
    root.addChildBone(&child);
    skeleton.setBone(&root);
    EXPECT_EQ(skeleton.findBoneByName("Hips"), &root);
}

TEST(Skeleton, FindsTheFirstOfTwoChildrenOfOneName) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone first("Spine");
    Bone second("Spine");
    root.addChildBone(&first);
    root.addChildBone(&second);
    skeleton.setBone(&root);
    EXPECT_EQ(skeleton.findBoneByName("Spine"), &first);
}

TEST(Skeleton, FindsADirectChildBeforeADeeperBoneUnderAnEarlierSibling) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone a("A");
    Bone deeper("X");
    Bone direct("X");
    root.addChildBone(&a);
    a.addChildBone(&deeper);
    root.addChildBone(&direct);
    skeleton.setBone(&root);
    EXPECT_EQ(skeleton.findBoneByName("X"), &direct);
}

// Three bones named X: an ordinary walk in depth meets the one under D first, a walk by levels the
// one under B.
TEST(Skeleton, SearchesEachBranchToItsEndButTheChildrenOfABoneTogether) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone a("A");
    Bone b("B");
    Bone c("C");
    Bone d("D");
    Bone belowD("X");
    Bone belowC("X");
    Bone belowB("X");
    root.addChildBone(&a);
    root.addChildBone(&b);
    a.addChildBone(&c);
    c.addChildBone(&d);
    c.addChildBone(&belowC);
    d.addChildBone(&belowD);
    b.addChildBone(&belowB);
    skeleton.setBone(&root);
    EXPECT_EQ(skeleton.findBoneByName("X"), &belowC);
}

TEST(Skeleton, FindsOnlyTheExactName) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone spine("Spine");
    root.addChildBone(&spine);
    skeleton.setBone(&root);
    for (const std::string name : {"hips", "Hip", "Hips ", "SPINE", "Spine1", "Spin", ""}) {
        EXPECT_EQ(skeleton.findBoneByName(name), nullptr) << name;
    }
}

TEST(Skeleton, FindsByTheBonesNameAndNotByItsObjectName) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone spine("Spine");
    root.addChildBone(&spine);
    spine.setObjectName("back");
    skeleton.setBone(&root);
    EXPECT_EQ(skeleton.findBoneByName("back"), nullptr);
    EXPECT_EQ(skeleton.findBoneByName("Spine"), &spine);
}

TEST(Skeleton, DoesNotFindAProp) {
    Skeleton skeleton("actor");
    Bone root("Hips");
    Bone prop("Props0");
    skeleton.addProp(&prop);
    EXPECT_EQ(skeleton.findBoneByName("Props0"), nullptr);
    skeleton.setBone(&root);
    EXPECT_EQ(skeleton.findBoneByName("Props0"), nullptr);
}

TEST(Skeleton, WalksAChainOfAHundredThousandBones) {
    constexpr std::size_t length = 100000;
    std::vector<std::unique_ptr<Bone>> chain;
    for (std::size_t i = 0; i < length; ++i) {
        chain.push_back(std::make_unique<Bone>(std::to_string(i)));
        if (i > 0) {
            chain[i - 1]->addChildBone(chain[i].get());
        }
    }
    Skeleton skeleton("snake");
    skeleton.setBone(chain.front().get());
    const std::list<Bone*> bones = skeleton.bones();
    ASSERT_EQ(bones.size(), length);
    EXPECT_EQ(bones.front(), chain.front().get());
    EXPECT_EQ(*std::next(bones.begin(), 1000), chain[1000].get());
    EXPECT_EQ(bones.back(), chain.back().get());
    EXPECT_EQ(skeleton.findBoneByName("99999"), chain.back().get());
    EXPECT_EQ(skeleton.findBoneByName("100000"), nullptr);
}

} // namespace
