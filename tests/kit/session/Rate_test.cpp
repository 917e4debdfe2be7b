// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Rate.h>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace {

using tarn::kit::Instant;
using tarn::kit::microsecondsOf;
using tarn::kit::Rate;

TEST(Rate, IsKeptInLowestTerms) {
    const Rate rate(60'000, 2002);
    EXPECT_EQ(rate.numerator(), 30'000);
    EXPECT_EQ(rate.denominator(), 1001);
    EXPECT_EQ(rate, Rate(30'000, 1001));
    EXPECT_NE(rate, Rate(30));
    EXPECT_EQ(Rate(), Rate(1));
    EXPECT_TRUE(Rate(240, 2).isWhole());
    EXPECT_FALSE(rate.isWhole());
}

TEST(Rate, RefusesWhatIsNoRate) {
    EXPECT_THROW(Rate(0), std::invalid_argument);
    EXPECT_THROW(Rate(-30, 1), std::invalid_argument);
    EXPECT_THROW(Rate(30, 0), std::invalid_argument);
    EXPECT_THROW(Rate(1, 1'000'000'001), std::invalid_argument);
    EXPECT_THROW(Rate(1'000'000'001), std::invalid_argument);
    EXPECT_NO_THROW(Rate(1'000'000'000, 1'000'000'000));
    for (const double none : {0.0, -30.0, 1e7, 1e-7, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(Rate::nearest(none), std::invalid_argument) << none;
    }
}

TEST(Rate, KnowsWhatIsMeantByFewDigits) {
    EXPECT_EQ(Rate::nearest(29.97), Rate(30'000, 1001));
    EXPECT_EQ(Rate::nearest(59.94), Rate(60'000, 1001));
    EXPECT_EQ(Rate::nearest(23.976), Rate(24'000, 1001));
    EXPECT_EQ(Rate::nearest(119.88), Rate(120'000, 1001));
    EXPECT_EQ(Rate::nearest(120), Rate(120));
    EXPECT_EQ(Rate::nearest(119.999), Rate(120));
    EXPECT_EQ(Rate::nearest(12.5), Rate(25, 2));
    EXPECT_EQ(Rate::nearest(0.5), Rate(1, 2));
    EXPECT_EQ(Rate::nearest(1e-6), Rate(1, 1'000'000));
    EXPECT_EQ(Rate::nearest(1e6), Rate(1'000'000));
    EXPECT_EQ(Rate::nearest(100.0 / 3), Rate(100, 3));
    // A camera's own rate, which no video has.
    EXPECT_EQ(Rate::nearest(179.82), Rate(180'000, 1001));
    EXPECT_EQ(Rate::nearest(99.5), Rate(199, 2));
}

TEST(Rate, KnowsWhatIsMeantByTheFrameTimesOfMotionFiles) {
    EXPECT_EQ(Rate::fromFrameTime(0.0083333), Rate(120));
    EXPECT_EQ(Rate::fromFrameTime(0.008333), Rate(120));
    EXPECT_EQ(Rate::fromFrameTime(0.0333333), Rate(30));
    EXPECT_EQ(Rate::fromFrameTime(0.033367), Rate(30'000, 1001));
    EXPECT_EQ(Rate::fromFrameTime(0.0333667), Rate(30'000, 1001));
    EXPECT_EQ(Rate::fromFrameTime(0.04), Rate(25));
    EXPECT_EQ(Rate::fromFrameTime(0.041667), Rate(24));
    EXPECT_EQ(Rate::fromFrameTime(0.0417083), Rate(24'000, 1001));
    EXPECT_EQ(Rate::fromFrameTime(2), Rate(1, 2));
}

TEST(Rate, IsReadAndWrittenAsText) {
    EXPECT_EQ(Rate(30'000, 1001).text(), "30000/1001");
    EXPECT_EQ(Rate(120).text(), "120");
    for (const Rate& rate : {Rate(120), Rate(30'000, 1001), Rate(1, 2)}) {
        EXPECT_EQ(Rate::parse(rate.text()), rate);
    }
    EXPECT_EQ(Rate::parse("29.97"), Rate(30'000, 1001));
    for (const char* const none :
         {"", "/", "30/", "/1", "30/0", "-30", "30 ", " 30", "fast", "30/1/1", "nan", "inf", "0",
          "30x", "1e300", "99999999999999999999/1"}) {
        EXPECT_FALSE(Rate::parse(none)) << none;
    }
}

TEST(Rate, CountsFramesOfAWholeDayToTheMicrosecond) {
    const Rate rate(30'000, 1001);
    // 24 h of the clock are 2,589,410.589... frames.
    EXPECT_EQ(microsecondsOf(rate.at(2'589'411)), 86'400'013'700);
    EXPECT_EQ(microsecondsOf(rate.at(3)), 100'100);
    EXPECT_EQ(microsecondsOf(rate.at(1)), 33'367);
    EXPECT_EQ(microsecondsOf(rate.at(-1)), -33'367);
    EXPECT_EQ(microsecondsOf(Rate(1000).at(86'400'000)), 86'400'000'000);
}

TEST(Rate, MomentsOfDifferentRatesAreComparedExactly) {
    EXPECT_EQ(Rate(120).at(120), Rate(1000).at(1000));
    EXPECT_EQ(Rate(30'000, 1001).at(30'000), Rate(1).at(1001));
    EXPECT_LT(Rate(30'000, 1001).at(29'999), Rate(1).at(1001));
    // A ten-millionth of a microsecond apart after a day.
    const Instant day = {86'400'000'000'000, 1'000'000'000};
    EXPECT_LT(day, (Instant{86'400'000'000'001, 1'000'000'000}));
    EXPECT_GT((Instant{-1, 3}), (Instant{-1, 2}));
    EXPECT_LE(day, day);
    EXPECT_GE(day, day);
    EXPECT_NE(day, Instant());
}

TEST(Rate, KnowsTheFrameThatIsShownAtAMoment) {
    const Rate rate(30'000, 1001);
    for (const std::int64_t frame : {-3LL, -1LL, 0LL, 1LL, 17'982LL, 2'589'411LL}) {
        const Instant begin = rate.at(frame);
        EXPECT_EQ(rate.frameAt(begin), frame);
        EXPECT_EQ(rate.frameAt({begin.numerator * 1000 - 1, begin.denominator * 1000}), frame - 1);
        EXPECT_EQ(rate.frameAt({begin.numerator * 1000 + 1, begin.denominator * 1000}), frame);
    }
}

TEST(Rate, StampsFramesWithTheNearestWholeRate) {
    EXPECT_EQ(Rate(30'000, 1001).fps(), 30);
    EXPECT_EQ(Rate(25, 2).fps(), 13);
    EXPECT_EQ(Rate(1, 10).fps(), 1);
    EXPECT_EQ(Rate(30'000, 1001).time(12), tarn::Time(12, 30));
    EXPECT_DOUBLE_EQ(Rate(25, 2).value(), 12.5);
    EXPECT_DOUBLE_EQ(Rate(25, 2).frameTime(), 0.08);
}

} // namespace
