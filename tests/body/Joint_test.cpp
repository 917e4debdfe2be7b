// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Joint.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using tarn::Joint;
using tarn::Object;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<Object, Joint>);
static_assert(!std::is_copy_constructible_v<Joint>);
static_assert(!std::is_copy_assignable_v<Joint>);
static_assert(!std::is_convertible_v<std::string, Joint>);
static_assert(sizeof(Joint) == sizeof(Object) + sizeof(void*));

TEST(Joint, HasANameOfItsOwnAndNoObjectName) {
    const Joint joint("Hips");
    EXPECT_EQ(joint.name(), "Hips");
    EXPECT_EQ(joint.objectName(), "");
}

TEST(Joint, KeepsItsNameWhenTheObjectNameChanges) {
    Joint joint("Hips");
    joint.setObjectName("other");
    EXPECT_EQ(joint.name(), "Hips");
}

TEST(Joint, IsUnlinkedAtFirst) {
    const Joint joint("Hips");
    EXPECT_EQ(joint.parentJoint(), nullptr);
    EXPECT_THAT(joint.childrenJoints(), IsEmpty());
}

TEST(Joint, ParentJointIsTheFirstParentThatIsAJoint) {
    Object plain;
    Joint first("first");
    Joint second("second");
    Joint joint("joint");
    joint.addParent(nullptr);
    joint.addParent(&plain);
    EXPECT_EQ(joint.parentJoint(), nullptr);
    joint.addParent(&first);
    joint.addParent(&second);
    EXPECT_EQ(joint.parentJoint(), &first);
    joint.removeParent(&first);
    EXPECT_EQ(joint.parentJoint(), &second);
}

TEST(Joint, ChildrenJointsAreInTheOrderOfLinking) {
    Joint joint("joint");
    Joint b("b");
    Joint a("a");
    joint.addChild(&b);
    joint.addChild(&a);
    EXPECT_THAT(joint.childrenJoints(), ElementsAre(&b, &a));
}

TEST(Joint, AChildLinkedTwiceIsListedTwice) {
    Joint joint("joint");
    Joint a("a");
    joint.addChild(&a);
    joint.addChild(&a);
    EXPECT_THAT(joint.childrenJoints(), ElementsAre(&a, &a));
}

TEST(Joint, PassesOverNullAndOtherObjectsAmongTheChildren) {
    Object plain;
    Joint joint("joint");
    Joint a("a");
    joint.addChild(nullptr);
    joint.addChild(&plain);
    joint.addChild(&a);
    EXPECT_THAT(joint.childrenJoints(), ElementsAre(&a));
}

TEST(Joint, FindsItsKinWhateverTheirObjectNamesAre) {
    Joint parent("parent");
    Joint child("child");
    parent.setObjectName("P");
    child.setObjectName("C");
    parent.addChild(&child);
    EXPECT_EQ(child.parentJoint(), &parent);
    EXPECT_THAT(parent.childrenJoints(), ElementsAre(&child));
}

int storedName(int what) { return what; }

/// A joint whose author has a function of the same name as nothing in its base.
class NamedJoint : public Joint {
public:
    using Joint::Joint;
    static int callsItsOwn() { return storedName(7); }
};

TEST(Joint, LeavesTheNameStoredNameToThoseWhoDeriveFromIt) {
    EXPECT_EQ(NamedJoint::callsItsOwn(), 7);
}

} // namespace
