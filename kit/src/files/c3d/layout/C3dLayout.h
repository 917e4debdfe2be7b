// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dJudge.h"
#include "files/c3d/C3dNumbers.h"
#include "files/c3d/C3dSection.h"

#include <cstdint>
#include <string_view>

namespace tarn::kit {

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

/// Settles what the header, the parameters and the size of the file say.
C3dLayout settleLayout(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section,
                       C3dJudge& judge);

} // namespace tarn::kit
