// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>

#include <cstdint>
#include <string>
#include <utility>

namespace tarn {

/// A timecode: one 32-bit number, or its four bytes, the least significant one first (on the
/// little-endian machines that are supported).
union SmpteTime {
    std::uint32_t value;
#if defined(__GNUC__)
    __extension__ // an anonymous struct is what lets the bytes be read as `t.frames`
#endif
        struct {
        std::uint8_t frames;  ///< frame within the second
        std::uint8_t seconds; ///< 0 to 59
        std::uint8_t minutes; ///< 0 to 59
        std::uint8_t hours;   ///< whole hours, modulo 256
    };
};

/// A moment in a take: a frame number, counted from the start of the take at a rate in frames per
/// second. Nothing is normalised: `Time(2, 60)` and `Time(1, 30)` denote the same second, but they
/// are different values.
///
/// Equality compares the two fields; ordering compares seconds, in single precision. So times of
/// different rates that denote the same second are neither equal nor less nor greater, and neither
/// `<=` nor `>=` holds between them.
///
/// A rate of 0 is allowed for values that only take a place: its seconds are infinite or not a
/// number, and it has no timecode.
class TARN_EXPORT Time {
public:
    /// Frame 0 at rate 0.
    constexpr Time() noexcept = default;
    constexpr Time(unsigned frameIndex, unsigned fps) noexcept
        : frameIndex_(frameIndex), fps_(fps) {}

    constexpr unsigned frameIndex() const noexcept { return frameIndex_; }
    constexpr unsigned fps() const noexcept { return fps_; }

    /// Seconds since the start of the take: frame index by rate, both rounded to single precision.
    constexpr float toSecond() const noexcept {
        return static_cast<float>(frameIndex_) / static_cast<float>(fps_);
    }

    constexpr bool operator==(const Time& other) const noexcept {
        return frameIndex_ == other.frameIndex_ && fps_ == other.fps_;
    }
    constexpr bool operator!=(const Time& other) const noexcept { return !(*this == other); }
    constexpr bool operator<(const Time& other) const noexcept {
        return toSecond() < other.toSecond();
    }
    constexpr bool operator>(const Time& other) const noexcept {
        return toSecond() > other.toSecond();
    }
    /// Earlier by seconds, or equal in both fields.
    constexpr bool operator<=(const Time& other) const noexcept {
        return *this < other || *this == other;
    }
    /// Later by seconds, or equal in both fields.
    constexpr bool operator>=(const Time& other) const noexcept {
        return *this > other || *this == other;
    }

    /// The timecode, counted at the time's own rate, and a sub-frame byte that is 0 for every valid
    /// rate. Hours wrap at 256, and the frame within the second is kept in 8 bits.
    /// Precondition: the rate is not 0.
    std::pair<SmpteTime, unsigned char> toSmpte() const;

private:
    std::uint32_t frameIndex_ = 0;
    std::uint32_t fps_ = 0;
};

/// The timecode as text, "hours:minutes:seconds frames.subframe" without leading zeros: frame 100
/// at 30 fps is "0:0:3 10.0". Precondition: the rate is not 0.
TARN_EXPORT std::string to_string(const Time& time);

} // namespace tarn
