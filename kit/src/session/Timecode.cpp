// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Timecode.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <stdexcept>

namespace tarn::kit {

namespace {

/// How many numbers are left out at the start of a minute.
std::int64_t droppedPerMinute(const Rate& rate, TimecodeCounting counting) {
    return counting == TimecodeCounting::DropFrame ? rate.fps() / 15 : 0;
}

void requireCounting(const Rate& rate, TimecodeCounting counting) {
    if (!canCount(rate, counting)) {
        throw std::invalid_argument("drop-frame timecode is for 30000/1001 and 60000/1001 frames "
                                    "per second, not for " +
                                    rate.text());
    }
}

void requireRange(const char* part, int value, std::int64_t end) {
    if (value < 0 || value >= end) {
        throw std::invalid_argument(std::string("no such timecode: ") + part + " are from 0 to " +
                                    std::to_string(end - 1) + ", not " + std::to_string(value));
    }
}

std::string digits(std::int64_t value, std::size_t width) {
    std::string text = std::to_string(value);
    return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

} // namespace

bool canCount(const Rate& rate, TimecodeCounting counting) noexcept {
    return counting == TimecodeCounting::NonDrop ||
           (rate.denominator() == 1001 &&
            (rate.numerator() == 30'000 || rate.numerator() == 60'000));
}

Timecode timecodeOf(std::int64_t frame, const Rate& rate, TimecodeCounting counting) {
    requireCounting(rate, counting);
    if (frame < 0) {
        throw std::invalid_argument("frame " + std::to_string(frame) + " has no timecode");
    }
    const std::int64_t fps = rate.fps();
    const std::int64_t dropped = droppedPerMinute(rate, counting);
    // Of ten minutes, the first one leaves nothing out.
    const std::int64_t perMinute = 60 * fps - dropped;
    const std::int64_t perTen = 10 * perMinute + dropped;
    const std::int64_t tens = frame / perTen;
    const std::int64_t inTen = frame % perTen;
    const std::int64_t minute = std::max<std::int64_t>(0, (inTen - dropped) / perMinute);
    const std::int64_t number = frame + dropped * (9 * tens + minute);
    const std::int64_t seconds = number / fps;
    return {static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
            static_cast<int>(seconds % 60), static_cast<int>(number % fps), counting};
}

std::int64_t frameOf(const Timecode& timecode, const Rate& rate) {
    requireCounting(rate, timecode.counting);
    const std::int64_t fps = rate.fps();
    const std::int64_t dropped = droppedPerMinute(rate, timecode.counting);
    requireRange("hours", timecode.hours, std::numeric_limits<int>::max());
    requireRange("minutes", timecode.minutes, 60);
    requireRange("seconds", timecode.seconds, 60);
    requireRange("frames", timecode.frames, fps);
    if (timecode.minutes % 10 != 0 && timecode.seconds == 0 && timecode.frames < dropped) {
        throw std::invalid_argument("no such timecode: drop-frame counting leaves out " +
                                    timecodeText(timecode));
    }
    const std::int64_t minutes = std::int64_t{60} * timecode.hours + timecode.minutes;
    const std::int64_t number = (60 * minutes + timecode.seconds) * fps + timecode.frames;
    return number - dropped * (minutes - minutes / 10);
}

std::string timecodeText(const Timecode& timecode) {
    return digits(timecode.hours, 2) + ":" + digits(timecode.minutes, 2) + ":" +
           digits(timecode.seconds, 2) +
           (timecode.counting == TimecodeCounting::DropFrame ? ";" : ":") +
           digits(timecode.frames, 2);
}

std::optional<Timecode> parseTimecode(std::string_view text) {
    std::array<int, 4> parts{};
    const char* at = text.data();
    const char* const end = at + text.size();
    char separator = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            const bool isLast = i + 1 == parts.size();
            if (at == end || (*at != ':' && !(isLast && *at == ';'))) {
                return std::nullopt;
            }
            separator = *at++;
        }
        const auto [stop, error] = std::from_chars(at, end, parts[i]);
        if (error != std::errc() || *at == '-') {
            return std::nullopt;
        }
        at = stop;
    }
    if (at != end) {
        return std::nullopt;
    }
    return Timecode{parts[0], parts[1], parts[2], parts[3],
                    separator == ';' ? TimecodeCounting::DropFrame : TimecodeCounting::NonDrop};
}

} // namespace tarn::kit
