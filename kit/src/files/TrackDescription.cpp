// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/TrackDescription.h>

namespace tarn::kit {

TrackDescription TrackDescription::of(const BvhTake& take, const std::string& subject) {
    TrackDescription description;
    description.subject = subject;
    description.rate = take.exactRate();
    description.rig = take.rig;
    return description;
}

TrackDescription TrackDescription::of(const C3dTake& take, const std::string& subject) {
    TrackDescription description;
    description.subject = subject;
    description.rate = Rate::nearest(take.rate);
    Space space;
    space.unit = lengthUnitNamed(take.unit).value_or(LengthUnit{take.unit, "", take.metresPerUnit});
    space.unitOrigin = take.unit.empty() ? Origin::Guessed : Origin::Stated;
    description.space = space;
    for (const C3dMarker& marker : take.markers) {
        description.labels.push_back({marker.subject, marker.name, marker.description, take.unit});
    }
    return description;
}

} // namespace tarn::kit
