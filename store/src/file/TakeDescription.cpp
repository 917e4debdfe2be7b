// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeDescription.h>

namespace tarn::store {

TrackDescription TrackDescription::of(const kit::BvhTake& take, const std::string& subject) {
    TrackDescription description;
    description.subject = subject;
    description.rate = take.exactRate();
    description.rig = take.rig;
    return description;
}

TrackDescription TrackDescription::of(const kit::C3dTake& take, const std::string& subject) {
    TrackDescription description;
    description.subject = subject;
    description.rate = kit::Rate::nearest(take.rate);
    kit::Space space;
    space.unit = kit::lengthUnitNamed(take.unit).value_or(
        kit::LengthUnit{take.unit, "", take.metresPerUnit});
    space.unitOrigin = take.unit.empty() ? kit::Origin::Guessed : kit::Origin::Stated;
    description.space = space;
    for (const kit::C3dMarker& marker : take.markers) {
        description.labels.push_back({marker.subject, marker.name, marker.description, take.unit});
    }
    return description;
}

} // namespace tarn::store
