// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/GapFillingNode.h>

#include "CleaningTesting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::cut;
using cleaning_testing::distance;
using cleaning_testing::Frames;
using cleaning_testing::limb;
using cleaning_testing::Table;

GapFillingOptions options() {
    GapFillingOptions result;
    result.rate = 120;
    return result;
}

struct Line : cleaning_testing::NodeLine<GapFillingNode> {
    explicit Line(double delay = 0.25) : NodeLine(options(), delay) {}
    const Marker& markerIn(std::size_t frame, std::size_t marker) const {
        return markersAt(frame)[marker];
    }
};

TEST(GapFillingNode, LetsEveryFrameLeaveInOrderAfterItsDelay) {
    Line line;
    EXPECT_EQ(line.node.delayFrames(), 30);
    EXPECT_DOUBLE_EQ(line.node.delay(), 0.25);
    line.feed(limb(30));
    EXPECT_TRUE(line.out.empty());
    line.feed(limb(70), 30);
    ASSERT_EQ(line.out.size(), 70U);
    for (unsigned i = 0; i < 70; ++i) {
        EXPECT_EQ(line.out[i]->time(), Time(i, 120));
    }
    line.node.flush();
    EXPECT_EQ(line.out.size(), 100U);
    EXPECT_EQ(line.node.missingSamples(), 0);
}

TEST(GapFillingNode, FillsGapsThatEndWithinTheDelay) {
    const Table truth = limb(400);
    Table table = truth;
    cut(table, 2, 200, 229);
    Line line;
    line.feed(table);
    ASSERT_EQ(line.out.size(), 370U);
    for (std::size_t i = 200; i < 230; ++i) {
        ASSERT_EQ(line.markerIn(i, 2).state, MarkerState::Filled) << i;
        EXPECT_LT(distance(line.markerIn(i, 2), truth[i][2]), 0.1) << i;
    }
    EXPECT_EQ(line.node.filledSamples(), 30);
    EXPECT_EQ(line.node.missingSamples(), 0);
}

TEST(GapFillingNode, LetsLongerGapsAndThoseAtTheBeginningPass) {
    Table table = limb(400);
    cut(table, 2, 200, 230); // a frame more than the node waits
    cut(table, 1, 0, 9);
    cut(table, 4, 215, 217);
    Line line;
    line.feed(table);
    line.node.flush();
    EXPECT_EQ(line.node.filledSamples(), 3);
    EXPECT_EQ(line.node.missingSamples(), 41);
    EXPECT_FALSE(line.markerIn(200, 2).hasPosition());
    EXPECT_FALSE(line.markerIn(220, 2).hasPosition()); // nor is it filled from where another one is
    EXPECT_FALSE(line.markerIn(230, 2).hasPosition());
}

TEST(GapFillingNode, BeginsAnewWhereFramesAreMissing) {
    Table table = limb(200);
    cut(table, 2, 98, 99);
    Line line;
    line.feed(Table(table.begin(), table.begin() + 100));
    line.feed(Table(table.begin() + 100, table.end()), 130); // 30 frames were lost
    line.node.flush();
    ASSERT_EQ(line.out.size(), 200U);
    EXPECT_EQ(line.out[100]->time(), Time(130, 120));
    EXPECT_FALSE(line.markerIn(99, 2).hasPosition());
}

TEST(GapFillingNode, LetsOtherFramesPassAtOnce) {
    Line line;
    const auto frame = std::make_shared<Frame>(Time(0, 120), 99, 5);
    line.in.emit(frame);
    line.in.emit(nullptr);
    EXPECT_EQ(line.out, (Frames{frame, nullptr}));
}

TEST(GapFillingNode, RefusesRatesAndDelaysThatCannotBe) {
    EXPECT_THROW(GapFillingNode(GapFillingOptions{}), std::invalid_argument);
    EXPECT_THROW(GapFillingNode(options(), 0), std::invalid_argument);
    EXPECT_THROW(GapFillingNode(options(), 1, 1), std::invalid_argument);
    EXPECT_THROW(GapFillingNode(options(), 1, 1e9), std::invalid_argument);
}

TEST(GapFillingNodeThreads, MayBeDestroyedWhileFramesArrive) {
    tsignal::Signal<std::shared_ptr<Frame>> in;
    auto node = std::make_unique<GapFillingNode>(options());
    node->tieToIFramePort(GapFillingNode::framePort, in);
    Table table = limb(300);
    cut(table, 2, 100, 119);
    std::atomic<bool> done{false};
    std::thread device([&] {
        unsigned index = 0;
        for (const auto& markers : table) {
            in.emit(
                std::make_shared<Frame>(Time(index++, 120), markerDataType, MarkerFrame(markers)));
        }
        done = true;
    });
    while (node->filledSamples() == 0 && !done) {
        std::this_thread::yield();
    }
    node.reset();
    device.join();
}

} // namespace
} // namespace tarn::kit
