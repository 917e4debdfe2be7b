// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "page/Columns.h"

#include <nlohmann/json.hpp>
#include <tarn_view/page/Page.h>

namespace tarn::view {

using Json = nlohmann::ordered_json;

/// What the page reads: facts as JSON, and columns of numbers in the order in which those tell of
/// them.
struct Packed {
    Json facts;
    double largestError = 0; ///< in metres
};

/// Steps of positions.
inline constexpr double step = 1e-4; ///< metres
/// Rotations have this for 1.
inline constexpr double fullTurn = 32767;

/// A performer: how many frames, whether each has a body, and the nodes' rotations and, where they
/// move, positions relative to their parents. `metres` are those of its unit. Throws
/// `std::invalid_argument`, saying why it cannot be shown.
Packed packPerformer(const kit::PerformerTake& performer, double metres, Columns& columns);
/// Markers: whether each has a position, where that is, and how far off the body it is.
Packed packMarkers(const MarkerCloud& cloud, Columns& columns);

} // namespace tarn::view
