// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/canvas/Canvas.h>

#include "draw/Drawn.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace tarn::draw {
namespace {

const Rgb ink = pixelOf(colours::ink);
constexpr Font font{20};

/// Where what is drawn in ink on a canvas of 200 x 100 pixels is.
Patch inkOf(const std::function<void(Canvas&)>& draw) {
    const Image image = drawn(200, 100, draw);
    return image.find(ink, all(image));
}

TEST(Canvas, DrawsLinesOfTheirWidthWithRoundEnds) {
    const Patch line = inkOf([](Canvas& canvas) {
        canvas.line({50, 40}, {150, 40}, 6, colours::ink);
    });
    EXPECT_EQ(line.top, 37);
    EXPECT_EQ(line.bottom, 42);
    EXPECT_NEAR(line.left, 47, 1);
    EXPECT_NEAR(line.right, 152, 1);
}

TEST(Canvas, DrawsALongLineInPiecesAsInOne) {
    std::vector<Point> points;
    for (int i = 0; i <= 350; ++i) {
        points.push_back({i * 0.5 + 10, 50 + 30 * std::sin(i * 0.05)});
    }
    const Patch one = inkOf([&](Canvas& canvas) { canvas.polyline(points, 4, colours::ink); });
    const Patch pieces =
        inkOf([&](Canvas& canvas) { canvas.polylineInPieces(points, 4, colours::ink); });
    EXPECT_GT(one.pixels, 500);
    EXPECT_NEAR(pieces.pixels, one.pixels, 40);
    EXPECT_EQ(pieces.left, one.left);
    EXPECT_EQ(pieces.right, one.right);
}

TEST(Canvas, FillsBoxesDiscsAndPolygons) {
    EXPECT_EQ(inkOf([](Canvas& canvas) {
                  canvas.fill({20, 30, 40, 10}, colours::ink);
              }).pixels,
              400);
    const Patch disc = inkOf([](Canvas& canvas) { canvas.disc({100, 50}, 20, colours::ink); });
    EXPECT_NEAR(disc.pixels, 1257, 90);
    EXPECT_NEAR(disc.middleX(), 99.5, 1);
    const Patch triangle = inkOf([](Canvas& canvas) {
        canvas.polygon({{20, 20}, {60, 20}, {20, 60}}, colours::ink);
    });
    EXPECT_NEAR(triangle.pixels, 800, 45);
}

TEST(Canvas, OutlinesABoxAndLeavesItsInside) {
    const Image image = drawn(200, 100, [](Canvas& canvas) {
        canvas.outline({20, 20, 100, 50}, 4, colours::ink);
    });
    EXPECT_TRUE(image.isBlank({23, 23, 117, 67}));
    EXPECT_EQ(image.at(20, 45), ink);
    EXPECT_EQ(image.at(70, 70), ink);
}

TEST(Canvas, AlignsTextAtItsPoint) {
    const auto textAt = [](Align align) {
        return inkOf([align](Canvas& canvas) {
            canvas.text({100, 60}, "Hips", font, align, colours::ink);
        });
    };
    EXPECT_GE(textAt(Align::left).left, 100);
    EXPECT_LE(textAt(Align::right).right, 100);
    EXPECT_NEAR(textAt(Align::centre).middleX(), 100, 3);
    const Patch text = textAt(Align::left);
    EXPECT_GT(text.pixels, 30);
    EXPECT_LT(text.top, 50);
    EXPECT_LE(text.bottom, 66); // the p goes below the base line
}

TEST(Canvas, KnowsHowWideTextIs) {
    drawn(10, 10, [](Canvas& canvas) {
        EXPECT_EQ(canvas.textWidth("", font), 0);
        EXPECT_GT(canvas.textWidth("WW", font), 1.9 * canvas.textWidth("W", font));
        EXPECT_GT(canvas.textWidth("W", {40}), 1.8 * canvas.textWidth("W", {20}));
    });
}

TEST(Canvas, CutsTextThatDoesNotFit) {
    drawn(10, 10, [](Canvas& canvas) {
        EXPECT_EQ(canvas.fitted("LeftArm", font, 500), "LeftArm");
        const std::string cut = canvas.fitted("LeftForeArmRoll", font, 80);
        EXPECT_EQ(cut.substr(0, 2), "Le");
        EXPECT_EQ(cut.substr(cut.size() - 3), "\xE2\x80\xA6");
        EXPECT_LE(canvas.textWidth(cut, font), 80);
        EXPECT_GT(canvas.textWidth(cut, font), 50);
    });
}

TEST(Canvas, ReadsUpwardTextUpwards) {
    const Patch upward = inkOf([](Canvas& canvas) {
        canvas.upwardText({100, 50}, "height", font, colours::ink);
    });
    EXPECT_GT(upward.bottom - upward.top, 2 * (upward.right - upward.left));
    EXPECT_NEAR(upward.middleY(), 50, 4);
}

TEST(Canvas, SetsHaloTextOffFromWhatIsBelow) {
    const Image image = drawn(200, 100, [](Canvas& canvas) {
        canvas.fill({0, 0, 200, 100}, colours::left);
        canvas.haloText({50, 60}, "12", font, colours::ink);
    });
    EXPECT_GT(image.find(ink, all(image)).pixels, 20);
    EXPECT_GT(image.find(pixelOf(colours::white), all(image)).pixels, 40);
}

TEST(Canvas, DrawsNothingOutsideOfAClip) {
    const Patch clipped = inkOf([](Canvas& canvas) {
        canvas.clipped({50, 20, 30, 40}, [&] { canvas.fill({0, 0, 200, 100}, colours::ink); });
    });
    EXPECT_EQ(clipped.pixels, 1200);
    EXPECT_EQ(clipped.left, 50);
    const Patch after = inkOf([](Canvas& canvas) {
        canvas.clipped({50, 20, 30, 40}, [] {});
        canvas.fill({0, 0, 200, 100}, colours::ink);
    });
    EXPECT_EQ(after.pixels, 20'000);
}

TEST(Canvas, DrawsAReplacementForWhatIsNoText) {
    const auto textOf = [](const std::string& text) {
        return inkOf([&text](Canvas& canvas) {
            canvas.text({10, 60}, text, font, Align::left, colours::ink);
        });
    };
    EXPECT_EQ(textOf("a\xFFz").pixels, textOf("a\xEF\xBF\xBDz").pixels);
    EXPECT_EQ(textOf("a\nz").right, textOf("a\xEF\xBF\xBDz").right);
    EXPECT_GT(textOf("a\xFFz").pixels, textOf("az").pixels);
}

} // namespace
} // namespace tarn::draw
