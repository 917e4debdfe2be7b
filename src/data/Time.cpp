// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Time.h>

#include <cassert>
#include <map>

namespace tarn {

namespace {

/// The base rate that the timecode of a frame rate counts in.
const std::map<unsigned, unsigned>& smpteBaseRates() {
    static const std::map<unsigned, unsigned> rates{
        {24, 24}, {25, 25}, {30, 30},  {50, 25},  {60, 30},
        {90, 30}, {96, 24}, {100, 25}, {120, 30}, {150, 25},
    };
    return rates;
}

/// A timecode counts at the time's own rate, for high rates too: frame 59 of a second at 60 fps is
/// frame 59 of its timecode. Only a time without a rate would need the table.
unsigned baseRate(unsigned fps) {
    if (fps != 0) {
        return fps;
    }
    const auto found = smpteBaseRates().find(fps);
    return found == smpteBaseRates().end() ? fps : found->second;
}

} // namespace

std::pair<SmpteTime, unsigned char> Time::toSmpte() const {
    assert(fps_ != 0);
    const std::uint32_t seconds = frameIndex_ / fps_;
    const std::uint32_t frames = frameIndex_ % fps_;
    const std::uint32_t minutes = seconds / 60;
    const std::uint32_t hours = minutes / 60;
    const std::uint32_t divisor = fps_ / baseRate(fps_);
    const auto frameByte = static_cast<std::uint8_t>(frames);

    SmpteTime code{0};
    code.hours = static_cast<std::uint8_t>(hours);
    code.minutes = static_cast<std::uint8_t>(minutes - 60 * hours);
    code.seconds = static_cast<std::uint8_t>(seconds - 60 * minutes);
    code.frames = static_cast<std::uint8_t>(frameByte / divisor);
    return {code, static_cast<unsigned char>(frameByte % divisor)};
}

std::string to_string(const Time& time) {
    const auto [code, subFrame] = time.toSmpte();
    const auto text = [](std::uint8_t byte) { return std::to_string(static_cast<int>(byte)); };
    return text(code.hours) + ":" + text(code.minutes) + ":" + text(code.seconds) + " " +
           text(code.frames) + "." + text(subFrame);
}

} // namespace tarn
