// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/plot/CurvePanel.h>

#include "draw/Drawn.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace tarn::draw {
namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr CurveStyle plain{colours::end, 3, CurveSign::none};
const Rgb colour = pixelOf(colours::end);

/// Curves from 0 to 10 in a plot of 400 x 200 pixels at (120, 20).
constexpr Box plot{120, 20, 400, 200};
constexpr Region inside{122, 22, 519, 219};

Image drawnCurves(const std::vector<Curve>& curves, int rate = 10) {
    return drawn(560, 300, [&](Canvas& canvas) {
        const auto frames = static_cast<int>(curves.front().values.size());
        const CurvePanel panel(curves, {0, 10}, frames, rate);
        panel.draw(canvas, plot, "height [cm]");
        panel.drawTimes(canvas, plot);
    });
}

TEST(CurvePanel, DrawsValuesFromTheFirstFrameToTheLastInTheirRange) {
    const Image image = drawnCurves({{{2.5, 2.5, 2.5}, plain}});
    const Patch curve = image.find(colour, all(image));
    EXPECT_NEAR(curve.left, 120, 2);
    EXPECT_NEAR(curve.right, 520, 2);
    EXPECT_NEAR(curve.middleY(), 169.5, 1); // a quarter of the way up
    EXPECT_LE(curve.bottom - curve.top, 3);
}

TEST(CurvePanel, DrawsARisingCurveUpwards) {
    const Image image = drawnCurves({{{0, 10}, plain}});
    const Patch begin = image.find(colour, {122, 22, 142, 219});
    const Patch end = image.find(colour, {500, 22, 519, 219});
    EXPECT_GT(begin.top, 200);
    EXPECT_LT(end.bottom, 40);
}

TEST(CurvePanel, LeavesGapsWhereThereIsNoValue) {
    std::vector<double> values(41, 5); // ten pixels from frame to frame
    for (std::size_t i = 11; i < 20; ++i) {
        if (i % 2 == 0) {
            values[i] = none;
        } else {
            values[i] = infinity;
        }
    }
    const Image image = drawnCurves({{values, plain}});
    EXPECT_EQ(image.find(colour, {225, 22, 315, 219}).pixels, 0);
    EXPECT_EQ(image.find(colour, {125, 22, 220, 219}).right, 219);
    EXPECT_EQ(image.find(colour, {320, 22, 420, 219}).left, 320);
}

TEST(CurvePanel, DrawsAValueBetweenGapsAsADisc) {
    std::vector<double> values(41, none);
    values[20] = 5;
    const Image image = drawnCurves({{values, plain}});
    const Patch disc = image.find(colour, inside);
    EXPECT_NEAR(disc.middleX(), 319.5, 1);
    EXPECT_NEAR(disc.right - disc.left, 4, 1);
    EXPECT_NEAR(disc.bottom - disc.top, 4, 1);
}

TEST(CurvePanel, DrawsNothingOfACurveWithoutValues) {
    const Image image = drawnCurves({{std::vector<double>(10, none), plain}});
    EXPECT_EQ(image.find(colour, all(image)).pixels, 0);
    EXPECT_FALSE(image.isBlank(all(image))); // the axes are there
}

TEST(CurvePanel, DrawsTheMeanOfManyFramesInFrontOfABand) {
    std::vector<double> values;
    values.reserve(4000);
    for (int i = 0; i < 4000; ++i) {
        values.push_back(i % 2 == 0 ? 4 : 8);
    }
    const Image image = drawnCurves({{values, plain}}, 100);
    const Patch mean = image.find(colour, {200, 22, 400, 219});
    EXPECT_NEAR(mean.middleY(), 99.5, 1); // 6 of 10
    // Pale from 4 to 8, that is from 60 to 140 pixels below the top.
    const Rgb pale = image.at(300, 80);
    const Patch band = image.find(pale, {300, 22, 301, 219});
    EXPECT_NE(pale, pixelOf(colours::white));
    EXPECT_NEAR(band.top, 60, 1);
    EXPECT_NEAR(band.bottom, 139, 1);
}

TEST(CurvePanel, TellsCurvesApartBySignsToo) {
    const auto signsOf = [](CurveSign sign) {
        const Image image = drawnCurves({{std::vector<double>(40, 5), {colours::end, 2, sign}}});
        return image.find(colour, inside);
    };
    const auto height = [](const Patch& patch) { return patch.bottom - patch.top + 1; };
    EXPECT_LE(height(signsOf(CurveSign::none)), 2);
    EXPECT_NEAR(height(signsOf(CurveSign::disc)), 12, 2);
    EXPECT_NEAR(height(signsOf(CurveSign::square)), 11, 2);
    // Rings and frames are white inside.
    EXPECT_LT(signsOf(CurveSign::ring).pixels, signsOf(CurveSign::disc).pixels);
    EXPECT_LT(signsOf(CurveSign::frame).pixels, signsOf(CurveSign::square).pixels + 10);
}

TEST(CurvePanel, PutsTheFirstCurveInFront) {
    const Image image = drawnCurves({{{5, 5}, {colours::end, 3, CurveSign::none}},
                                     {{5, 5}, {colours::start, 3, CurveSign::none}}});
    EXPECT_GT(image.find(colour, inside).pixels, 700);
    EXPECT_EQ(image.find(pixelOf(colours::start), inside).pixels, 0);
}

TEST(CurvePanel, WritesNumbersToTheLeftAndTimesBelow) {
    const Image image = drawnCurves({{{5, 5, 5}, plain}});
    const Rgb note = pixelOf(colours::note);
    EXPECT_GT(image.find(note, {70, 0, 112, 240}).pixels, 20);
    EXPECT_GT(image.find(note, {100, 226, 560, 250}).pixels, 20);
    EXPECT_GT(image.find(pixelOf(colours::ink), {10, 20, 60, 220}).pixels, 20); // the axis
    EXPECT_GT(image.find(pixelOf(colours::ink), {260, 256, 400, 290}).pixels, 20);
}

TEST(CurveSample, ShowsLineAndSign) {
    const auto sampleOf = [](CurveSign sign) {
        const Image image = drawn(100, 40, [sign](Canvas& canvas) {
            drawCurveSample(canvas, {20, 20}, 60, {colours::end, 3, sign});
        });
        return image.find(colour, all(image));
    };
    const Patch line = sampleOf(CurveSign::none);
    EXPECT_NEAR(line.left, 19, 1);
    EXPECT_NEAR(line.right, 80, 1);
    EXPECT_LE(line.bottom - line.top, 3);
    const Patch disc = sampleOf(CurveSign::disc);
    EXPECT_GE(disc.bottom - disc.top, 9);
}

TEST(ValueRange, HoldsTheFiniteValues) {
    ValueRange range;
    EXPECT_TRUE(range.isEmpty());
    for (const double value : {none, 3.0, -infinity, -1.0, infinity}) {
        range.include(value);
    }
    EXPECT_EQ(range.least, -1);
    EXPECT_EQ(range.most, 3);
    EXPECT_FALSE(range.isEmpty());
}

TEST(ValueRange, IsWidenedSoThatCurvesDoNotTouchTheEdges) {
    const ValueRange wide = ValueRange{0, 100}.widened();
    EXPECT_NEAR(wide.least, -6, 1e-9);
    EXPECT_NEAR(wide.most, 106, 1e-9);
    EXPECT_EQ(ValueRange().widened().most, 1);
    EXPECT_EQ(ValueRange().widened().least, 0);
    // What rounding makes of one value is not blown up.
    EXPECT_GT((ValueRange{100, 100.0001}.widened().most), 100.09);
    EXPECT_EQ((ValueRange{0, 0}.widened().most), 1);
}

TEST(FramesPerSpan, IsOneUntilThereAreTooManyToDrawOneByOne) {
    EXPECT_EQ(framesPerSpan(0), 1U);
    EXPECT_EQ(framesPerSpan(2'000), 1U);
    EXPECT_EQ(framesPerSpan(2'001), 5U);
    EXPECT_EQ(framesPerSpan(40'000), 80U);
}

} // namespace
} // namespace tarn::draw
