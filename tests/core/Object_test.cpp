// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tarn/Object.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

// Construction, name, host data and destruction. Links: ObjectLinks_test.cpp, ObjectFind_test.cpp.

namespace {

using signal_testing::cargo;
using signal_testing::Trace;
using tarn::Object;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<Object>);
static_assert(!std::is_copy_constructible_v<Object>);
static_assert(!std::is_copy_assignable_v<Object>);
static_assert(!std::is_move_constructible_v<Object>);
static_assert(!std::is_move_assignable_v<Object>);
static_assert(sizeof(Object) == 2 * sizeof(void*));
static_assert(std::is_same_v<decltype(std::declval<const Object&>().objectName()), std::string>);

TEST(Object, HasNoNameUnlessItIsGivenOne) {
    const Object unnamed;
    const Object named("Hips");
    EXPECT_EQ(unnamed.objectName(), "");
    EXPECT_EQ(named.objectName(), "Hips");
}

TEST(Object, StartsWithoutLinksAndHostData) {
    Object object("Hips");
    EXPECT_THAT(object.children(), IsEmpty());
    EXPECT_THAT(object.parents(), IsEmpty());
    EXPECT_EQ(object.parent(), nullptr);
    EXPECT_THAT(object.userObjects(), IsEmpty());
}

TEST(Object, AnnouncesANewNameOnceAfterTheChange) {
    Object object("old");
    Trace heard;
    object.onNameChanged().connect([&](const std::string& name) {
        heard.push_back(name);
        heard.push_back(object.objectName());
    });

    object.setObjectName("new");
    EXPECT_THAT(heard, ElementsAre("new", "new"));
    EXPECT_EQ(object.objectName(), "new");
}

TEST(Object, DoesNotAnnounceTheNameItHas) {
    Object object("Hips");
    Object unnamed;
    Trace heard;
    const auto note = [&](const std::string& name) { heard.push_back(name); };
    object.onNameChanged().connect(note);
    unnamed.onNameChanged().connect(note);

    object.setObjectName("Hips");
    unnamed.setObjectName("");
    EXPECT_THAT(heard, IsEmpty());
}

TEST(Object, ComparesNamesByLengthAndBytes) {
    using namespace std::string_view_literals;
    const std::string shorter("a\0b"sv);
    const std::string longer("a\0b\0"sv);
    const std::string different("a\0c"sv);
    Object object("a");
    std::vector<std::string> heard;
    object.onNameChanged().connect([&](const std::string& name) { heard.push_back(name); });

    object.setObjectName(shorter);
    object.setObjectName(shorter);
    object.setObjectName(different);
    object.setObjectName(longer);
    object.setObjectName("A");
    object.setObjectName("a");
    EXPECT_THAT(heard, ElementsAre(shorter, different, longer, "A", "a"));
}

TEST(Object, CanBeRenamedByTheSlotThatHearsOfANewName) {
    Object object("old");
    Trace heard;
    object.onNameChanged().connect(
        [&](const std::string& /*name*/) { object.setObjectName("final"); });
    object.onNameChanged().connect([&](const std::string& name) { heard.push_back(name); });

    object.setObjectName("new");
    EXPECT_EQ(object.objectName(), "final");
    EXPECT_THAT(heard, ElementsAre("final", "new"));
}

TEST(Object, HasFiveSignalsOfItsOwn) {
    Object object;
    Object other;
    EXPECT_EQ(&object.onChildAdded(), &object.onChildAdded());
    EXPECT_NE(&object.onChildAdded(), &other.onChildAdded());
    EXPECT_NE(&object.onChildAdded(), &object.onChildWillRemove());
    EXPECT_NE(&object.onChildAdded(), &object.onParentAdded());
    EXPECT_NE(&object.onChildAdded(), &object.onParentWillRemove());
    EXPECT_NE(&object.onChildWillRemove(), &object.onParentAdded());
    EXPECT_NE(&object.onChildWillRemove(), &object.onParentWillRemove());
    EXPECT_NE(&object.onParentAdded(), &object.onParentWillRemove());
}

/// Host data that notes how often it was copied, and that it is gone.
struct Cargo {
    explicit Cargo(Trace& log) : trace(&log) {}
    Cargo(const Cargo& other) : trace(other.trace) { trace->emplace_back("copied"); }
    Cargo(Cargo&& other) noexcept = default;
    Cargo& operator=(const Cargo&) = delete;
    Cargo& operator=(Cargo&&) = delete;
    ~Cargo() = default;
    Trace* trace;
};

TEST(ObjectUserObjects, AreStoredByKeyUntilTheyAreTaken) {
    Object object;
    EXPECT_FALSE(object.hasUserObject("key"));
    EXPECT_TRUE(object.mountUserObject("key", 5));
    EXPECT_TRUE(object.hasUserObject("key"));
    EXPECT_FALSE(object.hasUserObject("Key"));

    const std::any taken = object.takeUserObject("key");
    EXPECT_EQ(std::any_cast<int>(taken), 5);
    EXPECT_FALSE(object.hasUserObject("key"));
    EXPECT_THAT(object.userObjects(), IsEmpty());
}

TEST(ObjectUserObjects, MountingAPresentKeyKeepsTheOldValue) {
    Object object;
    Trace trace;
    object.mountUserObject("key", 1);
    const std::any second = Cargo(trace);

    EXPECT_FALSE(object.mountUserObject("key", second));
    EXPECT_EQ(std::any_cast<int>(object.userObjects().at("key")), 1);
    EXPECT_THAT(trace, IsEmpty());
}

TEST(ObjectUserObjects, AnEmptyValueTakesItsKeyToo) {
    Object object;
    EXPECT_TRUE(object.mountUserObject("key", std::any()));
    EXPECT_TRUE(object.hasUserObject("key"));
    EXPECT_FALSE(object.mountUserObject("key", 1));
    EXPECT_FALSE(object.takeUserObject("key").has_value());
    EXPECT_FALSE(object.hasUserObject("key"));
}

TEST(ObjectUserObjects, AreReplacedByTakingAndMountingAgain) {
    Object object;
    object.mountUserObject("key", 1);
    object.takeUserObject("key");
    EXPECT_TRUE(object.mountUserObject("key", std::string("two")));
    EXPECT_EQ(std::any_cast<std::string>(object.takeUserObject("key")), "two");
}

TEST(ObjectUserObjects, TakingAnAbsentKeyChangesNothing) {
    Object object;
    object.mountUserObject("key", 1);
    EXPECT_FALSE(object.takeUserObject("other").has_value());
    EXPECT_FALSE(object.takeUserObject("").has_value());
    EXPECT_EQ(object.userObjects().size(), 1U);
}

TEST(ObjectUserObjects, MountingStoresACopy) {
    Object object;
    Trace trace;
    const std::any value = Cargo(trace);
    object.mountUserObject("key", value);
    EXPECT_THAT(trace, ElementsAre("copied"));
    EXPECT_TRUE(value.has_value());
}

TEST(ObjectUserObjects, TakingGivesACopyAndErasesTheOriginal) {
    Object object;
    Trace trace;
    object.mountUserObject("key", Cargo(trace));
    const void* const stored = std::any_cast<Cargo>(&object.userObjects().at("key"));
    trace.clear();

    const std::any taken = object.takeUserObject("key");
    EXPECT_THAT(trace, ElementsAre("copied"));
    EXPECT_NE(std::any_cast<Cargo>(&taken), stored);
}

TEST(ObjectUserObjects, AreOrderedByTheBytesOfTheirKeys) {
    using namespace std::string_literals;
    Object object;
    for (const std::string& key : {"b"s, "a"s, "B"s, "a\0"s, ""s, "\xC3\xA4"s, "a.b"s}) {
        EXPECT_TRUE(object.mountUserObject(key, 1));
    }
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.userObjects()) {
        keys.push_back(key);
    }
    EXPECT_THAT(keys, ElementsAre(""s, "B"s, "a"s, "a\0"s, "a.b"s, "b"s, "\xC3\xA4"s));
}

TEST(ObjectUserObjects, AreShownAsTheyAreStored) {
    Object object;
    const auto& store = object.userObjects();
    object.mountUserObject("key", 1);
    EXPECT_EQ(store.count("key"), 1U);
    EXPECT_EQ(&store, &object.userObjects());
}

TEST(ObjectUserObjects, AKeyOutOfTheStoreItselfCanBeTaken) {
    Object object;
    object.mountUserObject("key", 1);
    EXPECT_EQ(std::any_cast<int>(object.takeUserObject(object.userObjects().begin()->first)), 1);
    EXPECT_THAT(object.userObjects(), IsEmpty());
}

TEST(ObjectUserObjects, DieWithTheirObject) {
    auto object = std::make_unique<Object>();
    Trace trace;
    object->mountUserObject("key", cargo([&] { trace.emplace_back("gone"); }));
    EXPECT_THAT(trace, IsEmpty());
    object.reset();
    EXPECT_THAT(trace, ElementsAre("gone"));
}

TEST(ObjectDestruction, TellsNobody) {
    Trace heard;
    const auto note = [&](auto) { heard.emplace_back("told"); };
    Object parent;
    Object child;
    auto object = std::make_unique<Object>("old");
    parent.addChild(object.get());
    object->addChild(&child);
    for (Object* const each : {&parent, &child, object.get()}) {
        each->onNameChanged().connect(note);
        each->onChildAdded().connect(note);
        each->onChildWillRemove().connect(note);
        each->onParentAdded().connect(note);
        each->onParentWillRemove().connect(note);
    }

    object.reset();
    EXPECT_THAT(heard, IsEmpty());
}

TEST(ObjectDestruction, LeavesTheAddressInTheListsOfOthers) {
    Object parent;
    Object child;
    std::optional<Object> object(std::in_place);
    const Object* const address = &*object;
    parent.addChild(&*object);
    object->addChild(&child);

    object.reset();
    EXPECT_THAT(parent.children(), ElementsAre(address));
    EXPECT_THAT(child.parents(), ElementsAre(address));
    EXPECT_EQ(child.parent(), address);
}

TEST(ObjectDestruction, DeletesNeitherChildrenNorParents) {
    class Watched : public Object {
    public:
        explicit Watched(bool& gone) : gone_(&gone) {}
        ~Watched() override { *gone_ = true; }
        Watched(const Watched&) = delete;
        Watched& operator=(const Watched&) = delete;

    private:
        bool* gone_;
    };
    bool gone = false;
    const std::unique_ptr<Object> child = std::make_unique<Watched>(gone);
    const std::unique_ptr<Object> parent = std::make_unique<Watched>(gone);
    {
        Object object;
        object.addChild(child.get());
        object.addParent(parent.get());
    }
    EXPECT_FALSE(gone);
}

TEST(ObjectDestruction, EmptiesTheChildrenBeforeItDropsTheHostData) {
    Object parent;
    Object child;
    auto object = std::make_unique<Object>("name");
    Object* const address = object.get();
    Trace trace;
    object->addChild(&child);
    object->addParent(&parent);
    object->mountUserObject("key", cargo([&trace, address] {
                                trace.push_back(std::to_string(address->children().size()));
                                trace.push_back(std::to_string(address->parents().size()));
                                trace.push_back(address->objectName());
                            }));

    object.reset();
    EXPECT_THAT(trace, ElementsAre("0", "1", "name"));
}

} // namespace
