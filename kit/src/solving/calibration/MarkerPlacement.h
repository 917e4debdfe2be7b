// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// A frame with the body in it.
struct PlacedFrame {
    const Sightings* sightings = nullptr;
    const Stance* stance = nullptr;
};

/// Finds anew where some markers sit that are far from their places in most frames, as the marker
/// set says too little or something wrong of them: one that keeps its distance from the joint that
/// moves it, and rides on no other joint as well, gets the place where it is in the middle of the
/// frames. One that rides on another segment keeps its own: its label is in doubt then. Returns
/// those that were given another place.
std::vector<std::size_t> placeAnew(Articulation& body, const std::vector<std::size_t>& markers,
                                   const std::vector<PlacedFrame>& frames);

} // namespace tarn::kit
