// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/session/Timecode.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

namespace tarn::store {

/// "00:00:04:32", for people to read: two digits for frames, unless there are more.
inline std::string shortTimecode(std::int64_t frame, const kit::Rate& rate) {
    const kit::Timecode code = kit::timecodeOf(frame, rate);
    std::array<char, 64> text = {};
    std::snprintf(text.data(), text.size(), "%02d:%02d:%02d:%02d", code.hours, code.minutes,
                  code.seconds, code.frames);
    return text.data();
}

} // namespace tarn::store
