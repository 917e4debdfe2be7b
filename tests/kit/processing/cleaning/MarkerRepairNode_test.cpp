// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/MarkerRepairNode.h>

#include "CleaningTesting.h"

#include "support/Samples.h"

#include <tarn_kit/files/C3d.h>
#include <tarn_kit/processing/cleaning/GapFillingNode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::distance;
using cleaning_testing::Frames;
using cleaning_testing::limb;
using cleaning_testing::push;
using cleaning_testing::swap;
using cleaning_testing::Table;

MarkerRepairOptions atRate(double rate = 120) {
    MarkerRepairOptions options;
    options.rate = rate;
    return options;
}

struct Line : cleaning_testing::NodeLine<MarkerRepairNode> {
    explicit Line(double delay = 0.5, double memory = 3,
                  const MarkerRepairOptions& options = atRate())
        : NodeLine(options, delay, memory) {}
};

/// Whether all markers are where those of the table are, and missing where they are.
void expectSame(const Line& line, const Table& table) {
    ASSERT_EQ(line.out.size(), table.size());
    for (std::size_t frame = 0; frame < table.size(); ++frame) {
        for (std::size_t marker = 0; marker < table[frame].size(); ++marker) {
            const Marker& found = line.markersAt(frame)[marker];
            ASSERT_EQ(found.hasPosition(), table[frame][marker].hasPosition())
                << frame << " " << marker;
            if (found.hasPosition()) {
                ASSERT_EQ(distance(found, table[frame][marker]), 0) << frame << " " << marker;
            }
        }
    }
}

Table tableOf(const std::shared_ptr<Tracks>& take) {
    Table table;
    for (int i = 0; i < take->timeLength(); ++i) {
        table.push_back(take->getFrame(i, markerDataType)->dataAs<MarkerFrame>().toVector());
    }
    return table;
}

/// A limb with faults of all kinds, each of which ends in half a second.
Table withFaults() {
    Table table = limb(600, 6);
    swap(table, 1, 3, 100, 150);
    push(table, 2, 200, {80, 0, 0});
    push(table, 4, 250, {0, -60, 60});
    push(table, 4, 251, {0, -90, 10});
    swap(table, 0, 2, 300, 340);
    swap(table, 0, 4, 300, 340);
    push(table, 5, 420, {0, 0, -70});
    swap(table, 2, 5, 450, 451);
    return table;
}

TEST(MarkerRepairNode, LetsEveryFrameLeaveInOrderAfterItsDelay) {
    Line line;
    EXPECT_EQ(line.node.delayFrames(), 60);
    EXPECT_DOUBLE_EQ(line.node.delay(), 0.5);
    line.feed(limb(60));
    EXPECT_TRUE(line.out.empty());
    line.feed(limb(40), 60);
    ASSERT_EQ(line.out.size(), 40U);
    line.node.flush();
    ASSERT_EQ(line.out.size(), 100U);
    for (unsigned i = 0; i < 100; ++i) {
        EXPECT_EQ(line.out[i]->time(), Time(i, 120));
    }
}

TEST(MarkerRepairNode, MakesTheChangesThatAreMadeInATake) {
    const Table table = withFaults();
    MarkerRepair whole = repairMarkers(cleaning_testing::takeOf(table));
    ASSERT_EQ(whole.changes.size(), 6U);
    Line line(0.5, 10);
    line.feed(table);
    line.node.flush();
    expectSame(line, tableOf(whole.take));
    const std::vector<MarkerChange> changes = line.node.takeChanges();
    ASSERT_EQ(changes.size(), whole.changes.size());
    std::stable_sort(whole.changes.begin(), whole.changes.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (std::size_t i = 0; i < changes.size(); ++i) {
        EXPECT_EQ(changes[i].fault, whole.changes[i].fault);
        EXPECT_EQ(changes[i].first, whole.changes[i].first);
        EXPECT_EQ(changes[i].last, whole.changes[i].last);
        EXPECT_EQ(changes[i].markers, whole.changes[i].markers);
        EXPECT_TRUE(changes[i].corrected);
    }
    EXPECT_EQ(line.node.relabelledSamples(), 2 * 51 + 3 * 41 + 2 * 2);
    EXPECT_EQ(line.node.removedSamples(), 4);
    EXPECT_TRUE(line.node.takeChanges().empty());
}

TEST(MarkerRepairNode, NeedsNoMoreOfThePastThanItsMemory) {
    const Table table = withFaults();
    const Table whole = tableOf(repairMarkers(cleaning_testing::takeOf(table)).take);
    Line line(0.5, 1);
    line.feed(table);
    line.node.flush();
    expectSame(line, whole);
}

TEST(MarkerRepairNode, LetsFramesWithoutAFaultLeaveAsTheyCame) {
    for (const char* file : {"cmu_85_02.c3d", "cmu_01_01_jumps.c3d"}) {
        Line line;
        line.feed(tableOf(readC3d(tarn::testing::samplePath(file)).tracks));
        line.node.flush();
        EXPECT_EQ(line.out, line.fed) << file;
        EXPECT_TRUE(line.node.takeChanges().empty()) << file;
    }
}

TEST(MarkerRepairNode, FindsFaultsInATakeOfALaboratory) {
    const Table truth = tableOf(readC3d(tarn::testing::samplePath("cmu_85_02.c3d")).tracks);
    Table table = truth;
    swap(table, 0, 1, 300, 340);
    swap(table, 30, 31, 500, 550);
    push(table, 20, 430, {0, 120, 0});
    Line line;
    line.feed(table);
    line.node.flush();
    Table expected = truth;
    expected[430][20] = Marker();
    expectSame(line, expected);
}

TEST(MarkerRepairNode, ReportsASwapThatOutlastsItsDelayAndLetsItPass) {
    Table table = limb(600, 6);
    swap(table, 1, 3, 200, 299);
    const Table passed = table;
    swap(table, 0, 4, 400, 420); // and still sees one that does not
    Line line;
    line.feed(table);
    line.node.flush();
    expectSame(line, passed);
    const std::vector<MarkerChange> changes = line.node.takeChanges();
    ASSERT_FALSE(changes.empty());
    EXPECT_EQ(changes.front().first, 200);
    EXPECT_EQ(changes.front().last, 260) << "as far as it saw";
    EXPECT_EQ(changes.front().markers, (std::vector<int>{1, 3}));
    EXPECT_FALSE(changes.front().corrected);
    EXPECT_TRUE(changes.back().corrected);
    EXPECT_EQ(line.node.relabelledSamples(), 2 * 21);
}

TEST(MarkerRepairNode, DoesNotHoldOnToLabelsThatWereWrongAtTheBeginning) {
    Table table = limb(600, 6);
    swap(table, 1, 3, 0, 199);
    Line line;
    line.feed(table);
    line.node.flush();
    expectSame(line, table);
}

TEST(MarkerRepairNode, NeverAltersTheFramesThatArrive) {
    const Table table = withFaults();
    Line line;
    line.feed(table);
    for (std::size_t frame = 0; frame < table.size(); ++frame) {
        const auto& fed = line.fed[frame]->dataAs<MarkerFrame>();
        for (std::size_t marker = 0; marker < 6; ++marker) {
            ASSERT_EQ(distance(fed[marker], table[frame][marker]), 0);
        }
    }
}

TEST(MarkerRepairNode, LeavesMarkersUntouchedThatItIsToldTo) {
    Table table = limb(400, 6);
    swap(table, 1, 3, 100, 140);
    push(table, 5, 200, {80, 0, 0});
    MarkerRepairOptions options = atRate();
    options.untouched = {3, 5};
    Line line(0.5, 3, options);
    line.feed(table);
    line.node.flush();
    expectSame(line, table);
}

TEST(MarkerRepairNode, BeginsAnewWhereFramesAreMissing) {
    Table table = limb(400, 6);
    swap(table, 1, 3, 170, 199); // nobody sees it end
    Line line;
    line.feed(Table(table.begin(), table.begin() + 200));
    line.feed(Table(table.begin() + 200, table.end()), 230); // 30 frames were lost
    line.node.flush();
    expectSame(line, table);
    EXPECT_EQ(line.out[200]->time(), Time(230, 120));
}

TEST(MarkerRepairNode, LeavesGapsThatANodeBehindItCloses) {
    const Table truth = limb(400);
    Table table = truth;
    push(table, 2, 150, {80, 0, 0});
    push(table, 4, 250, {0, -60, 60});
    push(table, 4, 251, {0, -90, 10});
    Line line;
    GapFillingOptions options;
    options.rate = 120;
    GapFillingNode filling(options);
    filling.tieToIFramePort(GapFillingNode::framePort,
                            line.node.oFramePort(MarkerRepairNode::framePort));
    Frames out;
    filling.oFramePort(GapFillingNode::framePort).connect([&out](const auto& frame) {
        out.push_back(frame);
    });
    line.feed(table);
    EXPECT_EQ(out.size(), 400U - 60 - 30) << "the delays add up";
    line.node.flush();
    filling.flush();
    ASSERT_EQ(out.size(), 400U);
    EXPECT_EQ(filling.filledSamples(), 3);
    for (std::size_t frame = 0; frame < 400; ++frame) {
        for (std::size_t marker = 0; marker < 5; ++marker) {
            EXPECT_LT(distance(out[frame]->dataAs<MarkerFrame>()[marker], truth[frame][marker]),
                      0.1);
        }
    }
}

TEST(MarkerRepairNode, KeepsTheLatestOfTheChangesThatNobodyAsksFor) {
    constexpr int faults = static_cast<int>(MarkerRepairNode::mostChanges) + 5;
    Table table = limb(20 * faults + 40, 4);
    for (int i = 0; i < faults; ++i) {
        push(table, 2, 20 * i + 30, {0, 90, 0});
    }
    Line line(0.05, 0.2);
    line.feed(table);
    line.node.flush();
    const std::vector<MarkerChange> changes = line.node.takeChanges();
    ASSERT_EQ(changes.size(), MarkerRepairNode::mostChanges);
    EXPECT_EQ(changes.front().first, 20 * 5 + 30);
    EXPECT_EQ(changes.back().first, 20 * (faults - 1) + 30);
}

TEST(MarkerRepairNode, LetsOtherFramesPassAtOnce) {
    Line line;
    const auto frame = std::make_shared<Frame>(Time(0, 120), 99, 5);
    line.in.emit(frame);
    line.in.emit(nullptr);
    EXPECT_EQ(line.out, (Frames{frame, nullptr}));
}

TEST(MarkerRepairNode, RefusesRatesAndDelaysThatCannotBe) {
    EXPECT_THROW(MarkerRepairNode(MarkerRepairOptions{}), std::invalid_argument);
    EXPECT_THROW(MarkerRepairNode(atRate(), 0), std::invalid_argument);
    EXPECT_THROW(MarkerRepairNode(atRate(), 1, 1), std::invalid_argument);
    EXPECT_THROW(MarkerRepairNode(atRate(), 1, 1e9), std::invalid_argument);
}

TEST(MarkerRepairNodeThreads, MayBeDestroyedWhileFramesArrive) {
    tsignal::Signal<std::shared_ptr<Frame>> in;
    auto node = std::make_unique<MarkerRepairNode>(atRate());
    node->tieToIFramePort(MarkerRepairNode::framePort, in);
    const Table table = withFaults();
    std::atomic<bool> done{false};
    std::thread device([&] {
        unsigned index = 0;
        for (const auto& markers : table) {
            in.emit(
                std::make_shared<Frame>(Time(index++, 120), markerDataType, MarkerFrame(markers)));
        }
        done = true;
    });
    while (node->relabelledSamples() == 0 && !done) {
        node->takeChanges();
        std::this_thread::yield();
    }
    node.reset();
    device.join();
}

} // namespace
} // namespace tarn::kit
