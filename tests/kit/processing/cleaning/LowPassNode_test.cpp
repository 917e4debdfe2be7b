// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/LowPassNode.h>

#include "CleaningTesting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::Frames;

std::shared_ptr<Frame> frameOf(unsigned index, const std::vector<Marker>& markers) {
    return std::make_shared<Frame>(Time(index, 120), markerDataType, MarkerFrame(markers));
}

/// A node of second order at 6 Hz, fed at 120 frames per second, and what comes out of it.
struct Line : cleaning_testing::NodeLine<LowPassNode> {
    Line() : NodeLine(120.0) {}
    /// What comes out for a marker at `x`.
    Marker feed(double x) {
        in.emit(frameOf(index++, {Marker::at({static_cast<float>(x), 0, 0}, 0.5F, 3)}));
        return out.back()->dataAs<MarkerFrame>()[0];
    }

    unsigned index = 0;
};

TEST(LowPassNode, AgreesWithATextbooksFilterThatBeginsAtRest) {
    // scipy 1.10.1: b, a = butter(2, 6 / 60); lfilter(b, a, curve, zi=lfilter_zi(b, a) * curve[0])
    const std::vector<double> curve = {9.5, 41.5, 39.5, 92.25, 107.5, 83.5, 110.25, 97.25};
    const std::vector<double> expected = {9.5,
                                          10.142667698054762,
                                          12.391052256432578,
                                          17.110377046114287,
                                          25.42022311447145,
                                          36.555236231522485,
                                          48.48716023116951,
                                          60.303027016596594};
    Line line;
    for (std::size_t i = 0; i < curve.size(); ++i) {
        EXPECT_NEAR(line.feed(curve[i]).position.x, expected[i], 1e-5) << i;
    }
}

TEST(LowPassNode, SaysByHowMuchSlowMovementIsLate) {
    Line line;
    double late = 0;
    for (int i = 0; i < 300; ++i) { // one unit per frame
        late = i - static_cast<double>(line.feed(i).position.x);
    }
    EXPECT_NEAR(late / 120, line.node.delay(), 1e-6);
    EXPECT_NEAR(line.node.delay(), 0.037, 0.001);
}

TEST(LowPassNode, KeepsTimesAndWhatElseIsKnownOfAMarker) {
    Line line;
    const Marker marker = line.feed(10);
    EXPECT_EQ(marker.state, MarkerState::Seen);
    EXPECT_EQ(marker.residual, 0.5F);
    EXPECT_EQ(marker.cameras, 3);
    EXPECT_FLOAT_EQ(marker.position.x, 10);
    EXPECT_EQ(line.out.back()->time(), Time(0, 120));
    EXPECT_EQ(line.out.back()->dataType(), markerDataType);
}

TEST(LowPassNode, BeginsAnewBehindAGapAndBehindMissingFrames) {
    Line line;
    for (int i = 0; i < 20; ++i) {
        line.feed(10);
    }
    line.in.emit(frameOf(line.index++, {Marker()}));
    EXPECT_FALSE(line.out.back()->dataAs<MarkerFrame>()[0].hasPosition());
    EXPECT_FLOAT_EQ(line.feed(500).position.x, 500);
    EXPECT_LT(line.feed(600).position.x, 510);
    line.index += 5;
    EXPECT_FLOAT_EQ(line.feed(900).position.x, 900);
}

TEST(LowPassNode, LetsOtherFramesPass) {
    Line line;
    const auto frame = std::make_shared<Frame>(Time(0, 120), 99, 5);
    line.in.emit(frame);
    line.in.emit(nullptr);
    EXPECT_EQ(line.out, (Frames{frame, nullptr}));
}

TEST(LowPassNode, RefusesOrdersAndCutOffsThatCannotBe) {
    EXPECT_THROW(LowPassNode(120, 60), std::invalid_argument);
    EXPECT_THROW(LowPassNode(120, 0), std::invalid_argument);
    EXPECT_THROW(LowPassNode(0, 6), std::invalid_argument);
    EXPECT_THROW(LowPassNode(120, 6, 0), std::invalid_argument);
    EXPECT_THROW(LowPassNode(120, 6, 9), std::invalid_argument);
}

TEST(LowPassNodeThreads, MayBeDestroyedWhileFramesArrive) {
    tsignal::Signal<std::shared_ptr<Frame>> in;
    std::atomic<int> arrived{0};
    std::atomic<bool> done{false};
    auto node = std::make_unique<LowPassNode>(120);
    node->tieToIFramePort(LowPassNode::framePort, in);
    node->oFramePort(LowPassNode::framePort).connect([&](const auto&) { ++arrived; });
    std::thread device([&] {
        for (unsigned index = 0; !done; ++index) {
            in.emit(frameOf(index, {Marker::at({1, 2, 3})}));
        }
    });
    while (arrived < 10) {
        std::this_thread::yield();
    }
    node.reset();
    done = true;
    device.join();
}

} // namespace
} // namespace tarn::kit
