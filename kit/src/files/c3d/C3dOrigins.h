// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dJudge.h"
#include "files/c3d/layout/C3dLayout.h"

#include <cstdint>

namespace tarn::kit {

/// Whether a marker lies exactly at the origin, seen by no camera and without a residual: what some
/// programs leave where they saw none.
inline bool isAtOrigin(const Marker& marker) noexcept {
    // What is seldom so comes first: that is asked of every sample.
    return marker.position.x == 0 && marker.position.y == 0 && marker.position.z == 0 &&
           marker.state == MarkerState::Seen && marker.cameras == 0 && marker.residual == 0;
}

/// Whether some of `count` markers do.
bool isAnyAtOrigin(const Marker* markers, std::uint64_t count) noexcept;

/// Settles whether the positions at the origin of a whole file are gaps, reports that, and makes
/// markers that were not seen of them if so; answers whether it did.
///
/// They are gaps if one of the markers leaps there from much farther away than it gets from a frame
/// to the next, and leaps back: then that is how the program writes gaps, those of other
/// markers, too. Where nothing leaps, as in a curve through the origin or a point that is always
/// there, all stay seen. Points that are named as no positions (angles, forces) may well be 0: they
/// say nothing of it, and stay.
bool settleOrigins(Marker* markers, const C3dLayout& layout, const C3dInfo& info, C3dJudge& judge);

} // namespace tarn::kit
