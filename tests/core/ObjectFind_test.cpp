// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Object.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <string>
#include <vector>

// The four look-ups over an object's direct links.

namespace {

using tarn::Object;
using testing::ElementsAre;
using testing::IsEmpty;

using Predicate = std::function<bool(Object*)>;

Predicate named(const std::string& name) {
    return
        [name](const Object* object) { return object != nullptr && object->objectName() == name; };
}

/// Accepts every `n`th entry that one and the same copy of it is asked about.
Predicate everyNth(int n) {
    return [n, asked = 0](const Object* /*object*/) mutable { return ++asked % n == 0; };
}

/// Rejects everything and notes what it was asked about.
Predicate noting(std::vector<const Object*>& asked) {
    return [&asked](const Object* object) {
        asked.push_back(object);
        return false;
    };
}

/// An object between four entries (one object twice) on either side: x, y, x, z.
class ObjectFind : public testing::Test {
protected:
    ObjectFind() {
        for (Object* const entry : {&x_, &y_, &x_, &z_}) {
            object_.addChild(entry);
            object_.addParent(entry);
        }
    }

    Object& object() { return object_; }
    Object* x() { return &x_; }
    Object* y() { return &y_; }
    Object* z() { return &z_; }

private:
    Object x_{"x"};
    Object y_{"y"};
    Object z_{"z"};
    Object object_{"object"};
};

TEST_F(ObjectFind, TheFirstMatchIsReturned) {
    const Object& constant = object();
    EXPECT_EQ(constant.findChild(named("y")), y());
    EXPECT_EQ(constant.findParent(named("y")), y());
    EXPECT_EQ(constant.findChild([](Object*) { return true; }), x());
    EXPECT_EQ(constant.findParent([](Object*) { return true; }), x());
}

TEST_F(ObjectFind, NullIsReturnedWhenNothingMatches) {
    EXPECT_EQ(object().findChild(named("nobody")), nullptr);
    EXPECT_EQ(object().findParent(named("nobody")), nullptr);
    EXPECT_THAT(object().findChildren(named("nobody")), IsEmpty());
    EXPECT_THAT(object().findParents(named("nobody")), IsEmpty());
}

TEST_F(ObjectFind, AllMatchesAreReturnedInOrderDuplicatesIncluded) {
    EXPECT_THAT(object().findChildren(named("x")), ElementsAre(x(), x()));
    EXPECT_THAT(object().findParents(named("x")), ElementsAre(x(), x()));
    const Predicate notY = [this](const Object* entry) { return entry != y(); };
    EXPECT_THAT(object().findChildren(notY), ElementsAre(x(), x(), z()));
    EXPECT_THAT(object().findParents(notY), ElementsAre(x(), x(), z()));
}

TEST_F(ObjectFind, TheFirstMatchEndsTheWalk) {
    std::vector<const Object*> asked;
    const auto untilY = [&](const Object* entry) {
        asked.push_back(entry);
        return entry == y();
    };
    EXPECT_EQ(object().findChild(untilY), y());
    EXPECT_THAT(asked, ElementsAre(x(), y()));
    asked.clear();
    EXPECT_EQ(object().findParent(untilY), y());
    EXPECT_THAT(asked, ElementsAre(x(), y()));
}

TEST_F(ObjectFind, EveryEntryIsAskedAboutOnceInOrder) {
    std::vector<const Object*> asked;
    object().findChild(noting(asked));
    EXPECT_THAT(asked, ElementsAre(x(), y(), x(), z()));
    asked.clear();
    object().findParent(noting(asked));
    EXPECT_THAT(asked, ElementsAre(x(), y(), x(), z()));
    asked.clear();
    object().findChildren(noting(asked));
    EXPECT_THAT(asked, ElementsAre(x(), y(), x(), z()));
    asked.clear();
    object().findParents(noting(asked));
    EXPECT_THAT(asked, ElementsAre(x(), y(), x(), z()));
}

TEST_F(ObjectFind, AFirstMatchIsFoundByOnePredicateForTheWholeWalk) {
    EXPECT_EQ(object().findChild(everyNth(4)), z());
    EXPECT_EQ(object().findParent(everyNth(4)), z());
    EXPECT_EQ(object().findChild(everyNth(5)), nullptr);
    EXPECT_EQ(object().findParent(everyNth(5)), nullptr);
}

TEST_F(ObjectFind, APredicateStartsAfreshAfterEachMatch) {
    // Once it has been asked twice it accepts everything; its state would let it go on accepting.
    const auto fromTheSecond = [asked = 0](const Object* /*entry*/) mutable {
        return ++asked >= 2;
    };
    EXPECT_THAT(object().findChildren(fromTheSecond), ElementsAre(y(), z()));
    EXPECT_THAT(object().findParents(fromTheSecond), ElementsAre(y(), z()));

    const auto onlyTheFirst = [asked = 0](const Object* /*entry*/) mutable { return ++asked == 1; };
    EXPECT_THAT(object().findChildren(onlyTheFirst), ElementsAre(x(), y(), x(), z()));
    EXPECT_THAT(object().findParents(onlyTheFirst), ElementsAre(x(), y(), x(), z()));
}

TEST_F(ObjectFind, AStretchWithoutAMatchUsesOnePredicateToTheEnd) {
    EXPECT_THAT(object().findChildren(everyNth(3)), ElementsAre(x()));
    EXPECT_THAT(object().findParents(everyNth(3)), ElementsAre(x()));
}

TEST_F(ObjectFind, TheCallersPredicateKeepsItsState) {
    const Predicate onlyTheFirst = [asked = 0](const Object* /*entry*/) mutable {
        return ++asked == 1;
    };
    EXPECT_EQ(object().findChild(onlyTheFirst), x());
    EXPECT_EQ(object().findChild(onlyTheFirst), x());
    EXPECT_THAT(object().findParents(onlyTheFirst).size(), 4U);
    EXPECT_THAT(object().findParents(onlyTheFirst).size(), 4U);
}

TEST_F(ObjectFind, OnlyDirectLinksAreSearched) {
    Object grandchild("far");
    Object grandparent("far");
    y()->addChild(&grandchild);
    y()->addParent(&grandparent);
    EXPECT_EQ(object().findChild(named("far")), nullptr);
    EXPECT_EQ(object().findParent(named("far")), nullptr);
    EXPECT_THAT(object().findChildren(named("far")), IsEmpty());
    EXPECT_THAT(object().findParents(named("far")), IsEmpty());
}

TEST_F(ObjectFind, ACycleEndsNoSearchLate) {
    Object self("self");
    self.addChild(&self);
    EXPECT_EQ(self.findChild(named("nobody")), nullptr);
    EXPECT_THAT(self.findChildren(named("self")), ElementsAre(&self));
}

TEST_F(ObjectFind, AnEmptyPredicateThrowsWhenThereIsAnEntry) {
    EXPECT_THROW(object().findChild(nullptr), std::bad_function_call);
    EXPECT_THROW(object().findChildren(nullptr), std::bad_function_call);
    EXPECT_THROW(object().findParent(nullptr), std::bad_function_call);
    EXPECT_THROW(object().findParents(nullptr), std::bad_function_call);
}

TEST_F(ObjectFind, AnEmptyPredicateIsFineWithoutEntries) {
    Object childOnly;
    Object parentOnly;
    parentOnly.addChild(&childOnly);
    EXPECT_EQ(childOnly.findChild(nullptr), nullptr);
    EXPECT_THAT(childOnly.findChildren(nullptr), IsEmpty());
    EXPECT_EQ(parentOnly.findParent(nullptr), nullptr);
    EXPECT_THAT(parentOnly.findParents(nullptr), IsEmpty());
}

TEST(ObjectFindNull, APredicateIsAskedAboutNullLinks) {
    Object object;
    Object linked;
    object.addChild(nullptr);
    object.addChild(&linked);
    object.addParent(nullptr);
    object.addParent(&linked);
    std::vector<const Object*> asked;
    object.findChild(noting(asked));
    object.findParent(noting(asked));
    EXPECT_THAT(asked, ElementsAre(nullptr, &linked, nullptr, &linked));
}

TEST(ObjectFindNull, ANullLinkCanBeAMatch) {
    Object object;
    Object linked;
    object.addChild(&linked);
    object.addChild(nullptr);
    object.addParent(nullptr);
    object.addParent(nullptr);
    const auto isNull = [](const Object* entry) { return entry == nullptr; };
    EXPECT_EQ(object.findChild(isNull), nullptr);
    EXPECT_THAT(object.findChildren(isNull), ElementsAre(nullptr));
    EXPECT_THAT(object.findParents(isNull), ElementsAre(nullptr, nullptr));
}

TEST(ObjectFindNull, ANullLinkAloneLetsAnEmptyPredicateThrow) {
    Object object;
    object.addChild(nullptr);
    EXPECT_THROW(object.findChild(nullptr), std::bad_function_call);
    EXPECT_THROW(object.findChildren(nullptr), std::bad_function_call);
    EXPECT_EQ(object.findParent(nullptr), nullptr);
}

} // namespace
