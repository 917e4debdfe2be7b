// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Timecode.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using namespace tarn::kit;

const Rate ntsc(30'000, 1001);
const Rate ntsc60(60'000, 1001);
constexpr auto dropFrame = TimecodeCounting::DropFrame;
constexpr auto nonDrop = TimecodeCounting::NonDrop;

/// Counts as a clock with wheels does, one frame at a time, and leaves out what is left out.
Timecode next(Timecode timecode, int fps, int dropped) {
    ++timecode.frames;
    if (timecode.frames == fps) {
        timecode.frames = 0;
        ++timecode.seconds;
    }
    if (timecode.seconds == 60) {
        timecode.seconds = 0;
        ++timecode.minutes;
        if (timecode.minutes % 10 != 0) {
            timecode.frames = dropped;
        }
    }
    if (timecode.minutes == 60) {
        timecode.minutes = 0;
        ++timecode.hours;
    }
    return timecode;
}

void expectWholeDay(const Rate& rate, TimecodeCounting counting, int dropped) {
    Timecode expected;
    expected.counting = counting;
    std::int64_t frame = 0;
    for (; expected.hours < 24; ++frame) {
        // Plain comparisons: an assertion each would take most of the time.
        if (timecodeOf(frame, rate, counting) != expected || frameOf(expected, rate) != frame) {
            FAIL() << "frame " << frame << ", " << timecodeText(expected);
        }
        expected = next(expected, rate.fps(), dropped);
    }
    EXPECT_EQ(frame, counting == dropFrame ? (107'892 * 24) * rate.fps() / 30
                                           : std::int64_t{86'400} * rate.fps());
}

TEST(Timecode, DropFrameCountsTheWholeDayAt2997) { expectWholeDay(ntsc, dropFrame, 2); }
TEST(Timecode, DropFrameCountsTheWholeDayAt5994) { expectWholeDay(ntsc60, dropFrame, 4); }
TEST(Timecode, NonDropCountsTheWholeDayAt2997) { expectWholeDay(ntsc, nonDrop, 0); }
TEST(Timecode, NonDropCountsTheWholeDayAt5994) { expectWholeDay(ntsc60, nonDrop, 0); }

TEST(Timecode, DropFrameKeepsUpWithTheClock) {
    // After a day it is off by less than three frames.
    const Timecode midnight = timecodeOf(ntsc.frameAt({86'400, 1}), ntsc, dropFrame);
    EXPECT_EQ(timecodeText(midnight), "24:00:00;02");
    EXPECT_EQ(timecodeText(timecodeOf(ntsc.frameAt({3600, 1}), ntsc)), "00:59:56:12");
}

TEST(Timecode, TextHasTwoDigitsAndAsManyAsFramesNeed) {
    EXPECT_EQ(timecodeText(timecodeOf(994, Rate(120))), "00:00:08:34");
    EXPECT_EQ(timecodeText(timecodeOf(1'079, Rate(120))), "00:00:08:119");
    EXPECT_EQ(timecodeText(timecodeOf(994, Rate(100))), "00:00:09:94");
    EXPECT_EQ(timecodeText(timecodeOf(0, Rate(1))), "00:00:00:00");
    EXPECT_EQ(timecodeText(timecodeOf(17'982, ntsc, dropFrame)), "00:10:00;00");
    EXPECT_EQ(timecodeText(timecodeOf(1800, ntsc, dropFrame)), "00:01:00;02");
}

TEST(Timecode, IsReadAsItIsWritten) {
    EXPECT_EQ(parseTimecode("01:02:03:04"), (Timecode{1, 2, 3, 4, nonDrop}));
    EXPECT_EQ(parseTimecode("01:02:03;04"), (Timecode{1, 2, 3, 4, dropFrame}));
    EXPECT_EQ(parseTimecode("100:00:00:119"), (Timecode{100, 0, 0, 119, nonDrop}));
    for (const char* const none :
         {"", ":", "1:2:3", "1:2:3:4:5", "1;2:3:4", "1:2:3:", "1:2:3:4 ", " 1:2:3:4", "1:2:3:-4",
          "-1:2:3:4", "a:b:c:d", "1:2:3.4", "1:2:3:99999999999"}) {
        EXPECT_FALSE(parseTimecode(none)) << none;
    }
}

std::string errorOf(const Timecode& timecode, const Rate& rate) {
    try {
        frameOf(timecode, rate);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "none";
}

TEST(Timecode, WhatIsNoTimecodeIsNamed) {
    EXPECT_EQ(errorOf({0, 1, 0, 1, dropFrame}, ntsc),
              "no such timecode: drop-frame counting leaves out 00:01:00;01");
    EXPECT_EQ(errorOf({0, 1, 0, 2, dropFrame}, ntsc), "none");
    EXPECT_EQ(errorOf({0, 10, 0, 0, dropFrame}, ntsc), "none");
    EXPECT_EQ(errorOf({0, 1, 0, 3, dropFrame}, ntsc60),
              "no such timecode: drop-frame counting leaves out 00:01:00;03");
    EXPECT_EQ(errorOf({0, 0, 0, 30, nonDrop}, ntsc),
              "no such timecode: frames are from 0 to 29, not 30");
    EXPECT_EQ(errorOf({0, 60, 0, 0, nonDrop}, ntsc),
              "no such timecode: minutes are from 0 to 59, not 60");
    EXPECT_EQ(errorOf({0, 0, -1, 0, nonDrop}, ntsc),
              "no such timecode: seconds are from 0 to 59, not -1");
    EXPECT_THROW(frameOf({-1, 0, 0, 0, nonDrop}, ntsc), std::invalid_argument);
    EXPECT_THROW(timecodeOf(-1, ntsc), std::invalid_argument);
}

TEST(Timecode, DropFrameIsForTheTwoRatesThatNeedIt) {
    EXPECT_TRUE(canCount(ntsc, dropFrame));
    EXPECT_TRUE(canCount(ntsc60, dropFrame));
    EXPECT_FALSE(canCount(Rate(30), dropFrame));
    EXPECT_FALSE(canCount(Rate(24'000, 1001), dropFrame));
    EXPECT_TRUE(canCount(Rate(30), nonDrop));
    EXPECT_THROW(timecodeOf(0, Rate(30), dropFrame), std::invalid_argument);
    EXPECT_THROW(frameOf({0, 0, 0, 0, dropFrame}, Rate(25)), std::invalid_argument);
}

} // namespace
