// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/GapFilling.h>

#include "CleaningTesting.h"

#include <tarn_kit/body/Payload.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <future>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::cut;
using cleaning_testing::distance;
using cleaning_testing::limb;
using cleaning_testing::markerIn;
using cleaning_testing::Table;

Marker markerAt(const Table& table, int frame, std::size_t marker) {
    return table[static_cast<std::size_t>(frame)][marker];
}

TEST(GapFilling, PutsAMarkerOfARigidLimbBackWhereItWas) {
    const Table truth = limb(600);
    Table table = truth;
    cut(table, 2, 200, 299);
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    for (int frame = 200; frame < 300; ++frame) {
        EXPECT_LT(distance(markerIn(filling.take, frame, 2), markerAt(truth, frame, 2)), 0.01)
            << frame;
    }
    ASSERT_EQ(filling.gaps.size(), 1U);
    const MarkerGap& gap = filling.gaps[0];
    EXPECT_EQ(gap.marker, 2);
    EXPECT_EQ(gap.first, 200);
    EXPECT_EQ(gap.last, 299);
    EXPECT_EQ(gap.method, FillMethod::Neighbours);
    EXPECT_EQ(gap.filled, 100);
    EXPECT_EQ(gap.neighbours.size(), 4U);
    EXPECT_LT(gap.expectedError, 0.01);
    EXPECT_EQ(gap.reason, "");
    EXPECT_EQ(filling.filledSamples(), 100);
}

TEST(GapFilling, MarksWhatItFilledAndLeavesAllElseAsItWas) {
    Table table = limb(300);
    cut(table, 1, 100, 119);
    const auto take = cleaning_testing::takeOf(table);
    const GapFilling filling = fillGaps(take);
    const Marker filled = markerIn(filling.take, 110, 1);
    EXPECT_EQ(filled.state, MarkerState::Filled);
    EXPECT_EQ(filled.cameras, 0);
    EXPECT_EQ(filled.residual, 0);
    const Marker other = markerIn(filling.take, 110, 0);
    EXPECT_EQ(other.state, MarkerState::Seen);
    EXPECT_EQ(other.cameras, 3);
    EXPECT_EQ(other.residual, 0.5F);
    EXPECT_EQ(other.position.x, markerAt(table, 110, 0).position.x);
    EXPECT_EQ(filling.take->getFrame(110, markerDataType)->time(), Time(110, 120));
}

TEST(GapFilling, NeverAltersTheTakeAndSharesItsOtherFrames) {
    Table table = limb(300);
    cut(table, 1, 100, 119);
    const auto take = cleaning_testing::takeOf(table);
    take->setTracksName("limb");
    const auto analog = std::make_shared<Track>(77);
    take->addTrack(analog, 5);
    const auto nested = std::make_shared<Tracks>();
    take->addSubTracks(nested, 7);
    const GapFilling filling = fillGaps(take);
    EXPECT_FALSE(markerIn(take, 110, 1).hasPosition());
    EXPECT_EQ(filling.take->getFrame(99, markerDataType), take->getFrame(99, markerDataType));
    EXPECT_NE(filling.take->getFrame(100, markerDataType), take->getFrame(100, markerDataType));
    EXPECT_EQ(filling.take->tracksName(), "limb");
    EXPECT_EQ(filling.take->fps(), 120);
    EXPECT_EQ(filling.take->timeLength(), 300);
    EXPECT_EQ(filling.take->frameCount(), 300);
    EXPECT_EQ(filling.take->workRangeEnd(), 299);
    EXPECT_EQ(filling.take->findTrack(77), analog);
    EXPECT_EQ(filling.take->trackOffset(analog), 5);
    EXPECT_EQ(filling.take->subTracks(0), nested);
    EXPECT_EQ(filling.take->subTracksOffset(nested), 7);
}

TEST(GapFilling, GoesByOtherMarkersWhereTheNearestAreMissingToo) {
    const Table truth = limb(600, 6);
    Table table = truth;
    cut(table, 0, 200, 299);
    cut(table, 1, 180, 250);
    cut(table, 2, 250, 320);
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    for (const MarkerGap& gap : filling.gaps) {
        EXPECT_EQ(gap.filled, gap.last - gap.first + 1);
        const auto marker = static_cast<std::size_t>(gap.marker);
        for (int frame = gap.first; frame <= gap.last; ++frame) {
            EXPECT_LT(
                distance(markerIn(filling.take, frame, marker), markerAt(truth, frame, marker)),
                0.05);
        }
        for (const int neighbour : gap.neighbours) {
            EXPECT_GE(neighbour, 3); // each of the others is missing somewhere in the gap
        }
    }
}

TEST(GapFilling, ClosesShortGapsFirstSoThatTheyHelpToCloseLongOnes) {
    const Table truth = limb(600, 4);
    Table table = truth;
    cut(table, 0, 200, 299);
    for (std::size_t other = 1; other < 4; ++other) { // none of them is seen throughout
        const int first = 190 + 30 * static_cast<int>(other);
        cut(table, other, first, first + 3);
    }
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    for (int frame = 200; frame < 300; ++frame) {
        EXPECT_LT(distance(markerIn(filling.take, frame, 0), markerAt(truth, frame, 0)), 1);
    }
}

TEST(GapFilling, BridgesAShortGapWithoutNeighboursByACubic) {
    const auto curve = [](int frame) {
        const double t = (frame - 50) / 20.0;
        return Vector3d{100 * t, 20 * t * t, 5 * t * t * t};
    };
    Table table;
    for (int frame = 0; frame < 100; ++frame) {
        table.push_back({cleaning_testing::seen(curve(frame))});
    }
    cut(table, 0, 45, 54);
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    ASSERT_EQ(filling.gaps.size(), 1U);
    EXPECT_EQ(filling.gaps[0].method, FillMethod::Cubic);
    EXPECT_TRUE(filling.gaps[0].neighbours.empty());
    for (int frame = 45; frame < 55; ++frame) {
        const Marker truth = cleaning_testing::seen(curve(frame));
        EXPECT_LT(distance(markerIn(filling.take, frame, 0), truth), 0.02);
    }
}

TEST(GapFilling, LeavesALongGapWithoutNeighboursAndSaysWhy) {
    Table table = limb(200, 2);
    cut(table, 0, 100, 130); // more than a quarter of a second
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    ASSERT_EQ(filling.gaps.size(), 1U);
    EXPECT_EQ(filling.gaps[0].method, FillMethod::NotFilled);
    EXPECT_EQ(filling.gaps[0].filled, 0);
    EXPECT_NE(filling.gaps[0].reason.find("too few other markers"), std::string::npos);
    EXPECT_FALSE(markerIn(filling.take, 110, 0).hasPosition());
}

TEST(GapFilling, DoesNotFillFarBeyondWhereAMarkerWasSeen) {
    const Table truth = limb(600);
    Table table = truth;
    cut(table, 1, 0, 199);
    cut(table, 2, 400, 599);
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    ASSERT_EQ(filling.gaps.size(), 2U);
    for (const MarkerGap& gap : filling.gaps) {
        EXPECT_EQ(gap.filled, 30); // a quarter of a second
        EXPECT_NE(gap.reason.find("end of the take"), std::string::npos);
    }
    EXPECT_FALSE(markerIn(filling.take, 169, 1).hasPosition());
    EXPECT_LT(distance(markerIn(filling.take, 170, 1), markerAt(truth, 170, 1)), 0.1);
    EXPECT_LT(distance(markerIn(filling.take, 429, 2), markerAt(truth, 429, 2)), 0.1);
    EXPECT_FALSE(markerIn(filling.take, 430, 2).hasPosition());
}

TEST(GapFilling, LeavesAtTheEndsWhatHasNoNeighbours) {
    Table table = limb(100, 1);
    cut(table, 0, 95, 99);
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    ASSERT_EQ(filling.gaps.size(), 1U);
    EXPECT_EQ(filling.gaps[0].method, FillMethod::NotFilled);
    EXPECT_FALSE(markerIn(filling.take, 95, 0).hasPosition());
}

TEST(GapFilling, LeavesLeftoversAndMarkersThatWereNeverSeen) {
    Table table = limb(300);
    cut(table, 3, 0, 99);
    cut(table, 3, 105, 299);
    cut(table, 4, 0, 299);
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    ASSERT_EQ(filling.gaps.size(), 3U);
    EXPECT_EQ(filling.filledSamples(), 0);
    EXPECT_EQ(filling.gaps[0].reason, "the marker was seen in 5 of 300 frames only");
    EXPECT_EQ(filling.gaps[2].reason, "the marker was never seen");
}

TEST(GapFilling, LeavesMarkersUntouchedThatItIsToldTo) {
    Table table = limb(300);
    cut(table, 0, 100, 119);
    cut(table, 1, 100, 119);
    GapFillingOptions options;
    options.untouched = {1, 4, 99, -1}; // numbers that no marker has do no harm
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table), options);
    ASSERT_EQ(filling.gaps.size(), 1U);
    EXPECT_EQ(filling.gaps[0].marker, 0);
    EXPECT_FALSE(markerIn(filling.take, 110, 1).hasPosition());
    for (const int neighbour : filling.gaps[0].neighbours) {
        EXPECT_NE(neighbour, 4);
    }
}

TEST(GapFilling, LeavesGapsThatAreTooLongOrWouldBeFilledTooBadly) {
    Table table = limb(300);
    cut(table, 0, 100, 159);
    const auto take = cleaning_testing::takeOf(table);
    GapFillingOptions options;
    options.longestGap = 0.49;
    EXPECT_EQ(fillGaps(take, options).filledSamples(), 0);
    options.longestGap = 0.5;
    EXPECT_EQ(fillGaps(take, options).filledSamples(), 60);
    options.worstError = 1e-9;
    const GapFilling filling = fillGaps(take, options);
    EXPECT_EQ(filling.filledSamples(), 0);
    EXPECT_NE(filling.gaps[0].reason.find("as well as is asked for"), std::string::npos);
}

TEST(GapFilling, FillsFramesThatTheTakeLacks) {
    const Table truth = limb(300);
    const auto take = cleaning_testing::takeOf(truth);
    take->findTrack(markerDataType)->setFrame(150, nullptr);
    const GapFilling filling = fillGaps(take);
    EXPECT_EQ(filling.filledSamples(), 5);
    EXPECT_EQ(filling.take->getFrame(150, markerDataType)->time(), Time(150, 120));
    EXPECT_LT(distance(markerIn(filling.take, 150, 3), markerAt(truth, 150, 3)), 0.1);
}

TEST(GapFilling, TakesAPositionThatIsNoNumberForAGap) {
    const Table truth = limb(300);
    Table table = truth;
    const float nothing = std::numeric_limits<float>::quiet_NaN();
    table[150][2] = Marker::at({nothing, 1, 2});
    table[200][3] = Marker::at({1, std::numeric_limits<float>::infinity(), 2});
    const GapFilling filling = fillGaps(cleaning_testing::takeOf(table));
    EXPECT_EQ(filling.filledSamples(), 2);
    EXPECT_LT(distance(markerIn(filling.take, 150, 2), markerAt(truth, 150, 2)), 0.1);
    EXPECT_LT(distance(markerIn(filling.take, 200, 3), markerAt(truth, 200, 3)), 0.1);
}

TEST(GapFilling, HasNothingToDoForATakeWithoutGapsOrWithoutMarkers) {
    const auto whole = cleaning_testing::takeOf(limb(50));
    const GapFilling filling = fillGaps(whole);
    EXPECT_TRUE(filling.gaps.empty());
    EXPECT_EQ(filling.take->getFrame(20, markerDataType), whole->getFrame(20, markerDataType));
    const auto bare = std::make_shared<Tracks>();
    bare->setFps(120);
    EXPECT_TRUE(fillGaps(bare).gaps.empty());
}

TEST(GapFilling, RefusesWhatIsNoTakeOfMarkers) {
    EXPECT_THROW(fillGaps(nullptr), std::invalid_argument);
    EXPECT_THROW(fillGaps(std::make_shared<Tracks>()), std::invalid_argument); // no rate
    Table table = limb(3);
    table[1].pop_back();
    EXPECT_THROW(fillGaps(cleaning_testing::takeOf(table)), std::invalid_argument);
    const auto take = cleaning_testing::takeOf(limb(3));
    take->findTrack(markerDataType)
        ->setFrame(1, std::make_shared<Frame>(Time(1, 120), markerDataType, 5));
    EXPECT_THROW(fillGaps(take), PayloadError);
}

TEST(GapFillingThreads, TakesMayBeFilledOnSeveralThreadsAtOnce) {
    Table table = limb(300);
    cut(table, 0, 100, 119);
    const auto take = cleaning_testing::takeOf(table);
    auto other = std::async(std::launch::async, [&] { return fillGaps(take).filledSamples(); });
    EXPECT_EQ(fillGaps(take).filledSamples(), 20);
    EXPECT_EQ(other.get(), 20);
}

} // namespace
} // namespace tarn::kit
