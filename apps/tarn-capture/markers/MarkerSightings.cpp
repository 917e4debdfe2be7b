// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerSightings.h"

#include "markers/MarkerFrames.h"

#include <cstddef>

namespace tarn::capture {

std::vector<MarkerSightings> sightingsIn(const kit::C3dTake& take) {
    std::vector<MarkerSightings> all(take.markers.size());
    std::vector<int> gap(take.markers.size());
    for (int frame = 0; frame < take.frameCount; ++frame) {
        const kit::MarkerFrame& markers = markersAt(take, frame);
        for (std::size_t i = 0; i < markers.size(); ++i) {
            MarkerSightings& one = all[i];
            if (markers[i].hasPosition()) {
                ++one.seen;
                gap[i] = 0;
            } else if (++gap[i] > one.longestGap) {
                one.longestGap = gap[i];
                one.gapStart = frame - gap[i] + 1;
            }
        }
    }
    return all;
}

} // namespace tarn::capture
