// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerBody.h>

#include <stdexcept>

namespace tarn::kit {

namespace {

constexpr double heightOfPlaces = 1.75; ///< of the body that marker sets describe

bool isForeArm(const std::string& name) { return name == "LeftForeArm" || name == "RightForeArm"; }

} // namespace

MarkerBodyError::~MarkerBodyError() = default;

MarkerBody MarkerBody::generic(const MarkerSet& set, double height) {
    MarkerBody result;
    result.body = HumanBody(height);
    for (const MarkerPlace& place : set.markers) {
        const int joint = result.body.jointOf(place.segment);
        if (joint < 0) {
            throw std::invalid_argument("marker " + place.name + ": a body has no segment '" +
                                        place.segment + "'");
        }
        const Vector3d tip = result.body.joints()[static_cast<std::size_t>(joint)].tip;
        BodyMarker marker;
        marker.name = place.name;
        marker.segment = place.segment;
        marker.turnsWithHand = isForeArm(place.segment) && place.along > 0.75;
        marker.offset = place.along * tip + height / heightOfPlaces * place.offset;
        marker.weight = place.weight;
        result.markers.push_back(marker);
    }
    return result;
}

} // namespace tarn::kit
