// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Character.h>

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

/// Notes every announcement of a character, with the name of what it is about.
class CharacterJournal : public Journal {
public:
    explicit CharacterJournal(tarn::Character& character) {
        character.onCharacterNameChanged().connect(
            [this](const std::string& name) { note("name " + name); });
        character.onDeviceAdded().connect(
            [this](tarn::Device* d) { noteObject("device added", d); });
        character.onDeviceWillRemove().connect(
            [this](tarn::Device* d) { noteObject("device will remove", d); });
        character.onCalibratorAdded().connect(
            [this](tarn::Calibrator* c) { noteObject("calibrator added", c); });
        character.onCalibratorWillRemove().connect(
            [this](tarn::Calibrator* c) { noteObject("calibrator will remove", c); });
        character.onActorChanged().connect([this](tarn::Actor* a) { noteObject("actor", a); });
        character.onSolverChanged().connect([this](tarn::Solver* s) { noteObject("solver", s); });
        character.onWillChangeTracks().connect(
            [this](const std::shared_ptr<tarn::Tracks>& t) { noteTake("will change", t); });
        character.onTracksChanged().connect(
            [this](const std::shared_ptr<tarn::Tracks>& t) { noteTake("changed", t); });
        character.onChildAdded().connect([this](tarn::Object* o) { noteObject("child added", o); });
        character.onChildWillRemove().connect(
            [this](tarn::Object* o) { noteObject("child will remove", o); });
    }

    void follow(tarn::Object& child) {
        child.onParentAdded().connect(
            [this, &child](tarn::Object*) { noteObject("parent added to", &child); });
        child.onParentWillRemove().connect(
            [this, &child](tarn::Object*) { noteObject("parent will remove from", &child); });
    }

private:
    void noteObject(const std::string& what, const tarn::Object* object) {
        note(what + " " + (object == nullptr ? "null" : object->objectName()));
    }
    void noteTake(const std::string& what, const std::shared_ptr<tarn::Tracks>& take) {
        note(what + " " + (take == nullptr ? "null" : take->tracksName()));
    }
};

template <class T>
void name(T& object, const std::string& objectName) {
    object.setObjectName(objectName);
}

std::shared_ptr<tarn::Tracks> takeNamed(const std::string& takeName) {
    auto take = std::make_shared<tarn::Tracks>();
    take->setTracksName(takeName);
    return take;
}

TEST(Character, TakesItsIdFirstAndItsNameSecond) {
    tarn::Character character("c1", "Ada");

    EXPECT_EQ(character.characterId(), "c1");
    EXPECT_EQ(character.characterName(), "Ada");
    EXPECT_EQ(character.objectName(), "");
    EXPECT_EQ(character.actor(), nullptr);
    EXPECT_EQ(character.solver(), nullptr);
    EXPECT_THAT(character.devices(), IsEmpty());
    EXPECT_THAT(character.calibrators(), IsEmpty());
    EXPECT_EQ(character.tracks(), nullptr);
    EXPECT_FALSE(character.isCalibrating());
}

TEST(Character, AnnouncesANewNameOnceAndAnIdNever) {
    tarn::Character character("c1", "Ada");
    CharacterJournal journal(character);
    std::string seen;
    character.onCharacterNameChanged().connect(
        [&](const std::string& /*name*/) { seen = character.characterName(); });

    character.setCharacterName("Ada");
    character.setCharacterName("Grace");
    character.setCharacterName("Grace");
    character.setCharacterId("c2");

    EXPECT_EQ(journal.take(), Entries{"name Grace"});
    EXPECT_EQ(seen, "Grace");
    EXPECT_EQ(character.characterId(), "c2");
}

TEST(Character, ReplacesItsActorStepByStep) {
    tarn::Character character("", "");
    tarn::Actor first;
    tarn::Actor second;
    name(first, "first");
    name(second, "second");
    character.setActor(&first);
    CharacterJournal journal(character);
    journal.follow(first);
    journal.follow(second);

    character.setActor(&first);
    EXPECT_EQ(journal.take(), Entries{});
    character.setActor(&second);
    EXPECT_EQ(journal.take(),
              (Entries{"child will remove first", "parent will remove from first",
                       "parent added to second", "child added second", "actor second"}));
    EXPECT_EQ(character.actor(), &second);
    character.setActor(nullptr);
    EXPECT_EQ(journal.take(), (Entries{"child will remove second", "parent will remove from second",
                                       "actor null"}));
    EXPECT_THAT(character.children(), IsEmpty());
    character.setActor(nullptr);
    EXPECT_EQ(journal.take(), Entries{});
}

TEST(Character, ReplacesOnlyTheFirstOfSeveralActors) {
    tarn::Character character("", "");
    tarn::Actor first;
    tarn::Actor byHand;
    tarn::Actor third;
    character.setActor(&first);
    character.addChild(&byHand);

    character.setActor(&third);

    EXPECT_THAT(character.children(), ElementsAre(&byHand, &third));
    EXPECT_EQ(character.actor(), &byHand);
}

TEST(Character, ReplacesItsSolverAsItsActor) {
    tarn::Character character("", "");
    tarn::Actor actor;
    tarn::Solver first("", "");
    tarn::Solver second("", "");
    name(first, "first");
    name(second, "second");
    character.setActor(&actor);
    character.setSolver(&first);
    CharacterJournal journal(character);
    journal.follow(first);
    journal.follow(second);

    character.setSolver(&first);
    EXPECT_EQ(journal.take(), Entries{});
    character.setSolver(&second);
    EXPECT_EQ(journal.take(),
              (Entries{"child will remove first", "parent will remove from first",
                       "parent added to second", "child added second", "solver second"}));
    EXPECT_EQ(character.solver(), &second);
    EXPECT_EQ(character.actor(), &actor);
    character.setSolver(nullptr);
    EXPECT_EQ(journal.take(), (Entries{"child will remove second", "parent will remove from second",
                                       "solver null"}));
}

TEST(Character, AnnouncesDevicesAfterTheyCameAndBeforeTheyGo) {
    tarn::Character character("", "");
    tarn::Device device("optical", "1");
    name(device, "d");
    CharacterJournal journal(character);

    character.addDevice(&device);
    character.addDevice(&device);
    EXPECT_EQ(journal.take(),
              (Entries{"child added d", "device added d", "child added d", "device added d"}));
    EXPECT_THAT(character.devices(), ElementsAre(&device, &device));
    character.removeDevice(&device);
    EXPECT_EQ(journal.take(), (Entries{"device will remove d", "child will remove d"}));
    EXPECT_THAT(character.devices(), IsEmpty());
    character.removeDevice(&device);
    EXPECT_EQ(journal.take(), Entries{"device will remove d"});
    character.addDevice(nullptr);
    character.removeDevice(nullptr);
    EXPECT_EQ(journal.take(), (Entries{"child added null", "device added null",
                                       "device will remove null", "child will remove null"}));
}

TEST(Character, FindsDevicesByTheirExactType) {
    tarn::Character character("", "");
    tarn::Device first("optical", "1");
    tarn::Device glove("glove", "2");
    tarn::Device second("optical", "3");
    character.addChild(nullptr);
    character.addDevice(&first);
    character.addDevice(&glove);
    character.addDevice(&second);

    EXPECT_THAT(character.devices(), ElementsAre(&first, &glove, &second));
    EXPECT_EQ(character.findDevice("optical"), &first);
    EXPECT_THAT(character.findDevices("optical"), ElementsAre(&first, &second));
    EXPECT_EQ(character.findDevice("opt"), nullptr);
    EXPECT_THAT(character.findDevices("Optical"), IsEmpty());
}

TEST(Character, RemembersWhichCalibratorsAreRequired) {
    tarn::Character character("", "");
    tarn::Calibrator calibrator;
    name(calibrator, "k");
    CharacterJournal journal(character);
    bool requiredInSlot = false;
    character.onCalibratorAdded().connect(
        [&](tarn::Calibrator* each) { requiredInSlot = character.isCalibratorRequired(each); });

    EXPECT_FALSE(character.isCalibratorRequired(&calibrator));
    character.addCalibrator(&calibrator, true);
    EXPECT_TRUE(requiredInSlot);
    EXPECT_TRUE(character.isCalibratorRequired(&calibrator));
    character.addCalibrator(&calibrator, false);
    EXPECT_FALSE(character.isCalibratorRequired(&calibrator));
    EXPECT_EQ(journal.take(), (Entries{"child added k", "calibrator added k", "child added k",
                                       "calibrator added k"}));

    character.addCalibrator(&calibrator, true);
    bool requiredWhileRemoving = false;
    character.onCalibratorWillRemove().connect([&](tarn::Calibrator* each) {
        requiredWhileRemoving = character.isCalibratorRequired(each);
    });
    journal.take();
    character.removeCalibrator(&calibrator);
    EXPECT_TRUE(requiredWhileRemoving);
    EXPECT_FALSE(character.isCalibratorRequired(&calibrator));
    EXPECT_EQ(journal.take(), (Entries{"calibrator will remove k", "child will remove k"}));
    EXPECT_THAT(character.calibrators(), IsEmpty());
    character.removeCalibrator(&calibrator);
    EXPECT_EQ(journal.take(), Entries{"calibrator will remove k"});
}

TEST(Character, TellsItsChildrenApartByType) {
    tarn::Character character("", "");
    tarn::Object object;
    tarn::Actor actor;
    tarn::Solver solver("", "");
    tarn::Device device("", "");
    tarn::Calibrator calibrator;
    character.addChild(&object);
    character.addChild(nullptr);
    character.addCalibrator(&calibrator, false);
    character.addDevice(&device);
    character.setSolver(&solver);
    character.setActor(&actor);

    EXPECT_EQ(character.actor(), &actor);
    EXPECT_EQ(character.solver(), &solver);
    EXPECT_THAT(character.devices(), ElementsAre(&device));
    EXPECT_THAT(character.calibrators(), ElementsAre(&calibrator));
}

TEST(Character, ChangesItsTakeBetweenTwoAnnouncements) {
    tarn::Character character("", "");
    CharacterJournal journal(character);
    const auto a = takeNamed("a");
    const auto b = takeNamed("b");

    character.setTracks(nullptr);
    EXPECT_EQ(journal.take(), Entries{});
    character.setTracks(a);
    EXPECT_EQ(journal.take(), (Entries{"will change null", "changed a"}));
    character.setTracks(a);
    EXPECT_EQ(journal.take(), Entries{});
    character.setTracks(b);
    EXPECT_EQ(journal.take(), (Entries{"will change a", "changed b"}));
    EXPECT_EQ(character.tracks(), b);
    EXPECT_EQ(a.use_count(), 1);
    character.setTracks(nullptr);
    EXPECT_EQ(journal.take(), (Entries{"will change b", "changed null"}));
}

TEST(Character, HearsItsTakeAndNoOtherAtEachStepOfTheChange) {
    tarn::Character character("", "");
    const auto a = takeNamed("a");
    const auto b = takeNamed("b");
    int frames = 0;
    character.onFrame().connect([&](const std::shared_ptr<tarn::Timeline>&) { ++frames; });
    character.setTracks(a);
    int heardBefore = -1;
    int heardAfter = -1;
    character.onWillChangeTracks().connect([&](const std::shared_ptr<tarn::Tracks>&) {
        a->setCurrentTime(1);
        b->setCurrentTime(1);
        heardBefore = frames;
    });
    character.onTracksChanged().connect([&](const std::shared_ptr<tarn::Tracks>&) {
        a->setCurrentTime(1);
        b->setCurrentTime(1);
        heardAfter = frames;
    });

    character.setTracks(b);

    EXPECT_EQ(heardBefore, 0); // the old take is let go of before the first announcement
    EXPECT_EQ(heardAfter, 1);  // the new one is heard before the second
    character.setTracks(nullptr);
    frames = 0;
    b->setCurrentTime(2);
    EXPECT_EQ(frames, 0);
}

TEST(Character, AnnouncesWhatItsTakeShowsOnEveryMove) {
    tarn::Character character("", "");
    const auto take = takeNamed("take");
    take->setFps(30);
    take->setTimeLength(3);
    const auto frame = std::make_shared<tarn::Frame>(tarn::Time(2, 30), 5, 1.5);
    take->setFrame(2, 5, frame);
    character.setTracks(take);
    std::vector<std::shared_ptr<tarn::Timeline>> heard;
    character.onFrame().connect(
        [&](const std::shared_ptr<tarn::Timeline>& timeline) { heard.push_back(timeline); });

    take->setCurrentTime(2);
    take->setCurrentTime(2);
    take->beginUpdateTracks(0, 2);
    take->endUpdateTracks();

    ASSERT_EQ(heard.size(), 3U);
    EXPECT_EQ(heard[0]->time(), tarn::Time(2, 30));
    EXPECT_EQ(heard[0]->frame(5), frame);
    EXPECT_NE(heard[0], heard[1]);
}

TEST(Character, AnnouncesAnActorAndASolverWhereThereWasNone) {
    tarn::Character character("", "");
    tarn::Actor actor;
    tarn::Solver solver("", "");
    name(actor, "a");
    name(solver, "s");
    CharacterJournal journal(character);
    journal.follow(actor);
    journal.follow(solver);

    character.setActor(&actor);
    character.setSolver(&solver);

    EXPECT_EQ(journal.take(), (Entries{"parent added to a", "child added a", "actor a",
                                       "parent added to s", "child added s", "solver s"}));
}

TEST(Character, LinksAnActorThatIsAlreadyItsSecondOneOnceMore) {
    tarn::Character character("", "");
    tarn::Actor first;
    tarn::Actor byHand;
    character.setActor(&first);
    character.addChild(&byHand);

    character.setActor(&byHand);
    EXPECT_THAT(character.children(), ElementsAre(&byHand, &byHand));
    character.setActor(nullptr);
    EXPECT_THAT(character.children(), IsEmpty());
}

TEST(Character, RemovesOnlyTheFirstOfSeveralSolversForNull) {
    tarn::Character character("", "");
    tarn::Solver first("", "");
    tarn::Solver byHand("", "");
    character.setSolver(&first);
    character.addChild(&byHand);
    std::vector<tarn::Solver*> heard;
    character.onSolverChanged().connect([&](tarn::Solver* each) { heard.push_back(each); });

    character.setSolver(nullptr);

    EXPECT_THAT(heard, ElementsAre(nullptr));
    EXPECT_EQ(character.solver(), &byHand);
}

TEST(Character, NotesARequirementAfterTheLinkAndForgetsItAfterTheUnlinking) {
    tarn::Character character("", "");
    tarn::Calibrator calibrator;
    std::vector<int> required;
    const auto look = [&](tarn::Object*) {
        required.push_back(character.isCalibratorRequired(&calibrator) ? 1 : 0);
    };
    calibrator.onParentAdded().connect(look);
    character.onChildAdded().connect(look);
    character.onCalibratorAdded().connect(look);
    character.onCalibratorWillRemove().connect(look);
    character.onChildWillRemove().connect(look);
    calibrator.onParentWillRemove().connect(look);

    character.addCalibrator(&calibrator, true);
    EXPECT_THAT(required, ElementsAre(0, 0, 1));
    required.clear();
    character.removeCalibrator(&calibrator);
    EXPECT_THAT(required, ElementsAre(1, 1, 1));
    EXPECT_FALSE(character.isCalibratorRequired(&calibrator));
}

TEST(Character, KeepsTheRequirementOfACalibratorThatWasOnlyUnlinked) {
    tarn::Character character("", "");
    tarn::Calibrator calibrator;
    character.addCalibrator(&calibrator, true);

    character.removeChild(&calibrator);

    EXPECT_THAT(character.calibrators(), IsEmpty());
    EXPECT_TRUE(character.isCalibratorRequired(&calibrator));
}

TEST(Character, HoldsTheOldTakeUntilItAnnouncesTheNewOne) {
    tarn::Character character("", "");
    const auto a = takeNamed("a");
    const auto b = takeNamed("b");
    std::vector<std::shared_ptr<tarn::Tracks>> held;
    const auto look = [&](const std::shared_ptr<tarn::Tracks>&) {
        held.push_back(character.tracks());
    };
    character.onWillChangeTracks().connect(look);
    character.onTracksChanged().connect(look);

    character.setTracks(a);
    character.setTracks(b);

    EXPECT_THAT(held, ElementsAre(nullptr, a, a, b));
    character.setTracks(nullptr);
}

TEST(Character, LetsGoOfEverySlotThatIsBoundToItWithATake) {
    tarn::Character character("", "");
    tarn::Character other("", "");
    const auto take = takeNamed("take");
    character.setTracks(take);
    other.setTracks(take);
    int bound = 0;
    int unbound = 0;
    int frames = 0;
    take->onCurrentTimeChanged().connect(&character, [&](int /*index*/) { ++bound; });
    take->onCurrentTimeChanged().connect([&](int /*index*/) { ++unbound; });
    other.onFrame().connect([&](const std::shared_ptr<tarn::Timeline>&) { ++frames; });

    character.setTracks(nullptr);
    take->setCurrentTime(1);

    EXPECT_EQ(bound, 0);
    EXPECT_EQ(unbound, 1);
    EXPECT_EQ(frames, 1); // another character of the same take goes on hearing it
    other.setTracks(nullptr);
}

TEST(Character, SharesItsTakeOnceAndReleasesItWhenItIsDestroyed) {
    const auto take = takeNamed("take");
    {
        tarn::Character character("", "");
        character.setTracks(take);
        EXPECT_EQ(take.use_count(), 2); // the connection does not keep the take
    }
    EXPECT_EQ(take.use_count(), 1);
    take->onCurrentTimeChanged().disconnectAll(); // the destructor does not disconnect
}

} // namespace
