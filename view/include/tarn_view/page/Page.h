// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/session/PerformerTake.h>
#include <tarn_view/Export.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace tarn::view {

/// Markers that a page shows.
struct MarkerCloud {
    std::string name;               ///< any text
    std::vector<std::string> names; ///< of the markers, in the order of the frames' payload
    /// Frames of `kit::markerDataType` by their index; slots may be empty, and frames that hold
    /// another number of markers are passed over. Not null, and not changed while it is used.
    std::shared_ptr<Tracks> take;
    kit::Rate rate;
    std::int64_t firstFrame = 0; ///< the number of the frame of index 0
    double metresPerUnit = 1;    ///< of the positions
    kit::Quaterniond turn;       ///< from the axes of the positions to those of the page: Y up
    /// How far each marker is from where the body has it, in metres, by frame and marker; no number
    /// where that is not known. Empty where no body was solved; else as long as the take.
    std::vector<std::vector<float>> residuals;
};

/// Something that happened, to be shown on the page's timeline.
struct Event {
    double seconds = 0; ///< from the first frame
    std::string label;  ///< any text
};

/// What a page shows. All performers and markers start at once and share one space.
struct PageContent {
    std::string title; ///< any text
    std::vector<kit::PerformerTake> performers;
    std::vector<MarkerCloud> markers;
    std::vector<Event> events;
    std::vector<std::string> notes; ///< sentences for the page's panel of facts
};

/// What was written.
struct PageReport {
    /// The farthest that any joint or end site is on the page from where its take has it, in
    /// metres: the page keeps positions in steps of 0.1 mm and rotations in 16 bits a component.
    double largestError = 0;
    /// The same of markers.
    double largestMarkerError = 0;
};

/// Writes a page that plays takes in a browser: one HTML file that needs nothing else, neither from
/// the disk nor from a network. Every text is shown as it is, whatever stands in it.
///
/// Throws `std::invalid_argument`, before anything is written, if there is nothing to show, for a
/// performer without a rig, joints or a take, a value that is not finite or one beyond 100 km, or
/// more than 10,000,000 frames or 65,535 joints or markers. A stream that fails is left in that
/// state.
///
/// Threads: any number of pages may be written at once; of takes and rigs it only reads.
TARN_VIEW_EXPORT PageReport writePage(const PageContent& content, std::ostream& stream);

} // namespace tarn::view
