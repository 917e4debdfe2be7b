// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/figure/Camera.h>

#include <gtest/gtest.h>

#include <limits>

namespace tarn::draw {
namespace {

TEST(Camera, SeesWhatTravelsGoToTheRightAndTowardsTheEye) {
    for (const Heading& heading : {Heading{1, 0}, Heading{0, 1}, Heading{-0.6, 0.8}}) {
        const Seen ahead =
            Camera(heading).see({static_cast<float>(heading.x), 0, static_cast<float>(heading.z)});
        EXPECT_NEAR(ahead.right, 0.866, 1e-3);
        EXPECT_NEAR(ahead.near, 0.5, 1e-3);
        EXPECT_NEAR(ahead.up, 0, 1e-6);
    }
}

TEST(Camera, SeesHeightsUpwards) {
    const Seen level = Camera({0, 1}).see({0, 2, 0});
    EXPECT_DOUBLE_EQ(level.up, 2);
    EXPECT_DOUBLE_EQ(level.right, 0);
    const Seen fromAbove = Camera({0, 1}, 30).see({0, 2, 0});
    EXPECT_NEAR(fromAbove.up, 1.732, 1e-3);
    EXPECT_NEAR(fromAbove.near, 1, 1e-3);
}

TEST(Camera, SeesNearGroundBelowFarGroundWhenItLooksDown) {
    const Camera camera({0, 1}, 14);
    const Camera level({0, 1});
    EXPECT_LT(camera.see(level.placeAt(0, 1, 0)).up, camera.see(level.placeAt(0, -1, 0)).up);
    EXPECT_NEAR(level.see(level.placeAt(0, 1, 0)).up, 0, 1e-6);
}

TEST(Camera, FindsThePlaceThatItSees) {
    const Camera camera({0.8, -0.6});
    const Seen seen = camera.see(camera.placeAt(3, -2, 5));
    EXPECT_NEAR(seen.right, 3, 1e-5);
    EXPECT_NEAR(seen.near, -2, 1e-5);
    EXPECT_NEAR(seen.up, 5, 1e-5);
}

TEST(HeadingOf, IsTheWayToTheFarthestPoint) {
    const Heading heading = headingOf({{1, 0, 1}, {1, 0, 2}, {4, 9, 5}, {2, 0, 1}}, 1);
    EXPECT_NEAR(heading.x, 0.6, 1e-6);
    EXPECT_NEAR(heading.z, 0.8, 1e-6);
}

TEST(HeadingOf, IsAlongZWhereNothingGoesFar) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nowhere = std::numeric_limits<float>::quiet_NaN();
    for (const Heading& heading : {headingOf({}, 1), headingOf({{0, 0, 0}, {1, 0, 0}}, 1),
                                   headingOf({{0, 0, 0}, {nowhere, 0, 9}}, 1),
                                   headingOf({{0, 0, 0}, {infinity, 0, 9}}, 1)}) {
        EXPECT_EQ(heading.x, 0);
        EXPECT_EQ(heading.z, 1);
    }
}

TEST(IsFinite, AsksAllThreeCoordinates) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(isFinite({1, -2, std::numeric_limits<float>::max()}));
    EXPECT_FALSE(isFinite({infinity, 0, 0}));
    EXPECT_FALSE(isFinite({0, std::numeric_limits<float>::quiet_NaN(), 0}));
    EXPECT_FALSE(isFinite({0, 0, -infinity}));
}

} // namespace
} // namespace tarn::draw
