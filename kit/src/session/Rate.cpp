// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Rate.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

namespace {

// Products of two 64-bit numbers.
__extension__ using Wide = __int128;

constexpr std::int64_t largestPart = 1'000'000'000;

/// Rounded down, also for negative numbers.
std::int64_t floorDivide(Wide a, Wide b) {
    const Wide quotient = a / b;
    return static_cast<std::int64_t>(quotient - (a % b < 0 ? 1 : 0));
}

bool isNear(double value, double candidate, double tolerance) {
    return std::abs(value - candidate) <= tolerance * candidate;
}

/// The fraction with the smallest parts that is near enough: continued fractions, which give the
/// best approximations in order.
Rate simplest(double value) {
    std::int64_t previousTop = 1;
    std::int64_t previousBottom = 0;
    auto top = static_cast<std::int64_t>(std::floor(value));
    std::int64_t bottom = 1;
    double rest = value - std::floor(value);
    while (top == 0 ||
           !isNear(value, static_cast<double>(top) / static_cast<double>(bottom), 1e-7)) {
        const double next = 1 / rest;
        const auto whole = static_cast<std::int64_t>(std::floor(next));
        rest = next - std::floor(next);
        top = std::exchange(previousTop, top) + whole * top;
        bottom = std::exchange(previousBottom, bottom) + whole * bottom;
    }
    return Rate(top, bottom);
}

/// Reads all of a text, or nothing.
template <class Number>
std::optional<Number> read(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

} // namespace

std::int64_t microsecondsOf(const Instant& moment) noexcept {
    return floorDivide(2 * static_cast<Wide>(moment.numerator) * 1'000'000 + moment.denominator,
                       2 * static_cast<Wide>(moment.denominator));
}

bool operator==(const Instant& a, const Instant& b) noexcept {
    return static_cast<Wide>(a.numerator) * b.denominator ==
           static_cast<Wide>(b.numerator) * a.denominator;
}

bool operator<(const Instant& a, const Instant& b) noexcept {
    return static_cast<Wide>(a.numerator) * b.denominator <
           static_cast<Wide>(b.numerator) * a.denominator;
}

Rate::Rate(std::int64_t numerator, std::int64_t denominator) {
    if (std::min(numerator, denominator) < 1 || std::max(numerator, denominator) > largestPart) {
        throw std::invalid_argument(std::to_string(numerator) + "/" + std::to_string(denominator) +
                                    " is no frame rate: both parts are from 1 to 1000000000");
    }
    const std::int64_t divisor = std::gcd(numerator, denominator);
    numerator_ = numerator / divisor;
    denominator_ = denominator / divisor;
}

Rate Rate::nearest(double framesPerSecond) {
    if (!(framesPerSecond >= 1e-6 && framesPerSecond <= 1e6)) {
        throw std::invalid_argument(std::to_string(framesPerSecond) +
                                    " is no frame rate: it is from 0.000001 to 1000000");
    }
    const double whole = std::round(framesPerSecond);
    const double video = std::round(framesPerSecond * 1.001);
    const bool isWhole = whole >= 1 && isNear(framesPerSecond, whole, 1e-4);
    const bool isVideo = video >= 1 && isNear(framesPerSecond, video / 1.001, 1e-4);
    if (isWhole && (!isVideo || std::abs(framesPerSecond - whole) <=
                                    std::abs(framesPerSecond - video / 1.001))) {
        return Rate(static_cast<std::int64_t>(whole));
    }
    // Only rates of video are slowed down by 1001: those of 24, 25 or 30 frames and their
    // multiples.
    if (isVideo &&
        (std::fmod(video, 24) == 0 || std::fmod(video, 25) == 0 || std::fmod(video, 30) == 0)) {
        return Rate(static_cast<std::int64_t>(video) * 1000, 1001);
    }
    return simplest(framesPerSecond);
}

Rate Rate::fromFrameTime(double seconds) { return nearest(1 / seconds); }

std::optional<Rate> Rate::parse(std::string_view text) {
    const std::size_t slash = text.find('/');
    try {
        if (slash == std::string_view::npos) {
            const auto number = read<double>(text);
            return number ? std::optional(nearest(*number)) : std::nullopt;
        }
        const auto numerator = read<std::int64_t>(text.substr(0, slash));
        const auto denominator = read<std::int64_t>(text.substr(slash + 1));
        return numerator && denominator ? std::optional(Rate(*numerator, *denominator))
                                        : std::nullopt;
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

int Rate::fps() const noexcept {
    return static_cast<int>(std::max<std::int64_t>(1, std::llround(value())));
}

std::int64_t Rate::frameAt(const Instant& moment) const noexcept {
    return floorDivide(static_cast<Wide>(moment.numerator) * numerator_,
                       static_cast<Wide>(moment.denominator) * denominator_);
}

Time Rate::time(std::int64_t frame) const noexcept {
    return {static_cast<unsigned>(frame), static_cast<unsigned>(fps())};
}

std::string Rate::text() const {
    return isWhole() ? std::to_string(numerator_)
                     : std::to_string(numerator_) + "/" + std::to_string(denominator_);
}

} // namespace tarn::kit
