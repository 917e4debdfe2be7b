// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeComparison.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>

#include <algorithm>

namespace tarn::capture {

namespace {

bool isSame(const kit::Pose& a, const kit::Pose& b) { return a.values == b.values; }

/// What was not seen is nowhere, and the same.
bool isSame(const kit::Marker& a, const kit::Marker& b) {
    return a.state == b.state && a.residual == b.residual && a.cameras == b.cameras &&
           (!a.hasPosition() || (a.position.x == b.position.x && a.position.y == b.position.y &&
                                 a.position.z == b.position.z));
}

bool isSame(const kit::MarkerFrame& a, const kit::MarkerFrame& b) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(),
        [](const kit::Marker& one, const kit::Marker& other) { return isSame(one, other); });
}

template <class Payload>
std::optional<int> firstDifferenceOf(Tracks& a, Tracks& b, FrameRange range, int dataType) {
    for (int i = range.first; i <= range.last; ++i) {
        const auto ofA = a.getFrame(i, dataType);
        const auto ofB = b.getFrame(i, dataType);
        const bool both = ofA != nullptr && ofB != nullptr;
        if (both ? ofA->time() != ofB->time() ||
                       !isSame(ofA->dataAs<Payload>(), ofB->dataAs<Payload>())
                 : ofA != ofB) {
            return i;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<int> firstDifference(Tracks& a, Tracks& b, FrameRange range) {
    return firstDifferenceOf<kit::Pose>(a, b, range, kit::poseDataType);
}

std::optional<int> firstMarkerDifference(Tracks& a, Tracks& b, FrameRange range) {
    return firstDifferenceOf<kit::MarkerFrame>(a, b, range, kit::markerDataType);
}

} // namespace tarn::capture
