// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Time.h>

#include <cassert>

namespace tarn {

std::pair<SmpteTime, unsigned char> Time::toSmpte() const {
    assert(fps_ != 0);
    const std::uint32_t seconds = frameIndex_ / fps_;
    const std::uint32_t frames = frameIndex_ % fps_;
    const std::uint32_t minutes = seconds / 60;
    const std::uint32_t hours = minutes / 60;

    SmpteTime code{0};
    code.hours = static_cast<std::uint8_t>(hours);
    code.minutes = static_cast<std::uint8_t>(minutes - 60 * hours);
    code.seconds = static_cast<std::uint8_t>(seconds - 60 * minutes);
    code.frames = static_cast<std::uint8_t>(frames);
    // A timecode counts at the time's own rate, for high rates too, so there are no sub-frames.
    return {code, static_cast<unsigned char>(0)};
}

std::string to_string(const Time& time) {
    const auto [code, subFrame] = time.toSmpte();
    const auto text = [](std::uint8_t byte) { return std::to_string(static_cast<int>(byte)); };
    return text(code.hours) + ":" + text(code.minutes) + ":" + text(code.seconds) + " " +
           text(code.frames) + "." + text(subFrame);
}

} // namespace tarn
