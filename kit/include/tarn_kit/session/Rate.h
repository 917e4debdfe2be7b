// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Time.h>
#include <tarn_kit/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {

/// A moment as an exact number of seconds: a fraction, so that moments of different rates can be
/// compared and never drift apart.
struct Instant {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1; ///< greater than 0

    constexpr double seconds() const noexcept {
        return static_cast<double>(numerator) / static_cast<double>(denominator);
    }
};

/// To the nearest one.
TARN_KIT_EXPORT std::int64_t microsecondsOf(const Instant& moment) noexcept;

/// Equal moments, however they are written: 1/2 is 2/4.
TARN_KIT_EXPORT bool operator==(const Instant& a, const Instant& b) noexcept;
TARN_KIT_EXPORT bool operator<(const Instant& a, const Instant& b) noexcept;
inline bool operator!=(const Instant& a, const Instant& b) noexcept { return !(a == b); }
inline bool operator>(const Instant& a, const Instant& b) noexcept { return b < a; }
inline bool operator<=(const Instant& a, const Instant& b) noexcept { return !(b < a); }
inline bool operator>=(const Instant& a, const Instant& b) noexcept { return !(a < b); }

/// Frames per second as a fraction: 120, 30000/1001 (which people call 29.97), 25/2. `Time` and
/// `Tracks` count whole frames per second; this says what those stand for.
///
/// A value in lowest terms with both parts greater than 0, so that rates are equal when their parts
/// are.
class TARN_KIT_EXPORT Rate {
public:
    /// One frame per second.
    constexpr Rate() noexcept = default;
    /// Throws `std::invalid_argument` unless both are from 1 to 10^9.
    explicit Rate(std::int64_t numerator, std::int64_t denominator = 1);

    /// The rate that is meant by a number with few digits. Within 1 part in 10,000 of a whole rate,
    /// or of one by 1001 (23.976, 29.97, 59.94, 119.88, and their like), it is that one; otherwise
    /// the simplest fraction within 1 part in 10^7. Throws `std::invalid_argument` for what is not
    /// a number from 10^-6 to 10^6.
    static Rate nearest(double framesPerSecond);
    /// As `nearest`, from the seconds between two frames, as motion files state them.
    static Rate fromFrameTime(double seconds);
    /// Reads "120", "29.97" (as `nearest` has it) or "30000/1001". Nothing for any other text.
    static std::optional<Rate> parse(std::string_view text);

    constexpr std::int64_t numerator() const noexcept { return numerator_; }
    constexpr std::int64_t denominator() const noexcept { return denominator_; }
    constexpr bool isWhole() const noexcept { return denominator_ == 1; }
    /// Frames per second.
    constexpr double value() const noexcept {
        return static_cast<double>(numerator_) / static_cast<double>(denominator_);
    }
    /// Seconds from frame to frame.
    constexpr double frameTime() const noexcept {
        return static_cast<double>(denominator_) / static_cast<double>(numerator_);
    }
    /// The whole rate that `Time` and `Tracks` get: the nearest one, at least 1.
    int fps() const noexcept;

    /// When a frame begins. Exact for frames of some hundred years.
    constexpr Instant at(std::int64_t frame) const noexcept {
        return {frame * denominator_, numerator_};
    }
    /// The frame that is shown at a moment: the last one that has begun by then. Negative before
    /// frame 0.
    std::int64_t frameAt(const Instant& moment) const noexcept;
    /// How a frame is stamped: its index, counted at `fps()`.
    Time time(std::int64_t frame) const noexcept;

    /// "120" or "30000/1001": what `parse` reads.
    std::string text() const;

    friend constexpr bool operator==(const Rate& a, const Rate& b) noexcept {
        return a.numerator_ == b.numerator_ && a.denominator_ == b.denominator_;
    }
    friend constexpr bool operator!=(const Rate& a, const Rate& b) noexcept { return !(a == b); }

private:
    std::int64_t numerator_ = 1;
    std::int64_t denominator_ = 1;
};

} // namespace tarn::kit
