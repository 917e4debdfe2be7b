// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/session/Rate.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {

/// How frames are counted in a timecode. It numbers frames at a whole rate: 30 for 30000/1001, so
/// that a timecode of an hour lasts 3.6 seconds longer than an hour. Drop-frame counting leaves out
/// numbers (never frames) so that it keeps up with the clock: at 29.97 the first two, at 59.94 the
/// first four of every minute that is not a multiple of ten.
enum class TimecodeCounting : std::uint8_t { NonDrop, DropFrame };

/// Hours, minutes, seconds and the frame within the second.
struct Timecode {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    TimecodeCounting counting = TimecodeCounting::NonDrop;
};

constexpr bool operator==(const Timecode& a, const Timecode& b) noexcept {
    return a.hours == b.hours && a.minutes == b.minutes && a.seconds == b.seconds &&
           a.frames == b.frames && a.counting == b.counting;
}
constexpr bool operator!=(const Timecode& a, const Timecode& b) noexcept { return !(a == b); }

/// Whether frames of this rate can be counted so: drop-frame is for 30000/1001 and 60000/1001.
TARN_KIT_EXPORT bool canCount(const Rate& rate, TimecodeCounting counting) noexcept;

/// The timecode of a frame, counted from 00:00:00:00. Hours go on beyond 24.
/// Throws `std::invalid_argument` if the frame is negative or the rate cannot be counted so.
TARN_KIT_EXPORT Timecode timecodeOf(std::int64_t frame, const Rate& rate,
                                    TimecodeCounting counting = TimecodeCounting::NonDrop);

/// The frame that has this timecode. Throws `std::invalid_argument` for a timecode that is none at
/// this rate, saying what is wrong: a part out of its range, or a number that drop-frame counting
/// leaves out.
TARN_KIT_EXPORT std::int64_t frameOf(const Timecode& timecode, const Rate& rate);

/// "00:00:08:34"; with ";" before the frames in drop-frame counting. Two digits of each, more where
/// it takes more: "00:00:08:119".
TARN_KIT_EXPORT std::string timecodeText(const Timecode& timecode);

/// Reads what `timecodeText` writes. Nothing for a text of another form; the ranges are for
/// `frameOf` to check.
TARN_KIT_EXPORT std::optional<Timecode> parseTimecode(std::string_view text);

} // namespace tarn::kit
