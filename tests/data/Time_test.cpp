// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Time.h>

#include "data/MotionData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

using tarn::SmpteTime;
using tarn::Time;

namespace {

// A value of two 32-bit numbers, free to copy and to compute with at compile time.
static_assert(sizeof(Time) == 8);
static_assert(std::is_trivially_copyable_v<Time>);
static_assert(std::is_standard_layout_v<Time>);
static_assert(std::is_nothrow_default_constructible_v<Time>);
static_assert(std::is_nothrow_constructible_v<Time, unsigned, unsigned>);
static_assert(std::is_nothrow_copy_constructible_v<Time>);
static_assert(std::is_nothrow_move_constructible_v<Time>);
static_assert(std::is_nothrow_copy_assignable_v<Time>);
static_assert(std::is_nothrow_move_assignable_v<Time>);
static_assert(std::is_same_v<decltype(Time().frameIndex()), unsigned>);
static_assert(std::is_same_v<decltype(Time().fps()), unsigned>);
static_assert(std::is_same_v<decltype(Time().toSecond()), float>);
static_assert(std::is_same_v<decltype(std::declval<const Time&>().toSmpte()),
                             std::pair<SmpteTime, unsigned char>>);
static_assert(noexcept(Time().frameIndex()));
static_assert(noexcept(Time().fps()));
static_assert(noexcept(Time().toSecond()));
static_assert(noexcept(Time() == Time()));
static_assert(noexcept(Time() != Time()));
static_assert(noexcept(Time() < Time()));
static_assert(noexcept(Time() > Time()));
static_assert(noexcept(Time() <= Time()));
static_assert(noexcept(Time() >= Time()));
static_assert(std::is_union_v<SmpteTime>);
static_assert(sizeof(SmpteTime) == 4);
static_assert(std::is_trivially_copyable_v<SmpteTime>);
static_assert(std::is_same_v<decltype(SmpteTime::value), std::uint32_t>);
static_assert(std::is_same_v<decltype(SmpteTime::frames), std::uint8_t>);

static_assert(Time() == Time(0, 0));
static_assert(Time(7, 30).frameIndex() == 7);
static_assert(Time(7, 30).fps() == 30);
static_assert(Time(15, 30).toSecond() == 0.5F);
static_assert(Time(1, 30) != Time(2, 60));
static_assert(Time(1, 30) < Time(3, 60));
static_assert(Time(3, 60) > Time(1, 30));
static_assert(Time(1, 30) <= Time(1, 30));
static_assert(Time(1, 30) >= Time(1, 30));

constexpr unsigned maxUnsigned = std::numeric_limits<unsigned>::max();

/// Neither order between two times, strict or not, holds in either direction.
void expectUnordered(const Time& a, const Time& b) {
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a > b);
    EXPECT_FALSE(a <= b);
    EXPECT_FALSE(a >= b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(b > a);
    EXPECT_FALSE(b <= a);
    EXPECT_FALSE(b >= a);
}

struct SmpteCase {
    Time time;
    unsigned hours;
    unsigned minutes;
    unsigned seconds;
    unsigned frames;
    std::string text;
};

std::ostream& operator<<(std::ostream& out, const SmpteCase& c) {
    return out << c.time.frameIndex() << '@' << c.time.fps();
}

class TimeSmpte : public testing::TestWithParam<SmpteCase> {};

} // namespace

TEST(Time, HoldsFrameIndexAndRateAsGiven) {
    const Time time(maxUnsigned, 120);
    EXPECT_EQ(time.frameIndex(), maxUnsigned);
    EXPECT_EQ(time.fps(), 120U);
}

TEST(Time, CopiesAndAssignmentsTakeBothFields) {
    const Time original(7, 30);
    Time copy(original);
    EXPECT_EQ(copy, original);
    copy = Time(8, 25);
    EXPECT_EQ(copy.frameIndex(), 8U);
    EXPECT_EQ(copy.fps(), 25U);
    copy = original;
    EXPECT_EQ(copy, original);
}

TEST(Time, EqualityComparesBothFields) {
    EXPECT_TRUE(Time(4, 30) == Time(4, 30));
    EXPECT_FALSE(Time(4, 30) != Time(4, 30));
    EXPECT_FALSE(Time(4, 30) == Time(5, 30));
    EXPECT_TRUE(Time(4, 30) != Time(5, 30));
    EXPECT_FALSE(Time(4, 30) == Time(4, 60));
    EXPECT_TRUE(Time(4, 30) != Time(4, 60));
    EXPECT_FALSE(Time(0, 30) == Time(0, 60));
    EXPECT_TRUE(Time(0, 30) != Time(0, 60));
}

TEST(Time, OrdersTimesOfOneRateByFrameIndex) {
    EXPECT_TRUE(Time(4, 30) < Time(5, 30));
    EXPECT_TRUE(Time(4, 30) <= Time(5, 30));
    EXPECT_FALSE(Time(4, 30) > Time(5, 30));
    EXPECT_FALSE(Time(4, 30) >= Time(5, 30));
    EXPECT_TRUE(Time(5, 30) > Time(4, 30));
    EXPECT_TRUE(Time(5, 30) >= Time(4, 30));
    EXPECT_FALSE(Time(5, 30) < Time(5, 30));
    EXPECT_FALSE(Time(5, 30) > Time(5, 30));
}

TEST(Time, OrdersTimesOfDifferentRatesBySeconds) {
    EXPECT_TRUE(Time(1, 30) < Time(3, 60));
    EXPECT_TRUE(Time(1, 30) <= Time(3, 60));
    EXPECT_TRUE(Time(100, 120) < Time(1, 1));
    EXPECT_TRUE(Time(1, 1) > Time(100, 120));
    EXPECT_TRUE(Time(1, 1) >= Time(100, 120));
    EXPECT_FALSE(Time(1, 1) <= Time(100, 120));
}

TEST(Time, TimesOfDifferentRatesInTheSameSecondAreNeitherEqualNorOrdered) {
    EXPECT_FALSE(Time(1, 30) == Time(2, 60));
    expectUnordered(Time(1, 30), Time(2, 60));
    expectUnordered(Time(0, 24), Time(0, 25));
    expectUnordered(Time(24, 24), Time(1000, 1000));
}

TEST(Time, TimesThatRoundToTheSameSecondsAreUnorderedThoughTheirFramesDiffer) {
    ASSERT_EQ(Time(16777216, 1).toSecond(), Time(16777217, 1).toSecond());
    expectUnordered(Time(16777216, 1), Time(16777217, 1));
    ASSERT_EQ(Time(1000000000, 1000).toSecond(), Time(1000000001, 1000).toSecond());
    expectUnordered(Time(1000000000, 1000), Time(1000000001, 1000));
    EXPECT_TRUE(Time(16777217, 1) <= Time(16777217, 1));
    EXPECT_TRUE(Time(16777217, 1) >= Time(16777217, 1));
}

TEST(Time, SecondsAreAQuotientOfSinglePrecisionNumbers) {
    EXPECT_EQ(Time(1, 3).toSecond(), 1.0F / 3.0F);
    // Rounding the frame index first gives another result than rounding the exact quotient.
    EXPECT_EQ(Time(16777245, 30).toSecond(), 559241.4375F);
    EXPECT_NE(Time(16777245, 30).toSecond(), static_cast<float>(16777245.0 / 30.0));
    EXPECT_EQ(Time(16777217, 25).toSecond(), 671088.625F);
    EXPECT_NE(Time(16777217, 25).toSecond(), static_cast<float>(16777217.0 / 25.0));
    // The same for the rate.
    EXPECT_EQ(Time(11184811, 16777217).toSecond(), 11184811.0F / 16777216.0F);
    EXPECT_NE(Time(11184811, 16777217).toSecond(), static_cast<float>(11184811.0 / 16777217.0));
    EXPECT_EQ(Time(maxUnsigned, 1).toSecond(), 4294967296.0F);
    EXPECT_EQ(Time(maxUnsigned, maxUnsigned).toSecond(), 1.0F);
}

TEST(Time, ARateOfZeroGivesInfiniteSeconds) {
    EXPECT_EQ(Time(5, 0).toSecond(), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(Time(maxUnsigned, 1) < Time(1, 0));
    EXPECT_TRUE(Time(1, 0) > Time(maxUnsigned, 1));
    expectUnordered(Time(1, 0), Time(2, 0));
    EXPECT_TRUE(Time(1, 0) <= Time(1, 0));
    EXPECT_TRUE(Time(1, 0) >= Time(1, 0));
}

TEST(Time, FrameZeroAtRateZeroIsNotANumberAndComparesWithNothingButItself) {
    EXPECT_TRUE(std::isnan(Time().toSecond()));
    expectUnordered(Time(), Time(0, 30));
    expectUnordered(Time(), Time(5, 30));
    expectUnordered(Time(), Time(5, 0));
    EXPECT_FALSE(Time() < Time()); // NOLINT(misc-redundant-expression): not a number on both sides
    EXPECT_FALSE(Time() > Time()); // NOLINT(misc-redundant-expression): not a number on both sides
    EXPECT_TRUE(Time() <= Time());
    EXPECT_TRUE(Time() >= Time());
    EXPECT_TRUE(Time() == Time());
}

TEST_P(TimeSmpte, CountsAtTheTimesOwnRate) {
    const SmpteCase& expected = GetParam();
    const auto [code, subFrame] = expected.time.toSmpte();
    EXPECT_EQ(code.hours, expected.hours);
    EXPECT_EQ(code.minutes, expected.minutes);
    EXPECT_EQ(code.seconds, expected.seconds);
    EXPECT_EQ(code.frames, expected.frames);
    EXPECT_EQ(subFrame, 0);
    EXPECT_EQ(code.value, (expected.hours << 24U) | (expected.minutes << 16U) |
                              (expected.seconds << 8U) | expected.frames);
    EXPECT_EQ(to_string(expected.time), expected.text);
}

INSTANTIATE_TEST_SUITE_P(
    Units, TimeSmpte,
    testing::Values(SmpteCase{Time(0, 30), 0, 0, 0, 0, "0:0:0 0.0"},
                    SmpteCase{Time(100, 30), 0, 0, 3, 10, "0:0:3 10.0"},
                    SmpteCase{Time(29, 30), 0, 0, 0, 29, "0:0:0 29.0"},
                    SmpteCase{Time(59 * 30 + 29, 30), 0, 0, 59, 29, "0:0:59 29.0"},
                    SmpteCase{Time(60 * 30, 30), 0, 1, 0, 0, "0:1:0 0.0"},
                    SmpteCase{Time(3599 * 30 + 29, 30), 0, 59, 59, 29, "0:59:59 29.0"},
                    SmpteCase{Time(108000, 30), 1, 0, 0, 0, "1:0:0 0.0"},
                    SmpteCase{Time((12 * 3600 + 34 * 60 + 56) * 25 + 7, 25), 12, 34, 56, 7,
                              "12:34:56 7.0"}));

INSTANTIATE_TEST_SUITE_P(
    HoursWrapAt256, TimeSmpte,
    testing::Values(SmpteCase{Time(256 * 3600 - 1, 1), 255, 59, 59, 0, "255:59:59 0.0"},
                    SmpteCase{Time(256 * 3600, 1), 0, 0, 0, 0, "0:0:0 0.0"},
                    SmpteCase{Time(257 * 3600 + 61, 1), 1, 1, 1, 0, "1:1:1 0.0"},
                    SmpteCase{Time(maxUnsigned, 1), 86, 28, 15, 0, "86:28:15 0.0"}));

INSTANTIATE_TEST_SUITE_P(HighRates, TimeSmpte,
                         testing::Values(SmpteCase{Time(23, 24), 0, 0, 0, 23, "0:0:0 23.0"},
                                         SmpteCase{Time(24, 25), 0, 0, 0, 24, "0:0:0 24.0"},
                                         SmpteCase{Time(49, 50), 0, 0, 0, 49, "0:0:0 49.0"},
                                         SmpteCase{Time(59, 60), 0, 0, 0, 59, "0:0:0 59.0"},
                                         SmpteCase{Time(61, 60), 0, 0, 1, 1, "0:0:1 1.0"},
                                         SmpteCase{Time(89, 90), 0, 0, 0, 89, "0:0:0 89.0"},
                                         SmpteCase{Time(95, 96), 0, 0, 0, 95, "0:0:0 95.0"},
                                         SmpteCase{Time(99, 100), 0, 0, 0, 99, "0:0:0 99.0"},
                                         SmpteCase{Time(119, 120), 0, 0, 0, 119, "0:0:0 119.0"},
                                         SmpteCase{Time(149, 150), 0, 0, 0, 149, "0:0:0 149.0"},
                                         SmpteCase{Time(239, 240), 0, 0, 0, 239, "0:0:0 239.0"}));

INSTANTIATE_TEST_SUITE_P(FramesAreKeptInEightBits, TimeSmpte,
                         testing::Values(SmpteCase{Time(255, 1000), 0, 0, 0, 255, "0:0:0 255.0"},
                                         SmpteCase{Time(256, 1000), 0, 0, 0, 0, "0:0:0 0.0"},
                                         SmpteCase{Time(2999, 1000), 0, 0, 2, 231, "0:0:2 231.0"},
                                         SmpteCase{Time(maxUnsigned - 1, maxUnsigned), 0, 0, 0, 254,
                                                   "0:0:0 254.0"}));

TEST(Time, TheBytesOfATimecodeAreItsNumberLeastSignificantFirst) {
    SmpteTime code{0x04030201U};
    EXPECT_EQ(code.frames, 1);
    EXPECT_EQ(code.seconds, 2);
    EXPECT_EQ(code.minutes, 3);
    EXPECT_EQ(code.hours, 4);
    code.seconds = 0xFF;
    EXPECT_EQ(code.value, 0x0403FF01U);
}

#ifndef NDEBUG
TEST(TimeDeathTest, ATimeWithoutARateHasNoTimecode) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(static_cast<void>(Time(1, 0).toSmpte()), "Assertion");
    EXPECT_DEATH(static_cast<void>(to_string(Time())), "Assertion");
}
#endif
