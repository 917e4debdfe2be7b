// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Actor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

using tarn::Actor;
using tarn::Settings;
using testing::ElementsAre;
using testing::Pair;

namespace {

/// The elements of the document that an actor saves after `history`.
std::string savedAfter(const std::function<void(Actor&)>& history) {
    Actor actor;
    history(actor);
    std::string text;
    EXPECT_TRUE(actor.saveSettingsToString(text));
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    EXPECT_EQ(text.rfind(declaration, 0), 0U);
    return text.substr(declaration.size());
}

} // namespace

TEST(ActorDocuments, ANewActorSavesNothing) {
    EXPECT_EQ(savedAfter([](Actor&) {}), "");
}

TEST(ActorDocuments, LookingCreatesTheGroupsItLooksInto) {
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.rootSettings(); }), "<MocapActor/>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.actorName(); }), "<MocapActor/>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.bodyDimension("Height", 1.0F); }),
              "<MocapActor>\n\t<BodyDimension/>\n</MocapActor>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.bodyDimensionSettings(); }),
              "<MocapActor>\n\t<BodyDimension/>\n</MocapActor>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.sensorMap(); }), "<MocapActor/>\n<SensorMap/>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.sensorMapSettings(); }),
              "<MocapActor/>\n<SensorMap/>\n");
}

TEST(ActorDocuments, SettersThatStoreNothingStillLook) {
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.setActorName(""); }), "<MocapActor/>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.setBodyDimension("Height", 0.00005F); }),
              "<MocapActor>\n\t<BodyDimension/>\n</MocapActor>\n");
    EXPECT_EQ(savedAfter([](Actor& actor) { actor.setSensorMap("Hips", 3); }),
              "<MocapActor/>\n<SensorMap/>\n");
}

TEST(ActorDocuments, NameAndDimensionsAreSavedUnderTheRoot) {
    EXPECT_EQ(savedAfter([](Actor& actor) {
                  actor.setActorName("Anna <B>");
                  actor.setBodyDimension("Height", 1.8F);
                  actor.setBodyDimension("Arm.Left", 0.25F);
                  actor.setBodyDimension("Height", 1.75F);
              }),
              "<MocapActor>\n"
              "\t<ActorName>Anna &lt;B&gt;</ActorName>\n"
              "\t<BodyDimension>\n"
              "\t\t<Height>1.750000</Height>\n"
              "\t\t<Arm>\n"
              "\t\t\t<Left>0.250000</Left>\n"
              "\t\t</Arm>\n"
              "\t</BodyDimension>\n"
              "</MocapActor>\n");
}

TEST(ActorDocuments, ReplacedDimensionsMoveToTheEnd) {
    EXPECT_EQ(savedAfter([](Actor& actor) {
                  actor.setBodyDimension("Height", 1.8F);
                  actor.setActorName("Anna");
                  const auto dimensions = std::make_shared<Settings>();
                  dimensions->setValue("Arm", "0.6");
                  actor.setBodyDimensionSettings(dimensions);
              }),
              "<MocapActor>\n"
              "\t<ActorName>Anna</ActorName>\n"
              "\t<BodyDimension>\n"
              "\t\t<Arm>0.6</Arm>\n"
              "\t</BodyDimension>\n"
              "</MocapActor>\n");
}

TEST(ActorDocuments, ReplacedDimensionsOfANewActorAreKept) {
    EXPECT_EQ(savedAfter([](Actor& actor) {
                  actor.setBodyDimensionSettings(std::make_shared<Settings>());
              }),
              "<MocapActor>\n\t<BodyDimension/>\n</MocapActor>\n");
}

TEST(ActorDocuments, ASensorMapIsSavedBesideTheRoot) {
    const auto put = [](Actor& actor) {
        const auto map = std::make_shared<Settings>();
        map->setValue("Hips", "3");
        actor.setSensorMapSettings(map);
    };
    EXPECT_EQ(savedAfter(put), "<MocapActor/>\n<SensorMap>\n\t<Hips>3</Hips>\n</SensorMap>\n");
    EXPECT_EQ(savedAfter([&put](Actor& actor) {
                  put(actor);
                  actor.setSensorMap("Head", 1); // finds no map at the root and makes an empty one
              }),
              "<MocapActor/>\n<SensorMap/>\n");
    EXPECT_EQ(savedAfter([&put](Actor& actor) {
                  actor.addValue("SensorMap", "first");
                  actor.addValue("SensorMap", "second");
                  put(actor); // replaces the first of the name
              }),
              "<SensorMap>\n\t<Hips>3</Hips>\n</SensorMap>\n<SensorMap>second</SensorMap>\n"
              "<MocapActor/>\n");
}

TEST(ActorDocuments, ALoadedSensorMapIsUpdatedInPlace) {
    EXPECT_EQ(savedAfter([](Actor& actor) {
                  EXPECT_TRUE(actor.loadSettingsFromString(
                      "<MocapActor><SensorMap><Hips>3</Hips><Head>4</Head></SensorMap>"
                      "<ActorName>Anna</ActorName></MocapActor>"));
                  actor.setSensorMap("Hips", 5);
                  actor.setSensorMap("Neck", -6);
                  actor.setActorName("Bea");
              }),
              "<MocapActor>\n"
              "\t<SensorMap>\n"
              "\t\t<Hips>5</Hips>\n"
              "\t\t<Head>4</Head>\n"
              "\t\t<Neck>-6</Neck>\n"
              "\t</SensorMap>\n"
              "\t<ActorName>Bea</ActorName>\n"
              "</MocapActor>\n");
}

TEST(ActorDocuments, WhatIsSavedIsLoadedAgain) {
    Actor actor;
    actor.setActorName("Größe");
    actor.setBodyDimension("Height", 1.8F);
    std::string text;
    ASSERT_TRUE(actor.saveSettingsToString(text));
    Actor other;
    other.setActorName("Gone");
    ASSERT_TRUE(other.loadSettingsFromString(text));
    EXPECT_EQ(other.actorName(), "Größe");
    EXPECT_EQ(other.bodyDimension("Height", 0.0F), 1.8F);
    EXPECT_THAT(other.bodyDimensionSettings()->values(), ElementsAre(Pair("Height", "1.800000")));
}

TEST(ActorDocuments, ALoadTakesTheOldGroupsAway) {
    Actor actor;
    actor.setActorName("Anna");
    ASSERT_TRUE(actor.loadSettingsFromString("<Other/>"));
    EXPECT_EQ(actor.actorName(), "");
    EXPECT_THAT(actor.values(), ElementsAre(Pair("MocapActor", ""), Pair("Other", "")));
}
