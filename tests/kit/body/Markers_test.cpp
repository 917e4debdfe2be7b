// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Markers.h>

#include <tarn/Frame.h>

#include <gtest/gtest.h>

#include <any>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace tarn::kit {
namespace {

static_assert(sizeof(Marker) == 20, "a take of markers is little more than its numbers");
static_assert(std::is_trivially_copyable_v<Marker>);
static_assert(std::is_nothrow_move_constructible_v<MarkerFrame>);

std::vector<Marker> twoMarkers() { return {Marker::at({1, 2, 3}, 0.5F, 0x11), Marker()}; }

TEST(Marker, ThatWasNotSeenIsNowhereLeastOfAllAtTheOrigin) {
    const Marker marker;
    EXPECT_EQ(marker.state, MarkerState::NotSeen);
    EXPECT_FALSE(marker.hasPosition());
    EXPECT_TRUE(std::isnan(marker.position.x));
    EXPECT_TRUE(std::isnan(marker.position.y));
    EXPECT_TRUE(std::isnan(marker.position.z));
}

TEST(Marker, ThatWasSeenKnowsWhereByWhomAndHowWell) {
    const Marker marker = Marker::at({1, 2, 3}, 0.5F, 0x11);
    EXPECT_EQ(marker.state, MarkerState::Seen);
    EXPECT_TRUE(marker.hasPosition());
    EXPECT_EQ(marker.position.y, 2);
    EXPECT_EQ(marker.residual, 0.5F);
    EXPECT_EQ(marker.cameras, 0x11);
}

TEST(Marker, ThatWasFilledHasAPositionButWasNotSeen) {
    Marker marker = Marker::at({1, 2, 3});
    marker.state = MarkerState::Filled;
    EXPECT_TRUE(marker.hasPosition());
    EXPECT_NE(marker.state, MarkerState::Seen);
}

TEST(MarkerFrame, HoldsTheMarkersInOrder) {
    const MarkerFrame frame(twoMarkers());
    ASSERT_EQ(frame.size(), 2U);
    EXPECT_FALSE(frame.empty());
    EXPECT_EQ(frame[0].position.z, 3);
    EXPECT_FALSE(frame[1].hasPosition());
    std::size_t count = 0;
    for (const Marker& marker : frame) {
        EXPECT_EQ(&marker, frame.data() + count);
        ++count;
    }
    EXPECT_EQ(count, 2U);
}

TEST(MarkerFrame, TravelsAsThePayloadOfAFrame) {
    const Frame frame(Time(4, 120), markerDataType, MarkerFrame(twoMarkers()));
    EXPECT_EQ(frame.dataAs<MarkerFrame>()[0].position.x, 1);
    EXPECT_THROW(frame.dataAs<SharedArray<Marker>>(), std::bad_any_cast);
}

} // namespace
} // namespace tarn::kit
