// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Scene.h>

#include "support/Journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using tarn::testing::Entries;
using tarn::testing::Journal;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SceneTest : public ::testing::Test, protected Journal {
protected:
    SceneTest() {
        listen("added", scene.onCharacterAdded());
        listen("will remove", scene.onCharacterWillRemove());
        listen("selected", scene.onSelectedCharacter());
        listen("will deselect", scene.onWillDeselectCharacter());
        listen("deselected", scene.onDidDeselectCharacter());
        listen("will change current", scene.onWillChangeCurrentCharacter());
        listen("current", scene.onCurrentCharacterChanged());
        scene.onChildAdded().connect([this](tarn::Object*) { note("child added"); });
        scene.onChildWillRemove().connect([this](tarn::Object*) { note("child will remove"); });
    }

    void listen(const std::string& what, tsignal::Signal<tarn::Character*>& signal) {
        signal.connect([this, what](tarn::Character* character) {
            note(what + " " + (character == nullptr ? "null" : character->characterName()));
        });
    }

    /// Adds both characters and forgets what that announced.
    void addBoth() {
        scene.addCharacter(&a);
        scene.addCharacter(&b);
        take();
    }

    tarn::Scene scene;
    tarn::Character a{"1", "a"};
    tarn::Character b{"2", "b"};
};

TEST_F(SceneTest, IsEmptyAtFirst) {
    EXPECT_THAT(scene.characters(), IsEmpty());
    EXPECT_THAT(scene.selectedCharacters(), IsEmpty());
    EXPECT_EQ(scene.currentCharacter(), nullptr);
    EXPECT_EQ(scene.description() + scene.note() + scene.objectName(), "");
    EXPECT_EQ(scene.sceneTime(), tarn::Time());
    EXPECT_EQ(scene.tracks(), nullptr);
}

TEST_F(SceneTest, AddsCharactersWithoutChecks) {
    scene.addCharacter(&a);
    scene.addCharacter(&a);
    scene.addCharacter(nullptr);

    EXPECT_EQ(take(), (Entries{"child added", "added a", "child added", "added a", "child added",
                               "added null"}));
    EXPECT_THAT(scene.characters(), ElementsAre(&a, &a));
    EXPECT_EQ(a.parent(), &scene);
}

TEST_F(SceneTest, FindsCharactersByTheirNameAndNotTheirObjectName) {
    tarn::Character secondA("3", "a");
    tarn::Object other("a");
    b.setObjectName("a");
    scene.addChild(&other);
    addBoth();
    scene.addCharacter(&secondA);

    EXPECT_EQ(scene.findCharacter("a"), &a);
    EXPECT_THAT(scene.findCharacters("a"), ElementsAre(&a, &secondA));
    EXPECT_EQ(scene.findCharacter("A"), nullptr);
    EXPECT_THAT(scene.findCharacters(""), IsEmpty());
    a.setCharacterName("c");
    EXPECT_EQ(scene.findCharacter("c"), &a);
    EXPECT_EQ(scene.findCharacter("a"), &secondA);
    EXPECT_THAT(scene.characters(), ElementsAre(&a, &b, &secondA));
}

TEST_F(SceneTest, SelectsEachCharacterOnceInOrder) {
    scene.selectCharacter(&b);
    scene.selectCharacter(&a);
    scene.selectCharacter(&b);
    scene.selectCharacter(nullptr);

    EXPECT_EQ(take(), (Entries{"selected b", "selected a", "selected null"}));
    EXPECT_THAT(scene.selectedCharacters(), ElementsAre(&b, &a, nullptr));
    EXPECT_TRUE(scene.isCharacterSelected(&a));
    EXPECT_TRUE(scene.isCharacterSelected(nullptr));
}

TEST_F(SceneTest, HoldsTheSelectionUntilItSaysItIsGone) {
    scene.selectCharacter(&a);
    Entries seen;
    const auto notes = [&](const char* when) {
        return [this, &seen, when](tarn::Character* character) {
            seen.push_back(when +
                           std::string(scene.isCharacterSelected(character) ? " yes" : " no"));
        };
    };
    scene.onWillDeselectCharacter().connect(notes("will"));
    scene.onDidDeselectCharacter().connect(notes("did"));
    take();

    scene.deselectCharacter(&b);
    EXPECT_EQ(take(), Entries{});
    scene.deselectCharacter(&a);

    EXPECT_EQ(take(), (Entries{"will deselect a", "deselected a"}));
    EXPECT_EQ(seen, (Entries{"will yes", "did no"}));
}

TEST_F(SceneTest, ChangesTheCurrentCharacterBetweenTwoAnnouncements) {
    scene.setCurrentCharacter(nullptr);
    EXPECT_EQ(take(), Entries{});
    scene.setCurrentCharacter(&a);
    EXPECT_EQ(take(), (Entries{"will change current null", "current a"}));
    scene.setCurrentCharacter(&a);
    EXPECT_EQ(take(), Entries{});
    tarn::Character* during = nullptr;
    scene.onWillChangeCurrentCharacter().connect(
        [&](tarn::Character*) { during = scene.currentCharacter(); });
    scene.setCurrentCharacter(&b);
    EXPECT_EQ(take(), (Entries{"will change current a", "current b"}));
    EXPECT_EQ(during, &a);
}

TEST_F(SceneTest, RemovesASelectedCurrentCharacterStepByStep) {
    addBoth();
    scene.selectCharacter(&a);
    scene.setCurrentCharacter(&a);
    a.onParentWillRemove().connect([this](tarn::Object*) { note("parent will remove"); });
    take();

    scene.removeCharacter(&a);

    EXPECT_EQ(take(),
              (Entries{"will deselect a", "deselected a", "will change current a", "current b",
                       "will remove a", "child will remove", "parent will remove"}));
    EXPECT_EQ(scene.currentCharacter(), &b);
    EXPECT_THAT(scene.characters(), ElementsAre(&b));
    EXPECT_THAT(a.parents(), IsEmpty());
}

TEST_F(SceneTest, RemovesAPlainCharacterQuietlyForSelectionAndCurrent) {
    addBoth();
    scene.setCurrentCharacter(&a);
    scene.selectCharacter(&a);
    take();

    scene.removeCharacter(&b);

    EXPECT_EQ(take(), (Entries{"will remove b", "child will remove"}));
    EXPECT_EQ(scene.currentCharacter(), &a);
}

TEST_F(SceneTest, PicksTheFirstOtherCharacterAsTheNextCurrentOne) {
    tarn::Character c("3", "c");
    addBoth();
    scene.addCharacter(&c);
    scene.setCurrentCharacter(&b);
    take();

    scene.removeCharacter(&b);

    EXPECT_EQ(scene.currentCharacter(), &a);
    EXPECT_EQ(take(), (Entries{"will change current b", "current a", "will remove b",
                               "child will remove"}));
    scene.removeCharacter(&c);
}

TEST_F(SceneTest, HasNoCurrentCharacterAfterTheLastOneWent) {
    scene.addCharacter(&a);
    scene.setCurrentCharacter(&a);
    take();

    scene.removeCharacter(&a);

    EXPECT_EQ(take(), (Entries{"will change current a", "current null", "will remove a",
                               "child will remove"}));
    EXPECT_EQ(scene.currentCharacter(), nullptr);
}

TEST_F(SceneTest, CleansUpAfterAForeignCharacter) {
    tarn::Character foreign("3", "foreign");
    addBoth();
    scene.selectCharacter(&foreign);
    scene.setCurrentCharacter(&foreign);
    take();

    scene.removeCharacter(&foreign);

    EXPECT_EQ(take(), (Entries{"will deselect foreign", "deselected foreign",
                               "will change current foreign", "current a"}));
    EXPECT_THAT(scene.characters(), ElementsAre(&a, &b));
    scene.removeCharacter(&foreign);
    EXPECT_EQ(take(), Entries{});
}

TEST_F(SceneTest, MakesTheFirstCharacterCurrentWhenNullIsRemovedAndNoneWas) {
    scene.removeCharacter(nullptr);
    EXPECT_EQ(take(), Entries{});
    addBoth();

    scene.removeCharacter(nullptr);
    EXPECT_EQ(take(), (Entries{"will change current null", "current a"}));
    scene.removeCharacter(nullptr);
    EXPECT_EQ(take(), Entries{});
    scene.selectCharacter(nullptr);
    scene.removeCharacter(nullptr);
    EXPECT_EQ(take(), (Entries{"selected null", "will deselect null", "deselected null"}));
}

TEST_F(SceneTest, RemovesACharacterThatWasAddedTwiceAtOnce) {
    scene.addCharacter(&a);
    addBoth();

    scene.removeCharacter(&a);

    EXPECT_EQ(take(), (Entries{"will remove a", "child will remove"}));
    EXPECT_THAT(scene.characters(), ElementsAre(&b));
}

TEST_F(SceneTest, AnnouncesItsTextsOnEveryCall) {
    Entries heard;
    scene.onDescriptionChanged().connect(
        [&](const std::string& text) { heard.push_back("description " + text); });
    scene.onNoteChanged().connect(
        [&](const std::string& text) { heard.push_back("note " + text); });

    scene.setDescription("x");
    scene.setDescription("x");
    scene.setNote("");

    EXPECT_EQ(heard, (Entries{"description x", "description x", "note "}));
    EXPECT_EQ(scene.description(), "x");
}

TEST_F(SceneTest, AnnouncesATimeThatDiffersInAnyField) {
    std::vector<tarn::Time> heard;
    const tarn::Time* stored = nullptr;
    scene.onSceneTimeChanged().connect([&](const tarn::Time& time) {
        heard.push_back(time);
        stored = &scene.sceneTime();
    });

    scene.setSceneTime(tarn::Time());
    scene.setSceneTime(tarn::Time(1, 30));
    scene.setSceneTime(tarn::Time(1, 30));
    scene.setSceneTime(tarn::Time(2, 60)); // the same second, another time

    EXPECT_THAT(heard, ElementsAre(tarn::Time(1, 30), tarn::Time(2, 60)));
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(*stored, tarn::Time(2, 60));
}

TEST_F(SceneTest, ChangesItsTakeBetweenTwoAnnouncementsAndConnectsNothing) {
    std::vector<std::shared_ptr<tarn::Tracks>> heard;
    const auto note = [&](const std::shared_ptr<tarn::Tracks>& each) { heard.push_back(each); };
    scene.onWillChangeTracks().connect(note);
    scene.onTracksChanged().connect(note);
    const auto take = std::make_shared<tarn::Tracks>();

    scene.setTracks(nullptr);
    scene.setTracks(take);
    scene.setTracks(take);
    EXPECT_EQ(scene.tracks(), take);
    scene.setTracks(nullptr);

    EXPECT_THAT(heard, ElementsAre(nullptr, take, take, nullptr));
    scene.setTracks(take);
    take->setCurrentTime(7);
    EXPECT_EQ(scene.sceneTime(), tarn::Time());
}

TEST(SceneLifetime, TellsNobodyThatItIsDestroyed) {
    tarn::Character character("1", "a");
    auto scene = std::make_unique<tarn::Scene>();
    const auto take = std::make_shared<tarn::Tracks>();
    scene->setTracks(take);
    scene->addCharacter(&character);
    int heard = 0;
    character.onParentWillRemove().connect([&](tarn::Object*) { ++heard; });
    const tarn::Object* const address = scene.get();

    scene.reset();

    EXPECT_EQ(heard, 0);
    EXPECT_EQ(take.use_count(), 1);
    EXPECT_THAT(character.parents(), ElementsAre(address));
}

TEST_F(SceneTest, RemovesASelectedCharacterThatIsNotCurrent) {
    addBoth();
    scene.selectCharacter(&b);
    scene.setCurrentCharacter(&a);
    take();

    scene.removeCharacter(&b);

    EXPECT_EQ(take(),
              (Entries{"will deselect b", "deselected b", "will remove b", "child will remove"}));
    EXPECT_EQ(scene.currentCharacter(), &a);
}

TEST_F(SceneTest, CleansUpAfterAForeignCharacterThatIsOnlySelected) {
    tarn::Character foreign("3", "foreign");
    addBoth();
    scene.setCurrentCharacter(&a);
    scene.selectCharacter(&foreign);
    take();

    scene.removeCharacter(&foreign);

    EXPECT_EQ(take(), (Entries{"will deselect foreign", "deselected foreign"}));
    EXPECT_EQ(scene.currentCharacter(), &a);
}

TEST_F(SceneTest, CleansUpAfterAForeignCharacterThatIsOnlyCurrent) {
    tarn::Character foreign("3", "foreign");
    scene.setCurrentCharacter(&foreign);
    take();
    scene.removeCharacter(&foreign);
    EXPECT_EQ(take(), (Entries{"will change current foreign", "current null"}));

    addBoth();
    scene.setCurrentCharacter(&foreign);
    take();
    scene.removeCharacter(&foreign);
    EXPECT_EQ(take(), (Entries{"will change current foreign", "current a"}));
}

TEST_F(SceneTest, DeselectsANullAndPicksTheFirstCharacterButKeepsANullLink) {
    scene.selectCharacter(nullptr);
    take();
    scene.removeCharacter(nullptr);
    EXPECT_EQ(take(), (Entries{"will deselect null", "deselected null"}));

    scene.addChild(nullptr);
    scene.selectCharacter(nullptr);
    addBoth();
    take();
    scene.removeCharacter(nullptr);
    EXPECT_EQ(take(), (Entries{"will deselect null", "deselected null", "will change current null",
                               "current a"}));
    EXPECT_THAT(scene.children(), ElementsAre(nullptr, &a, &b)); // null is no character
}

TEST_F(SceneTest, NeverPicksASecondLinkOfTheSameCharacterAsTheNextCurrentOne) {
    scene.addCharacter(&a);
    addBoth();
    scene.setCurrentCharacter(&a);
    take();

    scene.removeCharacter(&a);
    EXPECT_EQ(take(), (Entries{"will change current a", "current b", "will remove a",
                               "child will remove"}));
    scene.addCharacter(&b);
    take();
    scene.removeCharacter(&b);
    EXPECT_EQ(take(), (Entries{"will change current b", "current null", "will remove b",
                               "child will remove"}));
}

TEST_F(SceneTest, DoesNotRemoveWhatASlotUnlinkedMeanwhile) {
    addBoth();
    scene.setCurrentCharacter(&a);
    take();
    scene.onCurrentCharacterChanged().connect([this](tarn::Character*) { scene.removeChild(&a); });

    scene.removeCharacter(&a);

    EXPECT_EQ(take(), (Entries{"will change current a", "current b", "child will remove"}));
}

TEST_F(SceneTest, IsWhatItAnnounces) {
    Entries seen;
    const auto see = [&seen](const std::string& what, bool holds) {
        seen.push_back(what + (holds ? " yes" : " no"));
    };
    scene.onSelectedCharacter().connect(
        [&](tarn::Character* each) { see("selected", scene.isCharacterSelected(each)); });
    scene.onCurrentCharacterChanged().connect(
        [&](tarn::Character* each) { see("current", scene.currentCharacter() == each); });
    scene.onDescriptionChanged().connect(
        [&](const std::string& text) { see("description", scene.description() == text); });
    scene.onNoteChanged().connect(
        [&](const std::string& text) { see("note", scene.note() == text); });
    scene.onSceneTimeChanged().connect(
        [&](const tarn::Time& time) { see("time", scene.sceneTime() == time); });

    scene.selectCharacter(&a);
    scene.setCurrentCharacter(&a);
    scene.setDescription("x");
    scene.setNote("y");
    scene.setNote("y");
    scene.setSceneTime(tarn::Time(1, 30));

    EXPECT_EQ(seen, (Entries{"selected yes", "current yes", "description yes", "note yes",
                             "note yes", "time yes"}));
    EXPECT_EQ(scene.description() + scene.note(), "xy");
    EXPECT_TRUE(scene.values().empty()); // none of this is kept as settings
}

TEST_F(SceneTest, AnnouncesATimeThatDiffersInOneFieldOnly) {
    std::vector<tarn::Time> heard;
    scene.onSceneTimeChanged().connect([&](const tarn::Time& time) { heard.push_back(time); });

    scene.setSceneTime(tarn::Time(0, 30));
    scene.setSceneTime(tarn::Time(0, 60));
    scene.setSceneTime(tarn::Time(1, 60));

    EXPECT_THAT(heard, ElementsAre(tarn::Time(0, 30), tarn::Time(0, 60), tarn::Time(1, 60)));
}

TEST_F(SceneTest, AnnouncesTheTimeItWasGivenEvenIfASlotSetsAnother) {
    std::vector<tarn::Time> heard;
    scene.onSceneTimeChanged().connect([&](const tarn::Time& time) {
        if (time == tarn::Time(5, 30)) {
            scene.setSceneTime(tarn::Time(9, 30));
        }
    });
    scene.onSceneTimeChanged().connect([&](const tarn::Time& time) { heard.push_back(time); });

    scene.setSceneTime(tarn::Time(5, 30));

    EXPECT_THAT(heard, ElementsAre(tarn::Time(9, 30), tarn::Time(5, 30)));
    EXPECT_EQ(scene.sceneTime(), tarn::Time(9, 30));
}

TEST_F(SceneTest, AnnouncesEveryTextAsItWasGiven) {
    Entries heard;
    scene.onDescriptionChanged().connect(
        [&](const std::string& text) { heard.push_back("description " + text); });
    scene.onNoteChanged().connect(
        [&](const std::string& text) { heard.push_back("note " + text); });

    scene.setDescription("rehearsal");
    scene.setNote("left glove drifts");
    scene.setNote("right glove drifts");

    EXPECT_EQ(heard, (Entries{"description rehearsal", "note left glove drifts",
                              "note right glove drifts"}));
}

TEST_F(SceneTest, HoldsTheOldTakeUntilItAnnouncesTheNewOne) {
    const auto first = std::make_shared<tarn::Tracks>();
    const auto second = std::make_shared<tarn::Tracks>();
    std::vector<std::shared_ptr<tarn::Tracks>> held;
    const auto look = [&](const std::shared_ptr<tarn::Tracks>&) { held.push_back(scene.tracks()); };
    scene.onWillChangeTracks().connect(look);
    scene.onTracksChanged().connect(look);

    scene.setTracks(first);
    scene.setTracks(second);

    EXPECT_THAT(held, ElementsAre(nullptr, first, first, second));
}

} // namespace
