// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Space.h>
#include <tarn_kit/solving/MarkerBody.h>

#include "kit/solving/SolvingTesting.h"

#include <gtest/gtest.h>

using namespace solving_testing;

namespace {

MarkerBody calibrated() {
    MarkerBody body = someBody();
    body.body.setLength("LeftUpLeg", 0.4321);
    body.body.setLength("HipsDepth", 0.00002);
    body.markers[3].offset = {0.0123456789, -0.2, 0.3};
    body.markers[3].uncertainty = 0.004;
    SkinShift shift;
    shift.joint = "LeftShoulder";
    shift.shift[0] = {0.01, 0, -0.02};
    shift.shift[2] = {0, 0.005, 0};
    body.markers[3].skin = {shift};
    body.usualTurns = {{"LeftHand", {1, 2, 3}, {4, 5.5, 6}}};
    body.usualTurns[0].share[1] = {0.1, 0.2, 0.3};
    body.uncertainties = {{"LeftUpLeg", 0.005}};
    return body;
}

} // namespace

TEST(MarkerBody, ComesBackFromTheActorsSavedDocument) {
    Actor actor;
    actor.setActorName("Anna");
    const MarkerBody body = calibrated();
    body.writeTo(actor);
    std::string document;
    ASSERT_TRUE(actor.saveSettingsToString(document));
    Actor loaded;
    ASSERT_TRUE(loaded.loadSettingsFromString(document));
    const MarkerBody back = MarkerBody::of(loaded);
    ASSERT_EQ(back.markers.size(), body.markers.size());
    EXPECT_EQ(loaded.actorName(), "Anna");
    for (std::size_t l = 0; l < body.body.lengths().size(); ++l) {
        EXPECT_NEAR(back.body.lengths()[l].metres, body.body.lengths()[l].metres, 1e-6);
    }
    for (std::size_t m = 0; m < body.markers.size(); ++m) {
        EXPECT_EQ(back.markers[m].name, body.markers[m].name);
        EXPECT_EQ(back.markers[m].segment, body.markers[m].segment);
        EXPECT_EQ(back.markers[m].turnsWithHand, body.markers[m].turnsWithHand);
        EXPECT_EQ(back.markers[m].offset, body.markers[m].offset);
        EXPECT_EQ(back.markers[m].spread, body.markers[m].spread);
        EXPECT_EQ(back.markers[m].skin.size(), m == 3 ? 1U : 0U);
    }
    EXPECT_EQ(back.markers[3].skin.at(0).joint, "LeftShoulder");
    EXPECT_EQ(back.markers[3].skin.at(0).shift.rows, body.markers[3].skin[0].shift.rows);
    EXPECT_EQ(back.markers[3].uncertainty, 0.004);
    ASSERT_EQ(back.usualTurns.size(), 1U);
    EXPECT_EQ(back.usualTurns[0].turn, (Vector3d{1, 2, 3}));
    EXPECT_EQ(back.usualTurns[0].spread, (Vector3d{4, 5.5, 6}));
    EXPECT_EQ(back.usualTurns[0].share.rows, body.usualTurns[0].share.rows);
    ASSERT_EQ(back.uncertainties.size(), 1U);
    EXPECT_EQ(back.uncertainties[0].metres, 0.005);
}

TEST(MarkerBody, IsTheActorsBodyDimensionsInMetres) {
    Actor actor;
    calibrated().writeTo(actor);
    EXPECT_FLOAT_EQ(actor.bodyDimension("LeftUpLeg", 0), 0.4321F);
    EXPECT_FLOAT_EQ(actor.bodyDimension("Height", 0), 1.70F);
    EXPECT_EQ(unitOfDimensions(actor)->symbol, "m");
    actor.setBodyDimension("LeftUpLeg", 0.5F);
    EXPECT_NEAR(MarkerBody::of(actor).body.joints()[7].offset.y, -0.5, 1e-6);
    convertDimensions(actor, *lengthUnitNamed("cm"));
    EXPECT_FLOAT_EQ(actor.bodyDimension("LeftUpLeg", 0), 50);
    EXPECT_NEAR(MarkerBody::of(actor).body.joints()[7].offset.y, -0.5, 1e-6);
}

TEST(MarkerBody, ReplacesWhatTheActorSaidBefore) {
    Actor actor;
    calibrated().writeTo(actor);
    someBody("gait16").writeTo(actor);
    EXPECT_EQ(MarkerBody::of(actor).markers.size(), 16U);
}

TEST(MarkerBody, SaysWhatIsWrongWithAnActor) {
    const auto reasonFor = [](const std::string& path, const std::string& value) {
        Actor actor;
        calibrated().writeTo(actor);
        actor.setValue(path, value);
        try {
            MarkerBody::of(actor);
        } catch (const MarkerBodyError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_THROW(MarkerBody::of(Actor()), MarkerBodyError);
    EXPECT_NE(reasonFor("MarkerBody.Markers.LKNE.Offset", "1 2").find("LKNE"), std::string::npos);
    EXPECT_NE(reasonFor("MarkerBody.Markers.LKNE.Offset", "1 2 x").find("LKNE"), std::string::npos);
    EXPECT_NE(reasonFor("MarkerBody.Markers.LKNE.Segment", "Tail").find("Tail"), std::string::npos);
    EXPECT_NE(reasonFor("MarkerBody.Markers.LKNE.Spread", "0").find("Spread"), std::string::npos);
    EXPECT_NE(reasonFor("MarkerBody.Markers.LKNE.Skin.LeftLeg.Y", "1 2 nan").find("LeftLeg: Y"),
              std::string::npos);
    EXPECT_NE(reasonFor("MarkerBody.UsualSpreads.LeftHand", "1 0 1").find("LeftHand"),
              std::string::npos);
    EXPECT_NE(reasonFor("MarkerBody.SharedTurns.LeftHand.X", "1").find("LeftHand"),
              std::string::npos);
    EXPECT_NE(reasonFor("MocapActor.BodyDimension.Height", "9").find("height"), std::string::npos);
    EXPECT_NE(reasonFor("MocapActor.BodyDimension.LeftArm", "long").find("LeftArm"),
              std::string::npos);
}

TEST(MarkerBody, OfASetGrowsWithTheBody) {
    const MarkerSet set = MarkerSet::load("cmu41");
    const MarkerBody small = MarkerBody::generic(set, 1);
    const MarkerBody large = MarkerBody::generic(set, 2);
    for (std::size_t m = 0; m < small.markers.size(); ++m) {
        EXPECT_NEAR(lengthOf(large.markers[m].offset), 2 * lengthOf(small.markers[m].offset), 1e-9);
    }
    EXPECT_TRUE(small.markers[static_cast<std::size_t>(set.markerOf("LWRA"))].turnsWithHand);
    EXPECT_FALSE(small.markers[static_cast<std::size_t>(set.markerOf("LFRM"))].turnsWithHand);
}

TEST(MarkerBody, RefusesAHeightOrASegmentThatNobodyHas) {
    MarkerSet set = MarkerSet::load("gait16");
    EXPECT_THROW(MarkerBody::generic(set, 9), std::invalid_argument);
    set.markers[0].segment = "Tail";
    EXPECT_THROW(MarkerBody::generic(set), std::invalid_argument);
}
