// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/TakeOf.h>

#include <gtest/gtest.h>

namespace tarn::kit {
namespace {

constexpr int dataType = 9;

std::shared_ptr<Frame> frameAt(unsigned index) {
    return std::make_shared<Frame>(Time(index, 60), dataType, std::any());
}

TEST(TakeOf, ShowsEachFrameAtItsPlaceInTheList) {
    const auto first = frameAt(8);
    const auto last = frameAt(3);
    const auto take = takeOf(dataType, {first, nullptr, last}, 60);
    EXPECT_EQ(take->getFrame(0, dataType), first);
    EXPECT_EQ(take->getFrame(1, dataType), nullptr);
    EXPECT_EQ(take->getFrame(2, dataType), last);
    EXPECT_EQ(take->trackCount(), 1);
    EXPECT_EQ(take->trackOffset(take->getTrack(0)), 0);
}

TEST(TakeOf, SetsRateLengthFrameCountAndWorkRange) {
    const auto take = takeOf(dataType, {frameAt(0), frameAt(1), frameAt(2)}, 60);
    EXPECT_EQ(take->fps(), 60);
    EXPECT_EQ(take->timeLength(), 3);
    EXPECT_EQ(take->frameCount(), 3);
    EXPECT_EQ(take->workRangeBegin(), 0);
    EXPECT_EQ(take->workRangeEnd(), 2);
    EXPECT_EQ(take->currentTime(), 0);
    EXPECT_EQ(take->getTime(2), Time(2, 60));
}

TEST(TakeOf, MakesAnEmptyTakeOfNoFrames) {
    const auto take = takeOf(dataType, {}, 0);
    EXPECT_EQ(take->timeLength(), 0);
    EXPECT_EQ(take->frameCount(), 0);
    EXPECT_EQ(take->fps(), 0);
    EXPECT_EQ(take->workRangeBegin(), 0);
    EXPECT_EQ(take->workRangeEnd(), 0);
    ASSERT_EQ(take->trackCount(), 1);
    EXPECT_EQ(take->getTrack(0)->dataType(), dataType);
    EXPECT_EQ(take->getTrack(0)->frameCount(), 0);
}

TEST(TrackOf, HasEachFrameInItsSlot) {
    const auto frame = frameAt(4);
    const auto track = trackOf(dataType, {nullptr, frame});
    EXPECT_EQ(track->dataType(), dataType);
    ASSERT_EQ(track->frameCount(), 2);
    EXPECT_EQ(track->getFrame(0), nullptr);
    EXPECT_EQ(track->getFrame(1), frame);
}

} // namespace
} // namespace tarn::kit
