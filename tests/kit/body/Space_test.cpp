// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Space.h>

#include <tarn_kit/body/Rig.h>

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>

namespace tarn::kit {
namespace {

/// A body of that height whose rest pose stands along an axis, to one of its sides.
Rig& build(Rig& rig, UpAxis up, float height, float sign = 1) {
    const auto along = [&](float length) {
        std::array<float, 3> offset{};
        offset.at(static_cast<std::size_t>(up)) = sign * length;
        return Vector3f{offset[0], offset[1], offset[2]};
    };
    const int hips = rig.addJoint("Hips", -1, {}, {});
    const int spine = rig.addJoint("Spine", hips, along(height / 4), {});
    rig.addJoint("Head", spine, along(height / 4), {});
    rig.addJoint("lfoot", hips, along(-height / 2), {});
    rig.addJoint("rfoot", hips, along(-height / 2), {});
    return rig;
}

TEST(Space, IsOfAnUnknownUnitWithYUpUntilItIsSaid) {
    const Space space;
    EXPECT_FALSE(space.unit.known());
    EXPECT_EQ(space.up, UpAxis::Y);
    EXPECT_EQ(space.unitOrigin, Origin::Guessed);
    EXPECT_EQ(spaceText(space), "unit, Y up");
}

TEST(Space, NamesAndReadsAxes) {
    EXPECT_EQ(axisName(UpAxis::X), "X");
    EXPECT_EQ(axisName(UpAxis::Z), "Z");
    EXPECT_EQ(parseUpAxis("z"), UpAxis::Z);
    EXPECT_EQ(parseUpAxis("Y"), UpAxis::Y);
    EXPECT_EQ(parseUpAxis("w"), std::nullopt);
    EXPECT_EQ(parseUpAxis(""), std::nullopt);
    EXPECT_EQ(parseUpAxis("zz"), std::nullopt);
}

TEST(Space, SaysWhereSomethingComesFrom) {
    EXPECT_EQ(originText(Origin::Guessed), "guessed");
    EXPECT_EQ(originText(Origin::Stated), "as stated");
    EXPECT_EQ(originText(Origin::Given), "as given");
}

TEST(Space, IsGuessedByTheAxisAlongWhichTheRestPoseStands) {
    for (const UpAxis up : {UpAxis::X, UpAxis::Y, UpAxis::Z}) {
        for (const float sign : {1.0F, -1.0F}) {
            Rig rig;
            const Space space = guessSpace(build(rig, up, 180, sign));
            EXPECT_EQ(space.up, up);
            EXPECT_EQ(space.unit.symbol, "cm");
            EXPECT_EQ(space.upOrigin, Origin::Guessed);
            EXPECT_EQ(space.unitOrigin, Origin::Guessed);
        }
    }
}

TEST(Space, IsGuessedToHaveYUpWhereNamesOrPoseDoNotTell) {
    Rig unnamed;
    unnamed.addJoint("a", -1, {}, {});
    unnamed.addJoint("b", 0, {0, 0, 180}, {});
    EXPECT_EQ(guessSpace(unnamed).up, UpAxis::Y);
    Rig slanted;
    slanted.addJoint("Hips", -1, {}, {});
    slanted.addJoint("Head", 0, {0, 100, 100}, {});
    EXPECT_EQ(guessSpace(slanted).up, UpAxis::Y);
    EXPECT_EQ(guessSpace(Rig()).up, UpAxis::Y);
}

TEST(Space, IsContraryToAnotherOnlyWhereNeitherIsGuessed) {
    Space metres;
    metres.unit = *lengthUnitNamed("m");
    Space inches;
    inches.unit = *lengthUnitNamed("in");
    inches.up = UpAxis::Z;
    EXPECT_FALSE(areContrary(metres, inches));
    metres.unitOrigin = Origin::Given;
    EXPECT_FALSE(areContrary(metres, inches));
    inches.unitOrigin = Origin::Stated;
    EXPECT_TRUE(areContrary(metres, inches));
    EXPECT_FALSE(areContrary(metres, metres));
    inches.unit = metres.unit;
    EXPECT_FALSE(areContrary(metres, inches));
    metres.upOrigin = inches.upOrigin = Origin::Given;
    EXPECT_TRUE(areContrary(metres, inches));
}

TEST(UnitOfDimensions, IsKeptWithTheActorsSettings) {
    Actor actor;
    EXPECT_EQ(unitOfDimensions(actor), std::nullopt);
    actor.setBodyDimension("Height", 1.7F);
    stateUnitOfDimensions(actor, *lengthUnitNamed("m"));
    std::string text;
    ASSERT_TRUE(actor.saveSettingsToString(text));
    EXPECT_NE(text.find("\t<LengthUnit>m</LengthUnit>"), std::string::npos) << text;
    Actor loaded;
    ASSERT_TRUE(loaded.loadSettingsFromString(text));
    ASSERT_TRUE(unitOfDimensions(loaded));
    EXPECT_EQ(unitOfDimensions(loaded)->symbol, "m");
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Height", 0), 1.7F);
    stateUnitOfDimensions(loaded, {"unit", ""});
    EXPECT_EQ(unitOfDimensions(loaded), std::nullopt);
}

TEST(UnitOfDimensions, IsNoneWhereTheSettingsSayWhatIsNoUnit) {
    Actor actor;
    ASSERT_TRUE(
        actor.loadSettingsFromString("<MocapActor><LengthUnit>cubits</LengthUnit></MocapActor>"));
    EXPECT_EQ(unitOfDimensions(actor), std::nullopt);
}

TEST(ConvertDimensions, LeavesWhatIsNoNumber) {
    Actor actor;
    ASSERT_TRUE(actor.loadSettingsFromString(
        "<MocapActor><LengthUnit>m</LengthUnit><BodyDimension><Height>tall</Height><Arm>0.5</Arm>"
        "</BodyDimension></MocapActor>"));
    convertDimensions(actor, *lengthUnitNamed("mm"));
    EXPECT_EQ(actor.bodyDimensionSettings()->value("Height", ""), "tall");
    EXPECT_EQ(actor.bodyDimensionSettings()->value("Arm", ""), "500.000000");
}

TEST(ConvertDimensions, TurnsThoseThatAreThereIntoTheNewUnit) {
    Actor actor;
    actor.setBodyDimension("Height", 1.75F);
    actor.setBodyDimension("LeftUpLeg", 0.4F);
    convertDimensions(actor, *lengthUnitNamed("m")); // said for the first time: nothing to convert
    EXPECT_FLOAT_EQ(actor.bodyDimension("Height", 0), 1.75F);
    convertDimensions(actor, *lengthUnitNamed("cm"));
    EXPECT_NEAR(actor.bodyDimension("Height", 0), 175, 1e-4);
    EXPECT_NEAR(actor.bodyDimension("LeftUpLeg", 0), 40, 1e-4);
    EXPECT_EQ(unitOfDimensions(actor)->symbol, "cm");
}

TEST(Space, PositionsAndRotationsComeToStandUprightByATurn) {
    const Vector3f at = {1, 2, 3};
    const Vector3f fromZ = upright(at, UpAxis::Z);
    EXPECT_EQ(fromZ.x, 2);
    EXPECT_EQ(fromZ.y, 3);
    EXPECT_EQ(fromZ.z, 1);
    const Vector3f fromX = upright(at, UpAxis::X);
    EXPECT_EQ(fromX.x, 3);
    EXPECT_EQ(fromX.y, 1);
    EXPECT_EQ(fromX.z, 2);
    EXPECT_EQ(upright(at, UpAxis::Y).x, 1);
    const Quaternionf turn = upright(Quaternionf{0.1F, 0.2F, 0.3F, 0.9F}, UpAxis::Z);
    EXPECT_EQ(turn.y, 0.3F);
    EXPECT_EQ(turn.w, 0.9F);
}

TEST(Space, TheTurnThatBringsUprightDoesWhatItDoesToPositionsAndRotations) {
    const Vector3d at = {1, 2, 3};
    const Quaterniond rotation = fromAxisAngle({1, 2, -1}, 0.7);
    for (const UpAxis up : {UpAxis::X, UpAxis::Y, UpAxis::Z}) {
        const Quaterniond turn = uprightTurn(up);
        EXPECT_LT(lengthOf(upright(at, up) - turn * at), 1e-12) << axisName(up);
        const Vector3d turned = upright(rotation, up) * upright(at, up);
        EXPECT_LT(lengthOf(turned - turn * (rotation * at)), 1e-12) << axisName(up);
        EXPECT_EQ(toSingle(upright(at, up)).x, upright(toSingle(at), up).x) << axisName(up);
    }
}

} // namespace
} // namespace tarn::kit
