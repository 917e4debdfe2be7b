// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeComparison.h"

#include <gtest/gtest.h>
#include <tarn_kit/body/Rig.h>

#include <memory>
#include <optional>
#include <vector>

namespace tarn::capture {
namespace {

void put(Tracks& take, int index, const Time& time, std::vector<float> values) {
    take.setFrame(index, kit::poseDataType,
                  std::make_shared<Frame>(time, kit::poseDataType, kit::Pose{std::move(values)}));
}

/// Three frames of two values each.
class TakeComparison : public ::testing::Test {
protected:
    TakeComparison() {
        for (Tracks* take : {&a_, &b_}) {
            take->setTimeLength(3);
            for (unsigned i = 0; i < 3; ++i) {
                put(*take, static_cast<int>(i), Time(i, 30), {1, static_cast<float>(i)});
            }
        }
    }

    Tracks a_;
    Tracks b_;
};

TEST_F(TakeComparison, FindsNoDifferenceBetweenTheSameFrames) {
    EXPECT_EQ(firstDifference(a_, b_, allFrames(3)), std::nullopt);
}

TEST_F(TakeComparison, FindsAFrameOfAnotherValue) {
    put(b_, 1, Time(1, 30), {1, 1.0000001F});
    put(b_, 2, Time(2, 30), {2, 2});
    EXPECT_EQ(firstDifference(a_, b_, allFrames(3)), 1);
}

TEST_F(TakeComparison, FindsAFrameOfFewerValues) {
    put(b_, 0, Time(0, 30), {1});
    EXPECT_EQ(firstDifference(a_, b_, allFrames(3)), 0);
}

TEST_F(TakeComparison, FindsAFrameOfAnotherTime) {
    put(b_, 2, Time(4, 60), {1, 2}); // the same second, but not the same time
    EXPECT_EQ(firstDifference(a_, b_, allFrames(3)), 2);
}

TEST_F(TakeComparison, FindsAFrameThatOnlyOneHas) {
    Tracks shorter;
    shorter.setTimeLength(3);
    put(shorter, 0, Time(0, 30), {1, 0});
    EXPECT_EQ(firstDifference(a_, shorter, allFrames(3)), 1);
    EXPECT_EQ(firstDifference(shorter, a_, allFrames(3)), 1);
}

TEST_F(TakeComparison, LooksNoFurtherThanItIsTold) {
    put(b_, 2, Time(2, 30), {7, 7});
    put(b_, 0, Time(0, 30), {7, 7});
    EXPECT_EQ(firstDifference(a_, b_, {1, 1}), std::nullopt);
}

} // namespace
} // namespace tarn::capture
