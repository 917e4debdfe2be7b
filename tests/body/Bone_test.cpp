// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Bone.h>
#include <tarn/Joint.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using tarn::Bone;
using tarn::Joint;
using tarn::Object;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<Object, Bone>);
static_assert(!std::is_copy_constructible_v<Bone>);
static_assert(!std::is_copy_assignable_v<Bone>);
static_assert(!std::is_convertible_v<std::string, Bone>);
static_assert(sizeof(Bone) == sizeof(Object) + sizeof(void*));

/// Writes down what objects announce about their links: who, what, and with which other object.
class Announcements {
public:
    struct Entry {
        const Object* who;
        std::string what;
        const Object* with;

        bool operator==(const Entry& other) const {
            return who == other.who && what == other.what && with == other.with;
        }
    };

    void listenTo(Object& object) {
        note(object, object.onChildAdded(), "child added");
        note(object, object.onParentAdded(), "parent added");
        note(object, object.onChildWillRemove(), "child will remove");
        note(object, object.onParentWillRemove(), "parent will remove");
    }

    const std::vector<Entry>& entries() const { return entries_; }

private:
    void note(const Object& who, tsignal::Signal<Object*>& signal, const std::string& what) {
        signal.connect([this, &who, what](Object* with) {
            entries_.push_back({&who, what, with});
        });
    }

    std::vector<Entry> entries_;
};

/// The numbers that a bone announces for its sensor.
std::shared_ptr<std::vector<int>> sensorsOf(Bone& bone) {
    auto numbers = std::make_shared<std::vector<int>>();
    bone.onSensorBindChanged().connect([numbers](int sensor) { numbers->push_back(sensor); });
    return numbers;
}

/// A witness that expires when `object` is destroyed.
std::weak_ptr<int> lifeOf(Object& object) {
    const auto witness = std::make_shared<int>();
    object.mountUserObject("life", witness);
    return witness;
}

TEST(Bone, HasTheNameOfItsJointAndNoObjectName) {
    Bone bone("Hips");
    EXPECT_EQ(bone.name(), "Hips");
    ASSERT_NE(bone.joint(), nullptr);
    EXPECT_EQ(bone.joint()->name(), "Hips");
    EXPECT_EQ(bone.objectName(), "");
    EXPECT_EQ(bone.joint()->objectName(), "");
}

TEST(Bone, KeepsItsJointForLife) {
    Bone bone("Hips");
    const Joint* const joint = bone.joint();
    bone.bindSensor(1);
    EXPECT_EQ(bone.joint(), joint);
}

TEST(Bone, IsNotLinkedToItsJoint) {
    Bone bone("Hips");
    EXPECT_THAT(bone.children(), IsEmpty());
    EXPECT_THAT(bone.joint()->parents(), IsEmpty());
}

TEST(Bone, IsUnlinkedAtFirst) {
    const Bone bone("Hips");
    EXPECT_EQ(bone.parentBone(), nullptr);
    EXPECT_THAT(bone.childrenBones(), IsEmpty());
}

TEST(Bone, TheJointDiesWithItsBone) {
    auto bone = std::make_unique<Bone>("Hips");
    const std::weak_ptr<int> joint = lifeOf(*bone->joint());
    EXPECT_FALSE(joint.expired());
    bone.reset();
    EXPECT_TRUE(joint.expired());
}

TEST(Bone, ChildBonesOutliveTheirParent) {
    Bone child("Spine");
    auto parent = std::make_unique<Bone>("Hips");
    const std::weak_ptr<int> life = lifeOf(child);
    const std::weak_ptr<int> jointLife = lifeOf(*child.joint());
    parent->addChildBone(&child);
    parent.reset();
    EXPECT_FALSE(life.expired());
    EXPECT_FALSE(jointLife.expired());
}

TEST(Bone, AddChildBoneLinksTheBonesAndTheirJoints) {
    Bone parent("Hips");
    Bone child("Spine");
    parent.addChildBone(&child);
    EXPECT_EQ(child.parentBone(), &parent);
    EXPECT_THAT(parent.childrenBones(), ElementsAre(&child));
    EXPECT_EQ(child.joint()->parentJoint(), parent.joint());
    EXPECT_THAT(parent.joint()->childrenJoints(), ElementsAre(child.joint()));
}

TEST(Bone, RemoveChildBoneUnlinksTheBonesAndTheirJoints) {
    Bone parent("Hips");
    Bone child("Spine");
    Bone other("RightUpLeg");
    parent.addChildBone(&child);
    parent.addChildBone(&other);
    parent.removeChildBone(&child);
    EXPECT_EQ(child.parentBone(), nullptr);
    EXPECT_EQ(child.joint()->parentJoint(), nullptr);
    EXPECT_THAT(parent.childrenBones(), ElementsAre(&other));
    EXPECT_THAT(parent.joint()->childrenJoints(), ElementsAre(other.joint()));
}

TEST(Bone, AnnouncesTheLinkOfTheBonesAndThenTheLinkOfTheJoints) {
    Bone parent("Hips");
    Bone child("Spine");
    Announcements heard;
    heard.listenTo(parent);
    heard.listenTo(child);
    heard.listenTo(*parent.joint());
    heard.listenTo(*child.joint());
    using Entry = Announcements::Entry;

    parent.addChildBone(&child);
    parent.removeChildBone(&child);
    EXPECT_THAT(heard.entries(),
                ElementsAre(Entry{&child, "parent added", &parent},
                            Entry{&parent, "child added", &child},
                            Entry{child.joint(), "parent added", parent.joint()},
                            Entry{parent.joint(), "child added", child.joint()},
                            Entry{&parent, "child will remove", &child},
                            Entry{&child, "parent will remove", &parent},
                            Entry{parent.joint(), "child will remove", child.joint()},
                            Entry{child.joint(), "parent will remove", parent.joint()}));
}

TEST(Bone, TheJointsFollowOnceTheBonesHaveBeenAnnounced) {
    Bone parent("Hips");
    Bone child("Spine");
    std::vector<std::size_t> linkedJoints;
    const auto count = [&](Object*) {
        linkedJoints.push_back(parent.joint()->childrenJoints().size());
    };
    parent.onChildAdded().connect(count);
    parent.onChildWillRemove().connect(count);
    parent.addChildBone(&child);
    parent.removeChildBone(&child);
    EXPECT_THAT(linkedJoints, ElementsAre(0, 1));
}

TEST(Bone, AChildAddedTwiceIsListedTwiceAndRemovedAtOnce) {
    Bone parent("Hips");
    Bone child("Spine");
    parent.addChildBone(&child);
    parent.addChildBone(&child);
    EXPECT_THAT(parent.childrenBones(), ElementsAre(&child, &child));
    EXPECT_THAT(parent.joint()->childrenJoints(), ElementsAre(child.joint(), child.joint()));
    parent.removeChildBone(&child);
    EXPECT_THAT(parent.childrenBones(), IsEmpty());
    EXPECT_THAT(parent.joint()->childrenJoints(), IsEmpty());
}

TEST(Bone, MayBeAddedToItself) {
    Bone bone("Hips");
    bone.addChildBone(&bone);
    EXPECT_EQ(bone.parentBone(), &bone);
    EXPECT_EQ(bone.joint()->parentJoint(), bone.joint());
    bone.removeChildBone(&bone);
    EXPECT_EQ(bone.parentBone(), nullptr);
    EXPECT_EQ(bone.joint()->parentJoint(), nullptr);
}

TEST(Bone, RemovingABoneThatIsNoChildDoesNothing) {
    Bone parent("Hips");
    Bone stranger("Spine");
    stranger.addChildBone(&parent);
    Announcements heard;
    heard.listenTo(parent);
    heard.listenTo(*parent.joint());
    parent.removeChildBone(&stranger);
    EXPECT_THAT(heard.entries(), IsEmpty());
    EXPECT_EQ(parent.parentBone(), &stranger);
    EXPECT_EQ(parent.joint()->parentJoint(), stranger.joint());
}

TEST(Bone, RemoveChildBoneUnlinksJointsWhoseBonesAreNotLinked) {
    Bone parent("Hips");
    Bone child("Spine");
    parent.joint()->addChild(child.joint());
    parent.removeChildBone(&child);
    EXPECT_THAT(parent.joint()->childrenJoints(), IsEmpty());
}

TEST(Bone, ABoneLinkedAsAPlainObjectIsAChildBoneWithoutAJointLink) {
    Bone parent("Hips");
    Bone child("Spine");
    parent.addChild(&child);
    EXPECT_THAT(parent.childrenBones(), ElementsAre(&child));
    EXPECT_EQ(child.parentBone(), &parent);
    EXPECT_EQ(child.joint()->parentJoint(), nullptr);
    parent.removeChildBone(&child);
    EXPECT_THAT(parent.childrenBones(), IsEmpty());
}

TEST(Bone, ParentBoneIsTheFirstParentThatIsABone) {
    Object plain;
    Joint joint("joint");
    Bone first("first");
    Bone second("second");
    Bone bone("bone");
    bone.addParent(nullptr);
    bone.addParent(&plain);
    bone.addParent(&joint);
    EXPECT_EQ(bone.parentBone(), nullptr);
    bone.addParent(&first);
    bone.addParent(&second);
    EXPECT_EQ(bone.parentBone(), &first);
    bone.removeParent(&first);
    EXPECT_EQ(bone.parentBone(), &second);
}

TEST(Bone, ChildrenBonesPassOverNullAndOtherObjects) {
    Object plain;
    Joint joint("joint");
    Bone bone("bone");
    Bone b("b");
    Bone a("a");
    bone.addChildBone(&b);
    bone.addChild(nullptr);
    bone.addChild(&plain);
    bone.addChild(&joint);
    bone.addChildBone(&a);
    EXPECT_THAT(bone.childrenBones(), ElementsAre(&b, &a));
}

TEST(Bone, FindsItsKinWhateverTheirObjectNamesAre) {
    Bone parent("Hips");
    Bone child("Spine");
    parent.setObjectName("P");
    child.setObjectName("C");
    parent.addChildBone(&child);
    EXPECT_EQ(child.parentBone(), &parent);
    EXPECT_THAT(parent.childrenBones(), ElementsAre(&child));
    EXPECT_EQ(child.name(), "Spine");
}

TEST(Bone, HasNoSensorAtFirst) { EXPECT_EQ(Bone("Hips").sensorBinded(), -1); }

TEST(Bone, BindSensorAnnouncesEveryCallTheSameNumberIncluded) {
    Bone bone("Hips");
    const auto announced = sensorsOf(bone);
    bone.bindSensor(3);
    bone.bindSensor(3);
    EXPECT_EQ(bone.sensorBinded(), 3);
    bone.bindSensor(0);
    EXPECT_EQ(bone.sensorBinded(), 0);
    EXPECT_THAT(*announced, ElementsAre(3, 3, 0));
}

TEST(Bone, UnbindSensorAnnouncesMinusOneEvenWithoutASensor) {
    Bone bone("Hips");
    const auto announced = sensorsOf(bone);
    bone.unbindSensor();
    bone.bindSensor(3);
    bone.unbindSensor();
    EXPECT_EQ(bone.sensorBinded(), -1);
    EXPECT_THAT(*announced, ElementsAre(-1, 3, -1));
}

TEST(Bone, TheNewSensorIsInPlaceWhenItIsAnnounced) {
    Bone bone("Hips");
    std::vector<int> stored;
    bone.onSensorBindChanged().connect([&](int) { stored.push_back(bone.sensorBinded()); });
    bone.bindSensor(7);
    bone.unbindSensor();
    EXPECT_THAT(stored, ElementsAre(7, -1));
}

TEST(Bone, ASensorOfOneBoneIsNoneOfAnothersBusiness) {
    Bone bone("LeftHand");
    Bone other("RightHand");
    const auto announced = sensorsOf(other);
    bone.bindSensor(3);
    EXPECT_EQ(other.sensorBinded(), -1);
    EXPECT_THAT(*announced, IsEmpty());
}

#ifndef NDEBUG
TEST(BoneDeathTest, ANullChildIsCaughtInADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Bone bone("Hips");
    EXPECT_DEATH(bone.addChildBone(nullptr), "child != nullptr");
    EXPECT_DEATH(bone.removeChildBone(nullptr), "child != nullptr");
}
#endif

} // namespace
