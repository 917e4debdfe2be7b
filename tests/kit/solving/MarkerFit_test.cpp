// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerFit.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace tarn::kit;

TEST(MarkerFit, SharesItsEntriesWithCopies) {
    MarkerFit fit(std::vector<FittedMarker>(3));
    fit.converged = true;
    const MarkerFit copy = fit;
    EXPECT_EQ(copy.data(), fit.data());
    EXPECT_TRUE(copy.converged);
}

TEST(MarkerFit, AMarkerIsNotSeenAtFirst) {
    const FittedMarker marker;
    EXPECT_EQ(marker.verdict, MarkerVerdict::NotSeen);
    EXPECT_TRUE(std::isnan(marker.residual));
}
