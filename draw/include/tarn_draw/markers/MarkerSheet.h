// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Space.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::draw {

/// A marker, as it is named in drawings: any text.
struct MarkerName {
    std::string name;
    std::string subject; ///< whose it is; markers of one subject share a colour
};

/// What is drawn of a take of markers.
struct MarkerCloud {
    std::string title;               ///< any text; what cannot be printed is replaced
    std::vector<MarkerName> markers; ///< in the order of the frames' payload
    /// Frames of `kit::markerDataType` by their index; slots may be empty, and frames that hold
    /// another number of markers are passed over. Not null, and not changed while drawn.
    std::shared_ptr<Tracks> take;
    double rate = 1;             ///< frames per second; greater than 0
    std::int64_t firstFrame = 0; ///< the number of the frame of index 0
    kit::LengthUnit unit;
    kit::UpAxis up = kit::UpAxis::Z; ///< drawings show takes standing
};

/// One page about a take of markers: who is in it, the cloud of all markers at evenly spaced
/// instants, with the trail that each has left just before, when each marker was seen, and the
/// paths of all of them from above; below that a line for each of `notes`. Of more than 400 markers
/// the chart shows the first ones, and says so.
///
/// The page keeps all that it shows. Its work grows with the length of the take only as far as
/// finding out when each marker was seen.
TARN_DRAW_EXPORT Picture markerSheet(const MarkerCloud& cloud,
                                     const std::vector<std::string>& notes = {});

} // namespace tarn::draw
