// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include "CleaningTesting.h"

#include "support/Samples.h"

#include <tarn_kit/files/C3d.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::cut;
using cleaning_testing::distance;
using cleaning_testing::limb;
using cleaning_testing::markerIn;
using cleaning_testing::push;
using cleaning_testing::swap;
using cleaning_testing::Table;

/// Whether each marker is where it was, or not there.
void expectSame(const std::shared_ptr<Tracks>& take, const Table& truth) {
    for (std::size_t frame = 0; frame < truth.size(); ++frame) {
        for (std::size_t marker = 0; marker < truth[frame].size(); ++marker) {
            const Marker found = markerIn(take, static_cast<int>(frame), marker);
            if (found.hasPosition()) {
                EXPECT_EQ(distance(found, truth[frame][marker]), 0) << frame << " " << marker;
            }
        }
    }
}

TEST(MarkerRepair, ExchangesLabelsThatWereSwappedForAWhile) {
    const Table truth = limb(400, 6);
    Table table = truth;
    swap(table, 1, 3, 100, 160);
    const MarkerRepair repair = repairMarkers(cleaning_testing::takeOf(table));
    ASSERT_EQ(repair.changes.size(), 1U);
    const MarkerChange& change = repair.changes[0];
    EXPECT_EQ(change.fault, MarkerFault::Swap);
    EXPECT_EQ(change.first, 100);
    EXPECT_EQ(change.last, 160);
    EXPECT_EQ(change.markers, (std::vector<int>{1, 3}));
    EXPECT_GT(change.confidence, 0.9);
    EXPECT_TRUE(change.corrected);
    expectSame(repair.take, truth);
    EXPECT_EQ(markerIn(repair.take, 130, 1).cameras, 3); // the whole entry moves
}

TEST(MarkerRepair, PutsRingsOfLabelsRight) {
    const Table truth = limb(400, 6);
    Table table = truth;
    swap(table, 0, 2, 200, 239);
    swap(table, 0, 4, 200, 239);
    const MarkerRepair repair = repairMarkers(cleaning_testing::takeOf(table));
    ASSERT_EQ(repair.changes.size(), 1U);
    const std::vector<int>& ring = repair.changes[0].markers;
    ASSERT_EQ(ring.size(), 3U);
    // What is labelled as one of the ring is the next one.
    for (std::size_t i = 0; i < 3; ++i) {
        const auto label = static_cast<std::size_t>(ring[i]);
        const auto meant = static_cast<std::size_t>(ring[(i + 1) % 3]);
        EXPECT_EQ(distance(table[220][label], truth[220][meant]), 0);
    }
    expectSame(repair.take, truth);
}

TEST(MarkerRepair, SeesByTheNeighboursWhichSideOfASwapIsWrong) {
    const Table truth = limb(400, 6);
    Table table = truth;
    swap(table, 1, 3, 0, 99); // from the beginning: only the neighbours know
    const MarkerRepair repair = repairMarkers(cleaning_testing::takeOf(table));
    ASSERT_EQ(repair.changes.size(), 1U);
    EXPECT_EQ(repair.changes[0].first, 0);
    EXPECT_EQ(repair.changes[0].last, 99);
    expectSame(repair.take, truth);
}

TEST(MarkerRepair, ReportsAndLeavesASwapWhoseWrongSideNobodyKnows) {
    Table table;
    for (int frame = 0; frame < 300; ++frame) { // two markers alone, 200 apart
        const auto x = static_cast<float>(frame);
        table.push_back({Marker::at({x, 0, 0}), Marker::at({x, 200, 0})});
    }
    swap(table, 0, 1, 200, 299);
    const MarkerRepair repair = repairMarkers(cleaning_testing::takeOf(table));
    ASSERT_EQ(repair.changes.size(), 1U);
    EXPECT_EQ(repair.changes[0].first, 200);
    EXPECT_FALSE(repair.changes[0].corrected);
    EXPECT_LT(repair.changes[0].confidence, 0.5);
    expectSame(repair.take, table);
}

TEST(MarkerRepair, TakesSpikesOutAndLeavesThemAsGaps) {
    const Table truth = limb(400);
    Table table = truth;
    push(table, 2, 150, {80, 0, 0});
    push(table, 4, 250, {0, -60, 60});
    push(table, 4, 251, {0, -90, 10});
    push(table, 4, 252, {50, -60, 60});
    const MarkerRepair repair = repairMarkers(cleaning_testing::takeOf(table));
    ASSERT_EQ(repair.changes.size(), 2U);
    EXPECT_EQ(repair.changes[0].fault, MarkerFault::Spike);
    EXPECT_EQ(repair.changes[0].markers, std::vector<int>{2});
    EXPECT_EQ(repair.changes[0].first, 150);
    EXPECT_EQ(repair.changes[0].last, 150);
    EXPECT_GT(repair.changes[0].confidence, 0.5);
    EXPECT_EQ(repair.changes[1].first, 250);
    EXPECT_EQ(repair.changes[1].last, 252);
    EXPECT_FALSE(markerIn(repair.take, 150, 2).hasPosition());
    EXPECT_TRUE(markerIn(repair.take, 149, 2).hasPosition());
    EXPECT_TRUE(markerIn(repair.take, 151, 2).hasPosition());
    EXPECT_FALSE(markerIn(repair.take, 251, 4).hasPosition());
    expectSame(repair.take, truth);
}

TEST(MarkerRepair, LeavesWhatStaysAwayForLongerThanASpike) {
    Table table = limb(400);
    for (int frame = 150; frame < 180; ++frame) {
        push(table, 2, frame, {80, 0, 0});
    }
    MarkerRepairOptions options;
    EXPECT_TRUE(repairMarkers(cleaning_testing::takeOf(table), options).changes.empty());
    options.longestSpike = 0.3;
    EXPECT_EQ(repairMarkers(cleaning_testing::takeOf(table), options).changes.size(), 1U);
}

TEST(MarkerRepair, LooksAtNothingBelowTheGate) {
    Table table = limb(400);
    push(table, 2, 150, {80, 0, 0});
    MarkerRepairOptions options;
    options.gate = 100;
    EXPECT_TRUE(repairMarkers(cleaning_testing::takeOf(table), options).changes.empty());
    options.gate = 50;
    EXPECT_EQ(repairMarkers(cleaning_testing::takeOf(table), options).changes.size(), 1U);
}

TEST(MarkerRepair, LeavesMarkersUntouchedThatItIsToldTo) {
    Table table = limb(400, 6);
    swap(table, 1, 3, 100, 160);
    push(table, 5, 200, {80, 0, 0});
    MarkerRepairOptions options;
    options.untouched = {3, 5};
    expectSame(repairMarkers(cleaning_testing::takeOf(table), options).take, table);
}

TEST(MarkerRepair, LooksForSwapsOrSpikesAlone) {
    Table table = limb(400, 6);
    swap(table, 1, 3, 100, 160);
    push(table, 5, 200, {80, 0, 0});
    const auto take = cleaning_testing::takeOf(table);
    MarkerRepairOptions options;
    options.spikes = false;
    const MarkerRepair swaps = repairMarkers(take, options);
    ASSERT_EQ(swaps.changes.size(), 1U);
    EXPECT_EQ(swaps.changes[0].fault, MarkerFault::Swap);
    options = {};
    options.swaps = false;
    for (const MarkerChange& change : repairMarkers(take, options).changes) {
        EXPECT_EQ(change.fault, MarkerFault::Spike);
    }
}

TEST(MarkerRepair, FindsNothingInTakesThatAreInOrder) {
    EXPECT_TRUE(repairMarkers(cleaning_testing::takeOf(limb(400))).changes.empty());
    Table gaps = limb(400);
    cut(gaps, 1, 100, 130);
    cut(gaps, 2, 110, 150);
    EXPECT_TRUE(repairMarkers(cleaning_testing::takeOf(gaps)).changes.empty());
    for (const char* file : {"cmu_85_02.c3d", "cmu_01_01_jumps.c3d"}) {
        const C3dTake take = readC3d(tarn::testing::samplePath(file));
        EXPECT_TRUE(repairMarkers(take.tracks).changes.empty()) << file;
    }
}

TEST(MarkerRepair, FindsASwapOfNeighboursInATake) {
    const C3dTake take = readC3d(tarn::testing::samplePath("cmu_85_02.c3d"));
    Table truth;
    for (int i = 0; i < take.frameCount; ++i) {
        truth.push_back(take.tracks->getFrame(i, markerDataType)->dataAs<MarkerFrame>().toVector());
    }
    for (const auto& [a, b] : {std::pair<std::size_t, std::size_t>{0, 1}, {10, 11}, {30, 31}}) {
        Table table = truth;
        swap(table, a, b, 300, 420);
        const MarkerRepair repair = repairMarkers(cleaning_testing::takeOf(table));
        ASSERT_EQ(repair.changes.size(), 1U) << a;
        expectSame(repair.take, truth);
    }
}

TEST(MarkerRepair, NeverAltersTheTakeAndRefusesWhatIsNone) {
    Table table = limb(400, 6);
    swap(table, 1, 3, 100, 160);
    const auto take = cleaning_testing::takeOf(table);
    const MarkerRepair repair = repairMarkers(take);
    expectSame(take, table);
    EXPECT_EQ(repair.take->getFrame(50, markerDataType), take->getFrame(50, markerDataType));
    EXPECT_THROW(repairMarkers(nullptr), std::invalid_argument);
    EXPECT_THROW(repairMarkers(std::make_shared<Tracks>()), std::invalid_argument);
    const auto bare = std::make_shared<Tracks>();
    bare->setFps(120);
    EXPECT_TRUE(repairMarkers(bare).changes.empty());
    EXPECT_TRUE(repairMarkers(cleaning_testing::takeOf(limb(1))).changes.empty());
}

TEST(MarkerRepairThreads, TakesMayBeRepairedOnSeveralThreadsAtOnce) {
    Table table = limb(300, 6);
    swap(table, 1, 3, 100, 160);
    const auto take = cleaning_testing::takeOf(table);
    auto other = std::async(std::launch::async, [&] { return repairMarkers(take).changes.size(); });
    EXPECT_EQ(repairMarkers(take).changes.size(), 1U);
    EXPECT_EQ(other.get(), 1U);
}

} // namespace
} // namespace tarn::kit
