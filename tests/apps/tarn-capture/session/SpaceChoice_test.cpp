// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/SessionTest.h"
#include "support/Images.h"

#include <gmock/gmock.h>
#include <tarn/Actor.h>

#include <string>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;

class SpaceChoice : public SessionTest {};

TEST_F(SpaceChoice, IsSaidInAllDocumentsOfASession) {
    ASSERT_EQ(
        run({writeTake("take.bvh", 2)}, {"--unit", "in", "--up", "z", "--scale", "2"}).exitCode, 0);
    EXPECT_EQ(session("Session.Unit"), "in");
    EXPECT_EQ(session("Session.UnitIs"), "as given");
    EXPECT_EQ(session("Session.Up"), "Z");
    EXPECT_EQ(session("Session.UpIs"), "as given");
    Actor actor;
    ASSERT_TRUE(actor.loadSettingsFromFile(output("take.actor.xml")));
    EXPECT_EQ(actor.rootSettings()->value("LengthUnit", ""), "in");
    EXPECT_FLOAT_EQ(actor.bodyDimension("Height", 0), 3.5F);
    EXPECT_THAT(readFile(output("take.csv")), HasSubstr("Hips.y [in],Hips.z [in] up,"));
}

TEST_F(SpaceChoice, ConvertsTheActorThatASessionBeginsWith) {
    writeFile(directory_ / "ada.xml", "<MocapActor><LengthUnit>m</LengthUnit><BodyDimension><Shoe>"
                                      "0.3</Shoe></BodyDimension></MocapActor>");
    ASSERT_EQ(run({writeTake("take.bvh", 2)}, {"--scale", "100", "--actor", directory_ / "ada.xml"})
                  .exitCode,
              0);
    Actor actor;
    ASSERT_TRUE(actor.loadSettingsFromFile(output("take.actor.xml")));
    EXPECT_EQ(actor.rootSettings()->value("LengthUnit", ""), "cm");
    EXPECT_NEAR(actor.bodyDimension("Shoe", 0), 30, 1e-3);
    EXPECT_NEAR(actor.bodyDimension("Height", 0), 175, 1e-3);
}

/// The same motion with Z up, by hand: (x, y, z) is (z, x, y) of the one with Y up.
std::string standing(bool zUp) {
    const auto offset = [zUp](const std::string& up) {
        return zUp ? "OFFSET 0 0 " + up : "OFFSET 0 " + up + " 0";
    };
    const std::string channels =
        zUp ? "Yposition Zposition Xposition" : "Xposition Yposition Zposition";
    return "HIERARCHY\nROOT Hips\n{\n" + offset("0.9") + "\nCHANNELS 3 " + channels +
           "\nJOINT Head\n{\n" + offset("0.8") + "\nCHANNELS 0\n}\nJOINT LeftFoot\n{\n" +
           offset("-0.9") + "\nCHANNELS 0\n}\n}\nMOTION\nFrames: 2\nFrame Time: 0.04\n" +
           "0 0 0\n0.5 0 0\n";
}

TEST_F(SpaceChoice, IsGuessedSoThatATakeWithZUpIsDrawnStanding) {
    const auto drawn = [this](const std::string& name, const std::string& text,
                              const Arguments& more) {
        writeFile(directory_ / "take.bvh", text);
        Arguments arguments{"play", directory_ / "take.bvh", "--out", directory_ / name};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(capture(arguments).exitCode, 0);
        return Image(directory_ / (name + "/poses.png"));
    };
    // The upper part of the page, above the ground plan, whose axes have the names of the take.
    const auto figuresOf = [](const Image& image) {
        std::vector<Rgb> pixels;
        for (int y = 0; y < 500; y += 3) {
            for (int x = 0; x < image.width(); x += 3) {
                pixels.push_back(image.at(x, y));
            }
        }
        return pixels;
    };
    const auto upright = figuresOf(drawn("y", standing(false), {}));
    EXPECT_EQ(figuresOf(drawn("z", standing(true), {})), upright);
    EXPECT_EQ(figuresOf(drawn("given", standing(true), {"--up", "z"})), upright);
    EXPECT_NE(figuresOf(drawn("lying", standing(true), {"--up", "y"})), upright);
}

} // namespace
} // namespace tarn::tests
