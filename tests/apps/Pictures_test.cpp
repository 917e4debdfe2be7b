// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"
#include "apps/support/Xml.h"
#include "support/Images.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Draws takes and looks at the pictures: 1800 pixels wide, figures in rows of four under the line
/// with the legend, then the path.
class Pictures : public ::testing::Test {
protected:
    void draw(const std::string& text) const {
        writeFile(directory_ / "take.bvh", text);
        drawFile(directory_ / "take.bvh");
    }
    void draw(const TakeText& take) const { draw(take.text()); }
    void drawFile(const std::string& file) const {
        const Outcome outcome = capture({"play", file, "--out", directory_.path().string()});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    }
    Image png() const { return Image(directory_ / "poses.png"); }
    std::string svg() const { return readFile(directory_ / "poses.svg"); }

    /// Both pictures are whole and show more than white.
    void expectPictures() const {
        const Image image = png();
        ASSERT_TRUE(image.valid());
        EXPECT_EQ(image.width(), 1800);
        EXPECT_FALSE(image.isBlank({0, 0, image.width(), image.height()}));
        EXPECT_THAT(svg(), StartsWith("<?xml"));
        EXPECT_EQ(xmlError(svg()), "");
    }

    const TempDirectory directory_;
};

constexpr int belowLegend = 240;
constexpr int cellWidth = 420;
constexpr int margin = 60;

/// The cell of a figure of the first row.
Region cell(int column) {
    return {margin + column * cellWidth, belowLegend, margin + (column + 1) * cellWidth, 745};
}

Region whole(const Image& image) { return {0, belowLegend, image.width(), image.height()}; }

TEST_F(Pictures, ShowTheSampleTakes) {
    for (const char* name : {"cmu_131_01_walk", "cmu_60_12_salsa_a", "cmu_61_12_salsa_b"}) {
        drawFile(sampleTake(name));
        expectPictures();
        EXPECT_GT(readFile(directory_ / "poses.png").size(), 50'000U);
        EXPECT_THAT(svg(), HasSubstr("<title>" + std::string(name) + "</title>"));
    }
}

TEST_F(Pictures, HaveAWhiteMargin) {
    drawFile(sampleTake("cmu_131_01_walk"));
    const Image image = png();
    EXPECT_TRUE(image.isBlank({0, 0, image.width(), 40}));
    EXPECT_TRUE(image.isBlank({0, 0, 40, image.height()}));
    EXPECT_TRUE(image.isBlank({image.width() - 40, 0, image.width(), image.height()}));
    EXPECT_TRUE(image.isBlank({0, image.height() - 40, image.width(), image.height()}));
}

TEST_F(Pictures, SayInTextWhatTheyShow) {
    TakeText take;
    take.rootPositions.assign(50, "0 0 0");
    draw(take);
    EXPECT_THAT(svg(), HasSubstr("<title>take</title>"));
    EXPECT_THAT(svg(), HasSubstr("<desc>50 frames at 25 per second, 2.000 s; 4 joints; body height "
                                 "1.75 m\n"
                                 "Pose 1: frame 0, 0.000 s\n"
                                 "Pose 2: frame 7, 0.280 s\n"
                                 "Pose 3: frame 14, 0.560 s\n"
                                 "Pose 4: frame 21, 0.840 s\n"
                                 "Pose 5: frame 28, 1.120 s\n"
                                 "Pose 6: frame 35, 1.400 s\n"
                                 "Pose 7: frame 42, 1.680 s\n"
                                 "Pose 8: frame 49, 1.960 s\n"
                                 "Guessed: Y is up\n"
                                 "Guessed: lengths are in metres: the body is 1.75 high</desc>"));
}

TEST_F(Pictures, AreEquallyLarge) {
    draw(TakeText());
    EXPECT_THAT(svg(),
                HasSubstr("width=\"1800px\" height=\"" + std::to_string(png().height()) + "px\""));
}

TEST_F(Pictures, ShowAFigurePerInstant) {
    draw(TakeText()); // three frames
    const Image image = png();
    for (int column = 0; column < 4; ++column) {
        const bool drawn = column < 3;
        EXPECT_EQ(image.find(leftColour, cell(column)).pixels > 100, drawn) << column;
        EXPECT_EQ(image.find(rightColour, cell(column)).pixels > 100, drawn) << column;
    }
}

TEST_F(Pictures, TellLeftFromRightByTheNamesOfTheJoints) {
    const auto countLeft = [this](const std::string& name) {
        std::string text = TakeText().text();
        text.replace(text.find("LeftLeg"), 7, name);
        draw(text);
        const Image image = png();
        return image.find(leftColour, whole(image)).pixels;
    };
    for (const char* name : {"LeftLeg", "left_leg", "lLeg", "LLeg", "L_Leg", "Leg_L", "leg.l",
                             "leg_left", "body:LeftLeg"}) {
        EXPECT_GT(countLeft(name), 300) << name;
    }
    for (const char* name :
         {"Leg", "leg", "Lumbar", "lowerback", "rLeg", "cleft", "l", "L", "Al"}) {
        EXPECT_EQ(countLeft(name), 0) << name;
    }
}

TEST_F(Pictures, GiveAJointWithoutASideThatOfItsParent) {
    std::string text = TakeText().text();
    const std::size_t leg = text.find("LeftLeg");
    text.insert(text.find('}', leg), "JOINT foot\n{\nOFFSET 0 0 0.3\nCHANNELS 0\n}\n");
    draw(TakeText());
    const int without = png().find(leftColour, cell(0)).pixels;
    draw(text);
    EXPECT_GT(png().find(leftColour, cell(0)).pixels, without + 100);
}

TEST_F(Pictures, ShowAJumpToTheScaleOfTheFigures) {
    TakeText take;
    take.rootPositions = {"0 0 0", "0 0 0", "0 0.5 0"}; // a jump
    draw(take);
    const Image image = png();
    const auto feet = [&image](int column) { return image.find(rightColour, cell(column)).bottom; };
    EXPECT_EQ(feet(0), feet(1));
    // To one scale: the figure is 1.75 m high, and the jump goes 0.5 m up.
    const Patch leg = image.find(rightColour, cell(0));
    const double pixelsPerMetre = (leg.bottom - leg.top) / 0.85;
    EXPECT_NEAR(feet(0) - feet(2), 0.5 * pixelsPerMetre, 25);
}

/// The markers of a straight way along a vector.
struct Markers {
    Patch start, end;
};

TEST_F(Pictures, ShowThePathAsSeenFromAbove) {
    const auto markersOf = [this](const std::string& destination) {
        TakeText take;
        take.rootPositions = {"0 0 0", destination};
        draw(take);
        const Image image = png();
        return Markers{image.find(startColour, whole(image)), image.find(endColour, whole(image))};
    };
    // Seen from above, with X to the right, Z points down...
    Markers markers = markersOf("4 0 1");
    EXPECT_GT(markers.end.middleX(), markers.start.middleX() + 500);
    EXPECT_GT(markers.end.middleY(), markers.start.middleY() + 100);
    markers = markersOf("-4 0 1");
    EXPECT_LT(markers.end.middleX(), markers.start.middleX() - 500);
    EXPECT_GT(markers.end.middleY(), markers.start.middleY() + 100);
    // ... and with Z to the right, X points up.
    markers = markersOf("1 0 4");
    EXPECT_GT(markers.end.middleX(), markers.start.middleX() + 500);
    EXPECT_LT(markers.end.middleY(), markers.start.middleY() - 100);
}

TEST_F(Pictures, ShowThePathToOneScaleInBothDirections) {
    TakeText take;
    take.rootPositions = {"0 0 0", "4 0 1"};
    draw(take);
    const Image image = png();
    const Patch start = image.find(startColour, whole(image));
    const Patch end = image.find(endColour, whole(image));
    const double across = end.middleY() - start.middleY();
    EXPECT_NEAR(end.middleX() - start.middleX(), 4 * across, 4);
}

TEST_F(Pictures, DoNotBlowUpASmallMove) {
    TakeText take;
    take.rootPositions = {"0 0 0", "0.001 0 0"};
    draw(take);
    const Image image = png();
    const Patch start = image.find(startColour, whole(image));
    const Patch end = image.find(endColour, whole(image));
    EXPECT_NEAR(end.middleX(), start.middleX(), 5);
}

TEST_F(Pictures, EscapeNamesInTheirTitle) {
    const std::string file = directory_ / "<a & \xFF\x01>.bvh";
    writeFile(file, TakeText().text());
    drawFile(file);
    expectPictures();
    EXPECT_THAT(svg(), HasSubstr("<title>&lt;a &amp; \xEF\xBF\xBD\xEF\xBF\xBD&gt;</title>"));
}

TEST_F(Pictures, CutNamesThatAreTooLong) {
    TakeText take;
    take.root = std::string(1000, 'W'); // as long as the reader takes
    const std::string file = directory_ / (std::string(200, 'W') + ".bvh");
    writeFile(file, take.text());
    drawFile(file);
    expectPictures();
    EXPECT_TRUE(png().isBlank({1750, 0, 1800, png().height()}));
}

TEST_F(Pictures, ShowBodiesWhoseNamesAreNoText) {
    TakeText take;
    take.root = "Hi\xFF\x01ps";
    draw(take);
    expectPictures();
    EXPECT_GT(png().find(leftColour, cell(0)).pixels, 300);
}

TEST_F(Pictures, ShowBodiesThatAreHardlyAnyAsADot) {
    const std::string point =
        "HIERARCHY\nROOT P\n{\nOFFSET 0 0 0\nCHANNELS 1 Xposition\n}\nMOTION\n";
    for (const char* const motion :
         {"Frames: 2\nFrame Time: 0.04\n0\n0\n", "Frames: 0\nFrame Time: 0.04\n",
          "Frames: 2\nFrame Time: 0.04\n1e-40\n-1e-40\n"}) {
        draw(point + motion);
        expectPictures();
        const Patch dot = png().find(pathColour, cell(0));
        EXPECT_NEAR(dot.right - dot.left, 11, 2) << motion;
        EXPECT_GT(png().find(startColour, whole(png())).pixels, 100) << motion;
    }
}

TEST_F(Pictures, ShowALongChainFromEndToEnd) {
    draw(chainTake(5000));
    expectPictures();
    const Image image = png();
    const Region figure{margin, belowLegend, margin + cellWidth, 745};
    EXPECT_FALSE(image.isBlank(figure));
    EXPECT_GT(image.find(pathColour, figure).pixels, 60); // its root
}

TEST_F(Pictures, KeepTheirAxesWhereNumbersAreTooLarge) {
    const std::string joint =
        "{\nOFFSET 3e38 3e38 3e38\nCHANNELS 3 Xposition Yposition Zposition\n";
    draw("HIERARCHY\nROOT Head\n" + joint + "JOINT B\n" + joint + "JOINT C\n" + joint +
         "}\n}\n}\nMOTION\nFrames: 3\nFrame Time: 1\n0 0 0 0 0 0 0 0 0\n"
         "3e38 3e38 3e38 3e38 3e38 3e38 0 0 0\n-3e38 -3e38 -3e38 0 0 0 0 0 0\n");
    expectPictures();
    const Image image = png();
    EXPECT_GT(image.find(noteColour, {100, image.height() - 500, 165, image.height()}).pixels, 3);
    EXPECT_TRUE(image.isBlank({0, 0, 40, image.height()}));
}

TEST_F(Pictures, ShowEveryRootOfATake) {
    const auto legs = [](const std::string& name, const std::string& x) {
        return "ROOT " + name + "\n{\nOFFSET " + x +
               " 1 0\nCHANNELS 0\nJOINT LeftLeg\n{\nOFFSET 0 -1 0\nCHANNELS 1 Xrotation\n}\n}\n";
    };
    const std::string motion = "MOTION\nFrames: 1\nFrame Time: 0.04\n";
    draw("HIERARCHY\n" + legs("A", "0") + motion + "0\n");
    const int one = png().find(leftColour, cell(0)).pixels;
    draw("HIERARCHY\n" + legs("A", "0") + legs("B", "0.5") + motion + "0 0\n");
    EXPECT_GT(png().find(leftColour, cell(0)).pixels, 1.3 * one); // both, to a smaller scale
}

} // namespace
} // namespace tarn::tests
