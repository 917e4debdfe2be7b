// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeComparison.h"

#include <tarn_kit/body/Rig.h>

namespace tarn::capture {

namespace {

bool isSame(const Frame& a, const Frame& b) {
    return a.time() == b.time() && a.dataAs<kit::Pose>().values == b.dataAs<kit::Pose>().values;
}

} // namespace

std::optional<int> firstDifference(Tracks& a, Tracks& b, FrameRange range) {
    for (int i = range.first; i <= range.last; ++i) {
        const auto ofA = a.getFrame(i, kit::poseDataType);
        const auto ofB = b.getFrame(i, kit::poseDataType);
        const bool both = ofA != nullptr && ofB != nullptr;
        if (both ? !isSame(*ofA, *ofB) : ofA != ofB) {
            return i;
        }
    }
    return std::nullopt;
}

} // namespace tarn::capture
