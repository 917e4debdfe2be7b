// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dJudge.h"
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
inline constexpr char magic = c3dKey;

inline std::uint64_t offsetOf(int word) { return static_cast<std::uint64_t>(word - 1) * 2; }
} // namespace c3d_header

/// What is where in the data of a file, after all that disagrees has been settled.
struct C3dLayout {
    C3dProcessor processor = C3dProcessor::Intel;
    bool real = true;
    bool unsignedAnalog = false;
    double scale = 1; ///< positive
    std::uint64_t fileSize = 0;
    std::uint64_t dataStart = 0;
    std::uint64_t points = 0;
    std::uint64_t channels = 0;
    std::uint64_t samplesPerFrame = 0;
    std::uint64_t frames = 0; ///< at most as many as the file holds
    std::int64_t firstFrame = 1;
    double rate = 1; ///< finite and positive
    std::uint64_t bodies = 0;
    std::uint64_t bodiesPerFrame = 0;
    std::uint64_t bodiesStart = 0;
    std::uint64_t bodyFrames = 0;

    std::uint64_t wordSize() const noexcept { return real ? 4 : 2; }
    std::uint64_t pointBytes() const noexcept { return points * 4 * wordSize(); }
    std::uint64_t frameBytes() const noexcept {
        return pointBytes() + channels * samplesPerFrame * wordSize();
    }
    std::uint64_t dataEnd() const noexcept { return dataStart + frames * frameBytes(); }
    /// A matrix of 4 x 4 and a reliability per body.
    static constexpr std::uint64_t bodyBytes = 17 * sizeof(float);
    std::uint64_t bodyFrameBytes() const noexcept { return bodies * bodiesPerFrame * bodyBytes; }
};

/// Finds the parameters of a file: where its first byte says, or where there are some, in the order
/// of bytes that they state, or in the one in which they make sense. A section that starts at 0
/// says that there are none. Fails if there is no C3D file at all.
C3dSection findSection(std::string_view bytes, std::uint64_t fileSize, C3dJudge& judge);

/// Settles what the header, the parameters and the size of the file say.
C3dLayout settleLayout(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section,
                       C3dJudge& judge);

} // namespace tarn::kit
