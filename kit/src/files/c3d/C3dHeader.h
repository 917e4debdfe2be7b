// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dNumbers.h"
#include "files/c3d/C3dSection.h"

#include <cstdint>
#include <string_view>

namespace tarn::kit {

/// The words of 16 bits of the header that are numbered from 1 on; at byte 2 * (number - 1).
namespace c3d_header {
inline constexpr int points = 2;
inline constexpr int analogPerFrame = 3;
inline constexpr int firstFrame = 4;
inline constexpr int lastFrame = 5;
inline constexpr int maxGap = 6;
inline constexpr int scale = 7;
inline constexpr int dataStart = 9;
inline constexpr int samplesPerFrame = 10;
inline constexpr int rate = 11;
inline constexpr int eventKey = 150;
inline constexpr int eventCount = 151;
inline constexpr int eventTimes = 153;
inline constexpr int eventFlags = 189;
inline constexpr int eventLabels = 199;
inline constexpr int maxEvents = 18;
inline constexpr int key = 12345; ///< says that what follows it is there
inline constexpr std::uint64_t maxWord = 65535;
inline constexpr char magic = c3dKey;

inline std::uint64_t offsetOf(int word) { return static_cast<std::uint64_t>(word - 1) * 2; }
} // namespace c3d_header

/// Reads the header, in the order of bytes of a processor. `bytes` holds all of it, and stays.
class C3dHeader {
public:
    C3dHeader(std::string_view bytes, C3dProcessor processor)
        : bytes_(bytes), processor_(processor) {}

    std::uint16_t word(int number) const {
        return wordAt(&bytes_[c3d_header::offsetOf(number)], processor_);
    }
    double real(int number) const {
        return static_cast<double>(realAt(&bytes_[c3d_header::offsetOf(number)], processor_));
    }

private:
    std::string_view bytes_;
    C3dProcessor processor_;
};

} // namespace tarn::kit
