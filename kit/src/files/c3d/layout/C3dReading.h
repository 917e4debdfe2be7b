// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/layout/C3dCandidates.h"

#include <cstdint>
#include <optional>

namespace tarn::kit {

/// How the data of a file are read.
struct C3dReading {
    std::uint64_t points = 0;
    std::uint64_t channels = 0;
    std::uint64_t samplesPerFrame = 0;
    std::uint64_t dataStart = 0;
    bool real = true;
    double frames = 0;    ///< the file may hold fewer
    bool fills = false;   ///< whether the data so read fill the file
    bool counted = false; ///< whether the number of frames is that which the file holds
};

/// The room for the data of a file.
class C3dRoom {
public:
    /// `bodies`: where rigid bodies start, which lie apart; 0 without any.
    C3dRoom(const C3dStatements& said, std::uint64_t bodies);
    /// Where data that start there end at the latest: at what lies behind them.
    std::uint64_t limitFrom(std::uint64_t start) const;

private:
    std::uint64_t fileSize_;
    std::uint64_t bodies_;
    std::uint64_t section_;
};

/// Whether a count is the most that its field of the file holds: 16 bits, with a sign or without.
bool isSaturated(const C3dHeader& header, double count);

/// Chooses the reading that fills the file; of several, or if none does, the one that most
/// statements agree with, and most lists; of several, the one with the more trusted statements.
/// `rate`: frames per second.
C3dReading chooseReading(const C3dCandidates& candidates, const C3dStatements& said,
                         const C3dRoom& room, double rate);

} // namespace tarn::kit
