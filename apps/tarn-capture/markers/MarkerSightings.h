// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <vector>

namespace tarn::capture {

/// How much of a marker a take has.
struct MarkerSightings {
    int seen = 0;       ///< in how many frames it has a position
    int longestGap = 0; ///< frames in a row without one
    int gapStart = 0;   ///< the first of them, as an index from 0
};

/// Of each marker, in the order of the file.
std::vector<MarkerSightings> sightingsIn(const kit::C3dTake& take);

} // namespace tarn::capture
