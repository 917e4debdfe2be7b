// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "CleaningTesting.h"

#include "support/Samples.h"

#include <tarn_kit/files/C3d.h>
#include <tarn_kit/processing/cleaning/GapFilling.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::cut;
using cleaning_testing::distance;
using cleaning_testing::markerIn;
using cleaning_testing::Table;

Table tableOf(const std::string& file) {
    const C3dTake take = readC3d(tarn::testing::samplePath(file));
    Table table;
    for (int i = 0; i < take.frameCount; ++i) {
        table.push_back(take.tracks->getFrame(i, markerDataType)->dataAs<MarkerFrame>().toVector());
    }
    return table;
}

/// The sum of squares of what filling a gap is off. A marker without others is filled by a cubic.
double squaresOf(const std::shared_ptr<Tracks>& filled, std::size_t marker, const Table& truth,
                 std::size_t column, int first, int last) {
    double sum = 0;
    for (int frame = first; frame <= last; ++frame) {
        const double off = distance(markerIn(filled, frame, marker),
                                    truth[static_cast<std::size_t>(frame)][column]);
        sum += off * off;
    }
    return sum;
}

/// What part the error of filling is of that of a cubic, over some gaps of five markers at once.
double ratioToCubic(const Table& truth, int length, unsigned seeds) {
    double ours = 0;
    double cubic = 0;
    for (unsigned seed = 0; seed < seeds; ++seed) {
        std::mt19937 random(seed);
        const int last = static_cast<int>(truth.size()) - length - 10;
        const int first = std::uniform_int_distribution<int>(10, last)(random);
        std::set<std::size_t> markers;
        while (markers.size() < 5) {
            markers.insert(std::uniform_int_distribution<std::size_t>(0, 40)(random));
        }
        Table table = truth;
        for (const std::size_t marker : markers) {
            cut(table, marker, first, first + length - 1);
        }
        const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
        for (const std::size_t marker : markers) {
            ours += squaresOf(filling.take, marker, truth, marker, first, first + length - 1);
            Table alone;
            for (const auto& row : table) {
                alone.push_back({row[marker]});
            }
            GapFillingOptions options;
            options.longestCubic = 10;
            const GapFilling byCubic = fillGaps(cleaning_testing::takeOf(alone), options);
            cubic += squaresOf(byCubic.take, 0, truth, marker, first, first + length - 1);
        }
    }
    return std::sqrt(ours / cubic);
}

TEST(GapFillingOfATake, IsAThirdOfACubicsErrorForLongGapsAtTheMost) {
    const Table truth = tableOf("cmu_85_02.c3d");
    for (const int length : {50, 100, 200}) {
        EXPECT_LT(ratioToCubic(truth, length, 2), 1.0 / 3) << length;
    }
}

TEST(GapFillingOfATake, IsNoWorseThanACubicForShortGaps) {
    EXPECT_LT(ratioToCubic(tableOf("cmu_85_02.c3d"), 10, 4), 1.1);
}

TEST(GapFillingOfATake, LeavesALeftoverTrajectoryAlone) {
    const C3dTake take = readC3d(tarn::testing::samplePath("cmu_01_01_jumps.c3d"));
    const GapFilling filling = fillGaps(take.tracks);
    ASSERT_FALSE(filling.gaps.empty());
    for (const MarkerGap& gap : filling.gaps) {
        EXPECT_EQ(take.markers[static_cast<std::size_t>(gap.marker)].name, "RBAC-1");
    }
    EXPECT_EQ(filling.filledSamples(), 0);
}

} // namespace
} // namespace tarn::kit
