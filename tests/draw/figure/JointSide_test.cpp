// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/figure/JointSide.h>

#include <gtest/gtest.h>

namespace tarn::draw {
namespace {

TEST(SideOf, IsGivenByTheNameOfTheJoint) {
    for (const char* const name : {"LeftLeg", "left_leg", "LEFTLEG", "lLeg", "LLeg", "L_Leg",
                                   "Leg_L", "leg.l", "leg_left", "body:LeftLeg", "a:b:lLeg"}) {
        EXPECT_EQ(sideOf(name), Side::left) << name;
    }
    for (const char* const name :
         {"RightLeg", "right_leg", "rLeg", "RLeg", "R_Leg", "Leg_R", "leg.r", "rig:hand_right"}) {
        EXPECT_EQ(sideOf(name), Side::right) << name;
    }
}

TEST(SideOf, IsTheCentreWhereALetterIsPartOfAWord) {
    for (const char* const name : {"Heel", "Skull", "heel", "Lumbar", "lowerback", "cleft", "Al",
                                   "l", "L", "Root", "Collar", "Shoulder", "rib", "", ":"}) {
        EXPECT_EQ(sideOf(name), Side::centre) << name;
    }
}

TEST(SideOf, CountsLettersOfTwoToFourBytesAsPartsOfWords) {
    for (const char* const name :
         {"l\xC3\xA8vre", "Ma\xC3\xAFl", "\xE5\xB7\xA6l", "L\xE6\x89\x8B", "\xF0\xA0\xAE\xB7l",
          "l\xF0\xA0\xAE\xB7", "Arm\xE6\x89\x8B", "Arm\xF0\xA0\xAE\xB7", "\xE5\xB7\xA6"}) {
        EXPECT_EQ(sideOf(name), Side::centre) << name;
    }
    EXPECT_EQ(sideOf("L_\xE6\x89\x8B"), Side::left);
    EXPECT_EQ(sideOf("\xE6\x89\x8B_r"), Side::right);
    EXPECT_EQ(sideOf("Left\xF0\xA0\xAE\xB7"), Side::left);
}

TEST(ColourOf, IsOneForEachSide) {
    EXPECT_EQ(colourOf(Side::left).blue, colours::left.blue);
    EXPECT_EQ(colourOf(Side::right).red, colours::right.red);
    EXPECT_EQ(colourOf(Side::centre).green, colours::ink.green);
}

} // namespace
} // namespace tarn::draw
