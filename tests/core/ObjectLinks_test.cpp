// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Object.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

// Making and breaking links, and what is announced while the two lists change.

namespace {

using tarn::Object;
using testing::ElementsAre;
using testing::IsEmpty;

std::string nameOf(const Object* object) {
    return object == nullptr ? "null" : object->objectName();
}

std::string namesOf(const std::list<Object*>& links) {
    std::string names;
    for (const Object* const link : links) {
        names += nameOf(link);
    }
    return names;
}

/// Every announcement of the objects that are watched, with their links at that very moment.
class ObjectLinks : public testing::Test {
protected:
    ObjectLinks() {
        watch(a_);
        watch(b_);
    }

    /// "who event(argument): A's children/A's parents B's children/B's parents"
    const std::vector<std::string>& heard() const { return heard_; }
    void forget() { heard_.clear(); }

    Object& a() { return a_; }
    Object& b() { return b_; }

private:
    void watch(Object& object) {
        note(object, object.onChildAdded(), "childAdded");
        note(object, object.onChildWillRemove(), "childWillRemove");
        note(object, object.onParentAdded(), "parentAdded");
        note(object, object.onParentWillRemove(), "parentWillRemove");
    }

    void note(const Object& object, tsignal::Signal<Object*>& signal, const std::string& event) {
        signal.connect([this, &object, event](const Object* argument) {
            heard_.push_back(nameOf(&object) + ' ' + event + '(' + nameOf(argument) +
                             "): " + namesOf(a_.children()) + '/' + namesOf(a_.parents()) + ' ' +
                             namesOf(b_.children()) + '/' + namesOf(b_.parents()));
        });
    }

    Object a_{"A"};
    Object b_{"B"};
    std::vector<std::string> heard_;
};

TEST_F(ObjectLinks, AddChildLinksBothSidesThenTellsTheChildThenTheParent) {
    a().addChild(&b());
    EXPECT_THAT(heard(), ElementsAre("B parentAdded(A): B/ /A", "A childAdded(B): B/ /A"));
    EXPECT_THAT(a().children(), ElementsAre(&b()));
    EXPECT_THAT(a().parents(), IsEmpty());
    EXPECT_THAT(b().children(), IsEmpty());
    EXPECT_THAT(b().parents(), ElementsAre(&a()));
}

TEST_F(ObjectLinks, AddParentIsAddChildOfTheParent) {
    b().addParent(&a());
    EXPECT_THAT(heard(), ElementsAre("B parentAdded(A): B/ /A", "A childAdded(B): B/ /A"));
    EXPECT_THAT(a().children(), ElementsAre(&b()));
    EXPECT_THAT(b().parents(), ElementsAre(&a()));
}

TEST_F(ObjectLinks, RemoveChildUnlinksTheParentBeforeTheChildIsTold) {
    a().addChild(&b());
    forget();

    a().removeChild(&b());
    EXPECT_THAT(heard(), ElementsAre("A childWillRemove(B): B/ /A", "B parentWillRemove(A): / /A"));
    EXPECT_THAT(a().children(), IsEmpty());
    EXPECT_THAT(b().parents(), IsEmpty());
}

TEST_F(ObjectLinks, RemoveParentIsRemoveChildOfTheParent) {
    a().addChild(&b());
    forget();

    b().removeParent(&a());
    EXPECT_THAT(heard(), ElementsAre("A childWillRemove(B): B/ /A", "B parentWillRemove(A): / /A"));
    EXPECT_THAT(a().children(), IsEmpty());
    EXPECT_THAT(b().parents(), IsEmpty());
}

TEST_F(ObjectLinks, ASecondLinkOfTheSamePairIsALinkOfItsOwn) {
    a().addChild(&b());
    forget();

    a().addChild(&b());
    EXPECT_THAT(heard(), ElementsAre("B parentAdded(A): BB/ /AA", "A childAdded(B): BB/ /AA"));
}

TEST_F(ObjectLinks, OneRemovalBreaksAllLinksOfThePair) {
    Object other("O");
    a().addChild(&b());
    a().addChild(&other);
    other.addChild(&b());
    a().addChild(&b());
    forget();

    a().removeChild(&b());
    EXPECT_THAT(heard(),
                ElementsAre("A childWillRemove(B): BOB/ /AOA", "B parentWillRemove(A): O/ /AOA"));
    EXPECT_THAT(a().children(), ElementsAre(&other));
    EXPECT_THAT(b().parents(), ElementsAre(&other));
}

TEST_F(ObjectLinks, RemovingWhatIsNotAChildDoesNothing) {
    a().removeChild(&b());
    b().removeParent(&a());
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(ObjectLinks, RemovingAParentAsAChildDoesNothing) {
    b().addChild(&a());
    forget();

    a().removeChild(&b());
    b().removeParent(&a());
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_THAT(b().children(), ElementsAre(&a()));
    EXPECT_THAT(a().parents(), ElementsAre(&b()));
}

TEST_F(ObjectLinks, RemovingWhatIsNotAChildLeavesItsParentsEvenIfTheCallerIsAmongThem) {
    a().addChild(&b());
    // While B is told, A no longer lists it, but B still lists A.
    std::vector<std::string> meanwhile;
    b().onParentWillRemove().connect([&](Object*) {
        forget();
        a().removeChild(&b());
        b().removeParent(&a());
        meanwhile = heard();
        meanwhile.push_back(namesOf(b().parents()));
    });

    a().removeChild(&b());
    EXPECT_THAT(meanwhile, ElementsAre("A"));
    EXPECT_THAT(b().parents(), IsEmpty());
}

TEST_F(ObjectLinks, AnObjectMayBeItsOwnChild) {
    a().addChild(&a());
    EXPECT_THAT(heard(), ElementsAre("A parentAdded(A): A/A /", "A childAdded(A): A/A /"));
    EXPECT_EQ(a().parent(), &a());
    forget();

    a().removeChild(&a());
    EXPECT_THAT(heard(), ElementsAre("A childWillRemove(A): A/A /", "A parentWillRemove(A): /A /"));
    EXPECT_THAT(a().children(), IsEmpty());
    EXPECT_THAT(a().parents(), IsEmpty());
}

TEST_F(ObjectLinks, TwoObjectsMayBeParentsOfEachOther) {
    a().addChild(&b());
    b().addChild(&a());
    forget();

    a().removeChild(&b());
    EXPECT_THAT(heard(),
                ElementsAre("A childWillRemove(B): B/B A/A", "B parentWillRemove(A): /B A/A"));
    EXPECT_THAT(b().children(), ElementsAre(&a()));
    EXPECT_THAT(a().parents(), ElementsAre(&b()));
}

TEST_F(ObjectLinks, ANullChildIsStoredAndAnnouncedOnThisSide) {
    a().addChild(nullptr);
    a().addChild(&b());
    a().addChild(nullptr);
    EXPECT_THAT(heard(),
                ElementsAre("A childAdded(null): null/ /", "B parentAdded(A): nullB/ /A",
                            "A childAdded(B): nullB/ /A", "A childAdded(null): nullBnull/ /A"));
    forget();

    a().removeChild(nullptr);
    EXPECT_THAT(heard(), ElementsAre("A childWillRemove(null): nullBnull/ /A"));
    EXPECT_THAT(a().children(), ElementsAre(&b()));
}

TEST_F(ObjectLinks, ANullParentIsStoredAndAnnouncedOnThisSide) {
    b().addParent(nullptr);
    b().addParent(&a());
    b().addParent(nullptr);
    EXPECT_THAT(heard(),
                ElementsAre("B parentAdded(null): / /null", "B parentAdded(A): B/ /nullA",
                            "A childAdded(B): B/ /nullA", "B parentAdded(null): B/ /nullAnull"));
    EXPECT_EQ(b().parent(), nullptr);
    forget();

    b().removeParent(nullptr);
    EXPECT_THAT(heard(), ElementsAre("B parentWillRemove(null): B/ /nullAnull"));
    EXPECT_THAT(b().parents(), ElementsAre(&a()));
}

TEST_F(ObjectLinks, RemovingANullLinkThatIsNotThereDoesNothing) {
    a().addChild(&b());
    forget();

    a().removeChild(nullptr);
    b().removeParent(nullptr);
    a().removeParent(nullptr);
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_THAT(a().children(), ElementsAre(&b()));
    EXPECT_THAT(b().parents(), ElementsAre(&a()));
}

TEST_F(ObjectLinks, ANullChildIsNoNullParent) {
    a().addChild(nullptr);
    b().addParent(nullptr);
    forget();

    a().removeParent(nullptr);
    b().removeChild(nullptr);
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_THAT(a().children(), ElementsAre(nullptr));
    EXPECT_THAT(b().parents(), ElementsAre(nullptr));
}

TEST_F(ObjectLinks, ParentIsTheOldestRemainingParentLink) {
    Object child;
    child.addParent(&a());
    b().addChild(&child);
    EXPECT_EQ(child.parent(), &a());
    a().removeChild(&child);
    EXPECT_EQ(child.parent(), &b());
    child.addParent(&a());
    EXPECT_EQ(child.parent(), &b());
    b().removeChild(&child);
    EXPECT_EQ(child.parent(), &a());
    a().removeChild(&child);
    EXPECT_EQ(child.parent(), nullptr);
}

TEST_F(ObjectLinks, TheListsKeepTheOrderInWhichLinksWereMade) {
    Object other("O");
    a().addChild(&other);
    b().addParent(&a());
    a().addChild(&other);
    other.addChild(&b());
    EXPECT_THAT(a().children(), ElementsAre(&other, &b(), &other));
    EXPECT_THAT(other.parents(), ElementsAre(&a(), &a()));
    EXPECT_THAT(b().parents(), ElementsAre(&a(), &other));
}

TEST_F(ObjectLinks, TheListsAreShownAsTheyAreStored) {
    const std::list<Object*>& children = a().children();
    const std::list<Object*>& parents = b().parents();
    a().addChild(&b());
    EXPECT_THAT(children, ElementsAre(&b()));
    EXPECT_THAT(parents, ElementsAre(&a()));
    EXPECT_EQ(&children, &a().children());
    EXPECT_EQ(&parents, &b().parents());
}

TEST_F(ObjectLinks, ASlotMayBreakTheLinkThatIsBeingAnnounced) {
    b().onParentAdded().connect([](Object* /*parent*/) {});
    b().onParentAdded().connect(&a(), [this](Object* parent) { parent->removeChild(&b()); });

    a().addChild(&b());
    EXPECT_THAT(heard(), ElementsAre("B parentAdded(A): B/ /A", "A childWillRemove(B): B/ /A",
                                     "B parentWillRemove(A): / /A", "A childAdded(B): / /"));
}

TEST_F(ObjectLinks, AChildLinkedAgainWhileItsParentIsToldIsRemovedAsWell) {
    a().addChild(&b());
    a().onChildWillRemove().connect([this](Object* child) { a().addChild(child); });
    forget();

    a().removeChild(&b());
    EXPECT_THAT(heard(), ElementsAre("A childWillRemove(B): B/ /A", "B parentAdded(A): BB/ /AA",
                                     "A childAdded(B): BB/ /AA", "B parentWillRemove(A): / /AA"));
    EXPECT_THAT(a().children(), IsEmpty());
    EXPECT_THAT(b().parents(), IsEmpty());
}

} // namespace
