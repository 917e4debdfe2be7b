// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dNumbers.h"

#include <tarn_kit/files/C3d.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

inline constexpr std::uint64_t c3dBlock = 512;

/// The second byte of the header, and of the parameters.
inline constexpr char c3dKey = 0x50;

/// In bytes: 7 bits count them, and the sign is a lock.
inline constexpr std::size_t c3dMostOfName = 127;

/// Where the record of a group or of a parameter lies in a file, up to the next one.
struct C3dRecord {
    std::uint64_t start;
    std::uint64_t end;
    /// Whether a byte of it was taken for another one than it is.
    bool isMended = false;
};

/// The parameters of a file, and where they lie.
struct C3dSection {
    C3dProcessor processor = C3dProcessor::Intel;
    std::uint64_t start = 0; ///< of its header of 4 bytes; 0 in a file without parameters
    std::uint64_t end = 0;   ///< of the last record
    int statedBlocks = 0;
    C3dParameters parameters;
    std::vector<C3dRecord> records; ///< in the order of the file
    /// Groups that state the number of one before them; without their parameters.
    std::vector<C3dGroup> spareGroups;
    std::vector<C3dFinding> findings;
    /// Whether reading came to the end of the bytes at hand, so that more of them may matter.
    bool ranOut = false;
};

/// Whether a section of parameters could start there: with a header of its own, or a record behind
/// it.
bool looksLikeSection(std::string_view bytes, std::uint64_t start);

/// Reads records from `start` on for as long as there are any; never fails. A record that is
/// damaged costs no other: where one byte of it explains the damage, that is mended, else reading
/// goes on with the next record that is whole.
C3dSection readSection(std::string_view bytes, std::uint64_t start, C3dProcessor processor);

} // namespace tarn::kit
