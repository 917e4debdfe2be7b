// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/canvas/Colours.h>

#include <gtest/gtest.h>

#include <cmath>

namespace tarn::draw {
namespace {

/// How light a colour looks in grey.
double lightness(const Colour& colour) {
    return 0.3 * colour.red + 0.6 * colour.green + 0.1 * colour.blue;
}

TEST(Colours, OfPairsDifferInGreyToo) {
    constexpr double seen = 0.05;
    EXPECT_GT(lightness(colours::right), lightness(colours::left) + seen);
    EXPECT_GT(lightness(colours::rightFoot), lightness(colours::leftFoot) + seen);
    EXPECT_GT(lightness(colours::start), lightness(colours::end) + seen);
    EXPECT_GT(lightness(colours::leftFoot), lightness(colours::left) + seen);
    EXPECT_GT(lightness(colours::white), lightness(colours::floor));
    EXPECT_GT(lightness(colours::floor), lightness(colours::tile) + seen);
}

} // namespace
} // namespace tarn::draw
