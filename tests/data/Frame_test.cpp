// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Frame.h>

#include "data/MotionData.h"

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using tarn::Frame;
using tarn::Time;

namespace {

static_assert(!std::is_polymorphic_v<Frame>);
static_assert(std::is_copy_constructible_v<Frame>);
static_assert(std::is_copy_assignable_v<Frame>);
static_assert(std::is_nothrow_move_constructible_v<Frame>);
static_assert(std::is_nothrow_move_assignable_v<Frame>);
static_assert(!std::is_convertible_v<Time, Frame>, "a time is not silently taken for a frame");

/// A payload that counts how often it was copied.
struct CountedPayload {
    explicit CountedPayload(int* copyCount) : copies(copyCount) {}
    CountedPayload(const CountedPayload& other) : copies(other.copies) { ++*copies; }
    CountedPayload(CountedPayload&&) noexcept = default;
    CountedPayload& operator=(const CountedPayload&) = delete;
    CountedPayload& operator=(CountedPayload&&) = delete;
    ~CountedPayload() = default;

    int* copies;
};

} // namespace

TEST(Frame, MadeFromATimeAloneIsEmptyAndOfTypeMinusOne) {
    const Frame frame(Time(3, 30));
    EXPECT_EQ(frame.time(), Time(3, 30));
    EXPECT_EQ(frame.dataType(), -1);
    EXPECT_FALSE(frame.data().has_value());
}

TEST(Frame, ByDefaultStandsAtTheDefaultTime) {
    const Frame frame;
    EXPECT_EQ(frame.time(), Time());
    EXPECT_EQ(frame.dataType(), -1);
    EXPECT_FALSE(frame.data().has_value());
}

TEST(Frame, TakesTimeDataTypeAndPayloadTogether) {
    const Frame frame(Time(3, 30), 12, std::string("pose"));
    EXPECT_EQ(frame.time(), Time(3, 30));
    EXPECT_EQ(frame.dataType(), 12);
    EXPECT_EQ(frame.dataAs<std::string>(), "pose");
}

TEST(Frame, MovesToAnotherTimeAndKeepsTheRest) {
    Frame frame(Time(3, 30), 12, 1.5F);
    frame.setTime(Time(4, 60));
    EXPECT_EQ(frame.time(), Time(4, 60));
    EXPECT_EQ(frame.dataType(), 12);
    EXPECT_EQ(frame.dataAs<float>(), 1.5F);
}

TEST(Frame, SetDataReplacesDataTypeAndPayloadAndKeepsTheTime) {
    Frame frame(Time(3, 30), 12, 1.5F);
    frame.setData(-7, std::vector<int>{1, 2});
    EXPECT_EQ(frame.time(), Time(3, 30));
    EXPECT_EQ(frame.dataType(), -7);
    EXPECT_EQ(frame.dataAs<std::vector<int>>(), (std::vector<int>{1, 2}));
    frame.setData(5, std::any());
    EXPECT_EQ(frame.dataType(), 5);
    EXPECT_FALSE(frame.data().has_value());
}

TEST(Frame, ReadingThePayloadAsAnotherTypeThrows) {
    const Frame frame(Time(3, 30), 12, 7);
    EXPECT_EQ(frame.dataAs<int>(), 7);
    EXPECT_THROW(static_cast<void>(frame.dataAs<unsigned>()), std::bad_any_cast);
    EXPECT_THROW(static_cast<void>(frame.dataAs<std::string>()), std::bad_any_cast);
    EXPECT_EQ(frame.dataAs<int>(), 7);
}

TEST(Frame, ReadingAnEmptyPayloadThrows) {
    EXPECT_THROW(static_cast<void>(Frame().dataAs<int>()), std::bad_any_cast);
    EXPECT_THROW(static_cast<void>(Frame(Time(1, 30), 4, {}).dataAs<int>()), std::bad_any_cast);
}

TEST(Frame, ThePayloadIsReadInPlace) {
    const Frame frame(Time(3, 30), 12, std::string("pose"));
    EXPECT_EQ(&frame.dataAs<std::string>(), std::any_cast<std::string>(&frame.data()));
}

TEST(Frame, ACopyHasItsOwnPayload) {
    Frame original(Time(3, 30), 12, std::string("pose"));
    const Frame copy(original);
    original.setTime(Time(4, 30));
    original.setData(13, std::string("other"));
    EXPECT_EQ(copy.time(), Time(3, 30));
    EXPECT_EQ(copy.dataType(), 12);
    EXPECT_EQ(copy.dataAs<std::string>(), "pose");
}

TEST(Frame, APayloadHeldBySharedPointerIsSharedByCopies) {
    const auto payload = std::make_shared<int>(5);
    Frame original(Time(3, 30), 12, payload);
    const Frame copy(original);
    EXPECT_EQ(payload.use_count(), 3);
    original.setData(12, std::any());
    EXPECT_EQ(copy.dataAs<std::shared_ptr<int>>(), payload);
    EXPECT_EQ(payload.use_count(), 2);
}

TEST(Frame, CopyAssignmentTakesEverything) {
    const Frame original(Time(3, 30), 12, std::string("pose"));
    Frame copy(Time(9, 60), 1, 5);
    copy = original;
    EXPECT_EQ(copy.time(), Time(3, 30));
    EXPECT_EQ(copy.dataType(), 12);
    EXPECT_EQ(copy.dataAs<std::string>(), "pose");
    EXPECT_EQ(original.dataAs<std::string>(), "pose");
}

TEST(Frame, SelfAssignmentChangesNothing) {
    Frame frame(Time(3, 30), 12, std::string("pose"));
    const Frame& alias = frame;
    frame = alias;
    EXPECT_EQ(frame.time(), Time(3, 30));
    EXPECT_EQ(frame.dataType(), 12);
    EXPECT_EQ(frame.dataAs<std::string>(), "pose");
}

TEST(Frame, MovingTakesThePayloadWithoutCopyingIt) {
    int copies = 0;
    Frame original(Time(3, 30), 12, CountedPayload(&copies));
    const Frame moved(std::move(original));
    EXPECT_EQ(moved.time(), Time(3, 30));
    EXPECT_EQ(moved.dataType(), 12);
    EXPECT_EQ(moved.dataAs<CountedPayload>().copies, &copies);

    Frame source(Time(4, 60), 13, CountedPayload(&copies));
    Frame target(Time(5, 30), 1, 5);
    target = std::move(source);
    EXPECT_EQ(target.time(), Time(4, 60));
    EXPECT_EQ(target.dataType(), 13);
    EXPECT_EQ(target.dataAs<CountedPayload>().copies, &copies);
    EXPECT_EQ(copies, 0);
}

TEST(Frame, IsGivenItsPayloadWithoutCopyingIt) {
    int copies = 0;
    std::any payload = CountedPayload(&copies);
    Frame frame(Time(3, 30), 12, std::move(payload));
    frame.setData(13, std::any(CountedPayload(&copies)));
    EXPECT_EQ(copies, 0);
    const Frame copy(frame);
    EXPECT_EQ(copies, 1);
    EXPECT_EQ(copy.dataAs<CountedPayload>().copies, &copies);
}
