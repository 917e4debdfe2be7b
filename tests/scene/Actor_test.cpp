// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Actor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using tarn::Actor;
using tarn::Settings;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::NotNull;
using testing::Pair;

namespace {

static_assert(std::is_base_of_v<Settings, Actor>);
static_assert(std::has_virtual_destructor_v<Actor>);
static_assert(!std::is_copy_constructible_v<Actor>);

/// Everything that an actor announced, as text.
class Announcements {
public:
    explicit Announcements(Actor& actor) {
        actor.onActorNameChanged().connect([this](const std::string& name) { add("name", name); });
        actor.onBodyDimensionChanged().connect([this](const std::string& name, float value) {
            add("dimension", name + ' ' + std::to_string(value));
        });
        actor.onBodyDimensionSettingsChanged().connect([this] { add("dimensions", ""); });
        actor.onSensorMapChanged().connect([this](const std::string& name, int value) {
            add("sensor", name + ' ' + std::to_string(value));
        });
        actor.onSettingChanged().connect(
            [this](const std::string& key, const std::string& /*value*/) { add("setting", key); });
    }

    /// What was announced since the last call.
    std::vector<std::string> taken() { return std::exchange(all_, {}); }

private:
    void add(const std::string& signal, const std::string& text) {
        all_.push_back(signal + ": " + text);
    }

    std::vector<std::string> all_;
};

/// A store with a value per name.
std::shared_ptr<Settings>
storeOf(const std::vector<std::pair<std::string, std::string>>& nameValues) {
    auto settings = std::make_shared<Settings>();
    for (const auto& [name, value] : nameValues) {
        settings->setValue(name, value);
    }
    return settings;
}

void load(Actor& actor, const std::string& document) {
    EXPECT_TRUE(actor.loadSettingsFromString(document));
}

} // namespace

TEST(Actor, StartsWithoutAnything) {
    Actor actor;
    EXPECT_EQ(actor.objectName(), "");
    EXPECT_THAT(actor.values(), IsEmpty());
    EXPECT_EQ(actor.actorName(), "");
    EXPECT_EQ(actor.bodyDimension("Height", 2.5F), 2.5F);
    EXPECT_THAT(actor.sensorMap(), IsEmpty());
}

TEST(Actor, ANewNameIsStoredAndAnnouncedOnce) {
    Actor actor;
    Announcements announcements(actor);
    actor.setActorName("Anna");
    EXPECT_THAT(announcements.taken(), ElementsAre("name: Anna"));
    EXPECT_EQ(actor.value("MocapActor.ActorName", "none"), "Anna");
    actor.setActorName("Anna");
    EXPECT_THAT(announcements.taken(), IsEmpty());
    actor.setActorName("anna");
    EXPECT_THAT(announcements.taken(), ElementsAre("name: anna"));
    EXPECT_EQ(actor.actorName(), "anna");
}

TEST(Actor, AnEmptyNameIsTheNameOfANewActor) {
    Actor actor;
    Announcements announcements(actor);
    actor.setActorName("");
    EXPECT_THAT(announcements.taken(), IsEmpty());
    actor.setActorName("Anna");
    actor.setActorName("");
    EXPECT_THAT(announcements.taken(), ElementsAre("name: Anna", "name: "));
}

TEST(Actor, AnnouncementsComeAfterTheChange) {
    Actor actor;
    load(actor, "<MocapActor><SensorMap/></MocapActor>");
    std::vector<std::string> seen;
    actor.onActorNameChanged().connect(
        [&](const std::string& /*name*/) { seen.push_back(actor.actorName()); });
    actor.onBodyDimensionChanged().connect([&](const std::string& name, float /*value*/) {
        seen.push_back(actor.bodyDimensionSettings()->value(name, "none"));
    });
    actor.onBodyDimensionSettingsChanged().connect(
        [&] { seen.push_back(actor.bodyDimensionSettings()->value("Arm", "none")); });
    actor.onSensorMapChanged().connect([&](const std::string& name, int /*value*/) {
        seen.push_back(actor.sensorMapSettings()->value(name, "none"));
    });
    actor.setActorName("Anna");
    actor.setBodyDimension("Height", 1.8F);
    actor.setBodyDimensionSettings(storeOf({{"Arm", "0.6"}}));
    actor.setSensorMap("Hips", 3);
    EXPECT_THAT(seen, ElementsAre("Anna", "1.800000", "0.6", "3"));
}

TEST(Actor, ADimensionIsStoredWithSixDecimalsAndAnnounced) {
    Actor actor;
    Announcements announcements(actor);
    actor.setBodyDimension("Height", 1.8F);
    EXPECT_EQ(actor.value("MocapActor.BodyDimension.Height", "none"), "1.800000");
    EXPECT_EQ(actor.bodyDimension("Height", 0.0F), 1.8F);
    EXPECT_THAT(announcements.taken(), ElementsAre("dimension: Height 1.800000"));
}

TEST(Actor, ADimensionThatIsTheSameWithinAThresholdIsNotStored) {
    Actor actor;
    actor.setBodyDimension("Height", 1.8F);
    Announcements announcements(actor);
    actor.setBodyDimension("Height", 1.80005F);
    actor.setBodyDimension("Height", 1.79995F);
    actor.setBodyDimension("Height", 1.8F);
    EXPECT_THAT(announcements.taken(), IsEmpty());
    EXPECT_EQ(actor.value("MocapActor.BodyDimension.Height", "none"), "1.800000");
    actor.setBodyDimension("Height", 1.8002F);
    actor.setBodyDimension("Height", 1.8F);
    EXPECT_THAT(announcements.taken(),
                ElementsAre("dimension: Height 1.800200", "dimension: Height 1.800000"));
}

TEST(Actor, AMissingDimensionCountsAsZeroWhenItIsSet) {
    Actor actor;
    Announcements announcements(actor);
    for (const float value : {0.0F, 0.00005F, -0.00005F, 0.0001F, -0.0001F}) {
        actor.setBodyDimension("Height", value); // 0.0001F is a little less than 0.0001
    }
    EXPECT_THAT(announcements.taken(), IsEmpty());
    EXPECT_THAT(actor.bodyDimensionSettings()->values(), IsEmpty());
    actor.setBodyDimension("Height", 0.00011F);
    actor.setBodyDimension("Depth", -0.00011F);
    EXPECT_THAT(actor.bodyDimensionSettings()->values(),
                ElementsAre(Pair("Depth", "-0.000110"), Pair("Height", "0.000110")));
}

TEST(Actor, AStoredDimensionMayComeBackToZero) {
    Actor actor;
    actor.setBodyDimension("Height", 1.0F);
    actor.setBodyDimension("Height", 0.0F);
    EXPECT_EQ(actor.bodyDimension("Height", 5.0F), 0.0F);
}

TEST(Actor, TheNameOfADimensionIsAPath) {
    Actor actor;
    actor.setBodyDimension("Arm.Left", 0.5F);
    EXPECT_EQ(actor.bodyDimensionSettings()->subSettings("Arm")->value("Left", ""), "0.500000");
    EXPECT_EQ(actor.bodyDimension("Arm", 9.0F), 0.0F); // a group: an empty text
}

TEST(Actor, TheDimensionsAreReplacedByACopy) {
    Actor actor;
    actor.setBodyDimension("Height", 1.8F);
    Announcements announcements(actor);
    const auto dimensions = storeOf({{"Arm", "0.6"}, {"Leg", "0.9"}});
    actor.setBodyDimensionSettings(dimensions);
    EXPECT_THAT(announcements.taken(), ElementsAre("dimensions: "));
    dimensions->setValue("Arm", "7");
    EXPECT_EQ(actor.bodyDimension("Arm", 0.0F), 0.6F);
    EXPECT_EQ(actor.bodyDimension("Leg", 0.0F), 0.9F);
    EXPECT_EQ(actor.bodyDimension("Height", 2.5F), 2.5F);
    actor.setBodyDimension("Arm", 0.7F);
    EXPECT_EQ(dimensions->value("Arm", ""), "7");
}

TEST(Actor, ReplacingTheDimensionsRemovesEveryGroupOfTheName) {
    Actor actor;
    load(actor, "<MocapActor><BodyDimension><a>1</a></BodyDimension>"
                "<BodyDimension><b>2</b></BodyDimension></MocapActor>");
    actor.setBodyDimensionSettings(storeOf({{"c", "3"}}));
    EXPECT_EQ(actor.rootSettings()->valueList("BodyDimension").size(), 1U);
    EXPECT_THAT(actor.bodyDimensionSettings()->values(), ElementsAre(Pair("c", "3")));
}

TEST(Actor, ADimensionIsAnnouncedOnlyIfItIsStored) {
    for (const std::string name : {"", ".", "Arm.", "Arm.Left.", "Leg.", ".Left"}) {
        Actor actor;
        actor.setBodyDimension("Arm.Left", 0.5F);
        Announcements announcements(actor);
        actor.setBodyDimension(name, 1.8F);
        const bool isStored = actor.bodyDimensionSettings()->value(name, "") == "1.800000";
        EXPECT_EQ(announcements.taken().size(), isStored ? 1U : 0U) << name;
    }
}

TEST(Actor, ItsOwnDimensionsCanBeHandedBackToIt) {
    Actor actor;
    actor.setBodyDimension("Height", 1.8F);
    actor.setBodyDimension("Arm.Left", 0.6F);
    actor.setBodyDimensionSettings(actor.bodyDimensionSettings());
    EXPECT_THAT(actor.bodyDimensionSettings()->values(),
                ElementsAre(Pair("Arm", ""), Pair("Height", "1.800000")));
    actor.setBodyDimensionSettings(actor.bodyDimensionSettings()->subSettings("Arm"));
    EXPECT_THAT(actor.bodyDimensionSettings()->values(), ElementsAre(Pair("Left", "0.600000")));
}

TEST(Actor, DimensionsFromAroundTheGroupDoNotBringTheOldOnesAlong) {
    Actor actor;
    actor.setActorName("Ada");
    actor.setBodyDimension("Height", 1.8F);
    actor.setBodyDimensionSettings(actor.rootSettings());
    EXPECT_THAT(actor.bodyDimensionSettings()->values(), ElementsAre(Pair("ActorName", "Ada")));

    const std::shared_ptr<Settings> whole(&actor, [](Settings* /*actor*/) {});
    actor.setBodyDimensionSettings(whole);
    EXPECT_EQ(actor.bodyDimensionSettings()->value("MocapActor.ActorName", ""), "Ada");
    EXPECT_THAT(actor.bodyDimensionSettings()->subSettings("MocapActor.BodyDimension"), IsNull());
}

TEST(Actor, ItsOwnSensorMapCanBeHandedBackToIt) {
    Actor actor;
    load(actor, "<MocapActor><SensorMap><Hips>3</Hips></SensorMap></MocapActor>");
    actor.setSensorMapSettings(actor.sensorMapSettings());
    EXPECT_EQ(actor.value("SensorMap.Hips", "none"), "3");
    actor.setSensorMapSettings(actor.subSettings("SensorMap"));
    EXPECT_EQ(actor.value("SensorMap.Hips", "none"), "3");
}

TEST(Actor, ASensorMapFromAroundTheGroupDoesNotBringTheOldOneAlong) {
    Actor actor;
    load(actor, "<MocapActor><ActorName>Ada</ActorName><SensorMap><Hips>3</Hips></SensorMap>"
                "</MocapActor>");
    actor.setSensorMapSettings(actor.rootSettings());
    EXPECT_THAT(actor.subSettings("SensorMap")->values(), ElementsAre(Pair("ActorName", "Ada")));
}

TEST(Actor, TheFirstRootIsNotConnected) {
    Actor actor;
    const auto first = actor.rootSettings();
    ASSERT_THAT(first, NotNull());
    first->setValue("ActorName", "lost");
    EXPECT_EQ(actor.actorName(), "");
    actor.rootSettings()->setValue("ActorName", "kept");
    EXPECT_EQ(actor.actorName(), "kept");
    EXPECT_EQ(first->value("ActorName", ""), "lost");
}

TEST(Actor, TheFirstDimensionsAreNotConnected) {
    Actor actor;
    const auto first = actor.bodyDimensionSettings();
    first->setValue("Height", "1");
    EXPECT_EQ(actor.bodyDimension("Height", 2.5F), 2.5F);
    actor.bodyDimensionSettings()->setValue("Height", "3");
    EXPECT_EQ(actor.bodyDimension("Height", 2.5F), 3.0F);
    EXPECT_EQ(first->value("Height", ""), "1");
}

TEST(Actor, TheDimensionsAreLiveOnceTheGroupIsThere) {
    Actor actor;
    load(actor, "<MocapActor><BodyDimension/></MocapActor>");
    actor.bodyDimensionSettings()->setValue("Height", "3");
    EXPECT_EQ(actor.bodyDimension("Height", 0.0F), 3.0F);
}

TEST(Actor, ASensorMapThatIsNotThereIsNeverConnected) {
    Actor actor;
    for (int call = 0; call < 3; ++call) {
        const auto map = actor.sensorMapSettings();
        ASSERT_THAT(map, NotNull());
        EXPECT_THAT(map->values(), IsEmpty());
        map->setValue("Hips", "3");
        EXPECT_THAT(actor.sensorMap(), IsEmpty());
    }
    EXPECT_THAT(actor.subSettings("SensorMap")->values(), IsEmpty());
    EXPECT_THAT(actor.subSettings("MocapActor.SensorMap"), IsNull());
}

TEST(Actor, ASensorEntryOfANewActorIsAnnouncedButNotKept) {
    Actor actor;
    Announcements announcements(actor);
    actor.setSensorMap("Hips", 3);
    actor.setSensorMap("Hips", 3);
    EXPECT_THAT(announcements.taken(), ElementsAre("sensor: Hips 3", "sensor: Hips 3"));
    EXPECT_THAT(actor.sensorMap(), IsEmpty());
}

TEST(Actor, ASensorEntryIsAnnouncedUnlessItsNameCannotBe) {
    for (const bool isKept : {true, false}) {
        for (const std::string name : {"", ".", "Arm.", "Arm.Left.", "Leg.", ".Left"}) {
            Actor actor;
            if (isKept) {
                actor.setValue("MocapActor.SensorMap.Arm.Left", "1");
            }
            Settings group; // what a store makes of the name
            if (isKept) {
                group.setValue("Arm.Left", "1");
            }
            group.setValue(name, "7");
            Announcements announcements(actor);
            actor.setSensorMap(name, 7);
            const bool canBe = group.value(name, "") == "7";
            EXPECT_EQ(announcements.taken().size(), canBe ? 1U : 0U) << name;
            const bool isThere = actor.value("MocapActor.SensorMap." + name, "") == "7";
            EXPECT_EQ(isThere, isKept && canBe) << name;
        }
    }
}

TEST(Actor, ALoadedSensorMapIsReadAndWritten) {
    Actor actor;
    load(actor, "<MocapActor><SensorMap><Hips>3</Hips><Head>-1</Head></SensorMap></MocapActor>");
    EXPECT_THAT(actor.sensorMap(), ElementsAre(Pair("Head", -1), Pair("Hips", 3)));
    Announcements announcements(actor);
    actor.setSensorMap("Hips", -12);
    actor.setSensorMap("Neck", 7);
    EXPECT_THAT(actor.sensorMap(),
                ElementsAre(Pair("Head", -1), Pair("Hips", -12), Pair("Neck", 7)));
    EXPECT_THAT(announcements.taken(), ElementsAre("sensor: Hips -12", "sensor: Neck 7"));
    EXPECT_EQ(actor.value("MocapActor.SensorMap.Hips", ""), "-12");
    EXPECT_THAT(actor.subSettings("SensorMap"), IsNull());
}

TEST(Actor, ASensorMapMayBeMadeThroughTheSettings) {
    Actor actor;
    actor.setValue("MocapActor.SensorMap.Hips", "3");
    actor.setSensorMap("Head", 1);
    EXPECT_THAT(actor.sensorMap(), ElementsAre(Pair("Head", 1), Pair("Hips", 3)));
}

TEST(Actor, OfSensorEntriesOfOneNameTheLastIsRead) {
    Actor actor;
    load(actor, "<MocapActor><SensorMap><a>1</a><a>2</a></SensorMap></MocapActor>");
    EXPECT_THAT(actor.sensorMap(), ElementsAre(Pair("a", 2)));
}

TEST(Actor, ASensorMapIsPutWhereItIsNotRead) {
    Actor actor;
    load(actor, "<MocapActor><SensorMap><Hips>3</Hips></SensorMap><SensorMap/></MocapActor>");
    Announcements announcements(actor);
    const auto map = storeOf({{"Head", "1"}});
    actor.setSensorMapSettings(map);
    map->setValue("Head", "2");
    EXPECT_THAT(announcements.taken(), IsEmpty());
    EXPECT_EQ(actor.value("SensorMap.Head", "none"), "1");
    EXPECT_THAT(actor.subSettings("MocapActor.SensorMap"), IsNull());
    EXPECT_THAT(actor.sensorMap(), IsEmpty());
    EXPECT_THAT(actor.subSettings("SensorMap")->values(), IsEmpty()); // looking has emptied it
}

#ifndef NDEBUG

TEST(ActorDeathTest, EmptyPointersAreCaught) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Actor actor;
    EXPECT_DEATH(actor.setBodyDimensionSettings(nullptr), "settings");
    EXPECT_DEATH(actor.setSensorMapSettings(nullptr), "settings");
}

#endif
