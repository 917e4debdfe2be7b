// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/UnlabelledMarkers.h>

#include <gtest/gtest.h>

#include <vector>

namespace tarn::kit {
namespace {

TEST(UnlabelledMarkers, AreThoseWhoseNamesSayThatNobodyKnowsThem) {
    for (const char* name :
         {"", "*", "*5", "*110", "U1", "U_12", "u-3", "Unlabelled", "uname*3", "UNLABELED12"}) {
        EXPECT_TRUE(isUnlabelled(name)) << name;
    }
    for (const char* name : {"LFHD", "U", "UPPER", "U1A", "LU1", "U_", "1", "C7"}) {
        EXPECT_FALSE(isUnlabelled(name)) << name;
    }
}

TEST(UnlabelledMarkers, AreGivenByTheirPlaces) {
    std::vector<C3dMarker> markers(4);
    markers[0].name = "LFHD";
    markers[1].name = "*2";
    markers[2].name = "RFHD";
    markers[3].subject = "Male";
    markers[3].name = "U7";
    EXPECT_EQ(unlabelledMarkers(markers), (std::vector<int>{1, 3}));
    EXPECT_TRUE(unlabelledMarkers({}).empty());
}

} // namespace
} // namespace tarn::kit
