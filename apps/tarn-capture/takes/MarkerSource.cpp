// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/MarkerSource.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"

#include <tarn_kit/files/C3d.h>

namespace tarn::capture {

namespace {

constexpr double metresPerMillimetre = 0.001;

} // namespace

kit::Quaterniond turnToY(kit::UpAxis up) {
    constexpr double half = 0.5;
    return up == kit::UpAxis::Z   ? kit::Quaterniond{-half, -half, -half, half}
           : up == kit::UpAxis::X ? kit::Quaterniond{half, half, half, half}
                                  : kit::Quaterniond();
}

MarkerSource markersIn(const kit::C3dTake& take, const std::string& name) {
    MarkerSource source;
    view::MarkerCloud& cloud = source.cloud;
    cloud.name = name;
    for (const kit::C3dMarker& marker : take.markers) {
        cloud.names.push_back(marker.label());
    }
    cloud.take = take.tracks;
    cloud.rate = kit::Rate::nearest(take.rate);
    cloud.firstFrame = take.firstFrame;
    // Laboratories measure in millimetres; a file that states no unit is likely to, too.
    cloud.metresPerUnit = take.metresPerUnit > 0 ? take.metresPerUnit : metresPerMillimetre;
    cloud.turn = turnToY(upAxisOf(take));
    const double start = static_cast<double>(take.firstFrame - 1) / take.rate;
    for (const kit::C3dEvent& event : take.events) {
        if (event.shown) {
            const std::string context = event.context.empty() ? "" : event.context + " ";
            source.events.push_back({event.time - start, context + event.label});
        }
    }
    return source;
}

MarkerSource markersOf(const std::string& name, const SpaceChoice& space) {
    TakeFile file(name);
    return markersIn(withSpace(file.readMarkers(), space), uniqueTakeNames({name}).at(0));
}

} // namespace tarn::capture
