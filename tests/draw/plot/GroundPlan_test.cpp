// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/plot/GroundPlan.h>

#include "draw/Drawn.h"

#include <gmock/gmock.h>

#include <limits>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::SizeIs;

constexpr double width = 1000;
constexpr Point corner{10, 20};
const kit::LengthUnit metres{"m", "metres"};

GroundPlan planOf(const std::vector<Vector3f>& positions, double bodyHeight = 1.8) {
    return {positions, bodyHeight, metres, width};
}

/// The places of the positions that the plan was made for.
std::vector<Point> placesOf(const std::vector<Vector3f>& positions) {
    const GroundPlan plan = planOf(positions);
    return plan.pixels(plan.plot(corner), positions);
}

TEST(GroundPlan, PutsTheLongerWayToTheRight) {
    std::vector<Point> places = placesOf({{0, 0, 0}, {4, 0, 1}}); // X to the right, Z down
    EXPECT_GT(places[1].x, places[0].x + 300);
    EXPECT_GT(places[1].y, places[0].y + 50);
    places = placesOf({{0, 0, 0}, {1, 0, 4}}); // Z to the right, X up
    EXPECT_GT(places[1].x, places[0].x + 300);
    EXPECT_LT(places[1].y, places[0].y - 50);
}

TEST(GroundPlan, HasOneScaleInBothDirections) {
    const std::vector<Point> places = placesOf({{0, 7, 0}, {4, 0, 1}});
    EXPECT_NEAR(places[1].x - places[0].x, 4 * (places[1].y - places[0].y), 1e-6);
}

TEST(GroundPlan, ShowsAllPositionsThatAreFinite) {
    constexpr float nowhere = std::numeric_limits<float>::quiet_NaN();
    const std::vector<Vector3f> positions{
        {-3, 0, 2}, {nowhere, 0, 0}, {5, 0, 2}, {0, std::numeric_limits<float>::infinity(), 0}};
    const GroundPlan plan = planOf(positions);
    const Box plot = plan.plot(corner);
    const std::vector<Point> places = plan.pixels(plot, positions);
    ASSERT_THAT(places, SizeIs(2));
    EXPECT_GE(places[0].x, plot.x);
    EXPECT_LE(places[1].x, plot.right());
    EXPECT_NEAR(places[0].x - plot.x, plot.right() - places[1].x, 1e-6);
}

TEST(GroundPlan, KeepsTheSwayOfAStandingBodySmall) {
    const std::vector<Point> places = placesOf({{0, 0, 0}, {0.01F, 0, 0}});
    EXPECT_LT(places[1].x - places[0].x, 25);
}

TEST(GroundPlan, TakesThePlaceThatItSays) {
    const GroundPlan plan = planOf({{0, 0, 0}, {4, 0, 1}});
    const Box plot = plan.plot(corner);
    const Image image = drawn(1020, 20 + static_cast<int>(plan.height()) + 20, [&](Canvas& canvas) {
        plan.draw(canvas, corner, std::string(300, 'W'));
        plan.drawFrame(canvas, corner);
    });
    EXPECT_TRUE(image.isBlank({0, 0, 1020, 15}));
    EXPECT_TRUE(image.isBlank({1012, 0, 1020, image.height()}));
    EXPECT_TRUE(image.isBlank({0, image.height() - 20, 1020, image.height()}));
    // The frame is darker than the lines of the grid.
    const auto isFrame = [&image](double x, double y) {
        return image.at(static_cast<int>(x), static_cast<int>(y))[0] < 180;
    };
    EXPECT_TRUE(isFrame(plot.x, plot.y + 13));
    EXPECT_TRUE(isFrame(plot.right(), plot.y + 13));
    EXPECT_TRUE(isFrame(plot.x + 13, plot.y));
    EXPECT_TRUE(isFrame(plot.x + 13, plot.bottom()));
    EXPECT_FALSE(isFrame(plot.x + 13, plot.y + 13));
}

TEST(GroundPlan, DrawsAGridWithNumbersBesideIt) {
    const GroundPlan plan = planOf({{0, 0, 0}, {4, 0, 1}});
    const Box plot = plan.plot(corner);
    const Image image = drawn(1020, 20 + static_cast<int>(plan.height()),
                              [&](Canvas& canvas) { plan.draw(canvas, corner, ""); });
    const auto left = static_cast<int>(plot.x);
    const auto bottom = static_cast<int>(plot.bottom());
    EXPECT_GT(image.find(pixelOf(colours::note), {left - 60, 20, left - 5, bottom}).pixels, 20);
    EXPECT_GT(image.find(pixelOf(colours::note), {left, bottom + 8, 1010, bottom + 34}).pixels, 40);
    // The line of X = 0 goes through the place of the origin.
    const Point origin = plan.pixels(plot, {{0, 0, 0}}).front();
    const auto x = static_cast<int>(origin.x);
    EXPECT_GT(image.find(pixelOf(colours::white), {x - 9, bottom - 60, x - 3, bottom - 50}).pixels,
              40);
    EXPECT_FALSE(image.isBlank({x - 1, bottom - 60, x + 2, bottom - 50}));
}

TEST(WithoutShortSteps, KeepsTheFirstPointAndThoseFarFromTheLastOneKept) {
    const auto kept = withoutShortSteps({{0, 0}, {0.2, 0}, {0.4, 0}, {0.6, 0}, {0.6, 5}, {0.7, 5}});
    ASSERT_THAT(kept, SizeIs(3));
    EXPECT_EQ(kept[1].x, 0.6);
    EXPECT_EQ(kept[2].y, 5);
    EXPECT_THAT(withoutShortSteps({}), SizeIs(0));
    EXPECT_THAT(withoutShortSteps({{0, 0}, {3, 0}, {5, 0}}, 4), SizeIs(2));
}

} // namespace
} // namespace tarn::draw
