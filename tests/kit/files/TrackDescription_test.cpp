// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/TrackDescription.h>

#include <gtest/gtest.h>

#include <memory>

namespace tarn::kit {
namespace {

TEST(TrackDescription, OfABodySaysItsRigAndItsExactRate) {
    BvhTake take;
    take.rig = std::make_shared<Rig>();
    take.frameTime = 0.0333667;
    const auto description = TrackDescription::of(take, "Ada");
    EXPECT_EQ(description.subject, "Ada");
    EXPECT_EQ(description.rig, take.rig);
    EXPECT_EQ(description.rate, Rate(30000, 1001));
}

TEST(TrackDescription, OfMarkersSaysWhoseTheyAreAndInWhichUnit) {
    C3dTake take;
    take.rate = 120;
    take.unit = "mm";
    take.metresPerUnit = 0.001;
    take.markers = {{"Ada", "LFHD", "left front head"}, {"", "*2", ""}};
    const auto description = TrackDescription::of(take, "walk");
    EXPECT_EQ(description.rate, Rate(120));
    EXPECT_EQ(description.space->unit.symbol, "mm");
    EXPECT_EQ(description.space->unitOrigin, Origin::Stated);
    ASSERT_EQ(description.labels.size(), 2U);
    EXPECT_EQ(description.labels[0].subject, "Ada");
    EXPECT_EQ(description.labels[1].name, "*2");
    take.unit = "";
    EXPECT_EQ(TrackDescription::of(take, "").space->unitOrigin, Origin::Guessed);
}

} // namespace
} // namespace tarn::kit
