// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/TrackDescription.h>
#include <tarn_store/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn::store {

using kit::Label;
using kit::TrackDescription;

/// What is to be kept of a take of markers: of the markers themselves, with the numbers of the
/// frames and the rate as it was stated. Which axis is up is not said.
TARN_STORE_EXPORT TrackDescription describeMarkers(const kit::C3dTake& take,
                                                   const std::string& subject);
/// The same of its analog channels. Precondition: it has some.
TARN_STORE_EXPORT TrackDescription describeChannels(const kit::C3dTake& take,
                                                    const std::string& subject);
/// The same of its rigid bodies. Precondition: it has some.
TARN_STORE_EXPORT TrackDescription describeRigidBodies(const kit::C3dTake& take,
                                                       const std::string& subject);

/// A track as it stands in a file.
struct StoredTrack {
    std::int64_t id = 0;
    int dataType = 0;
    TrackDescription description;
    std::int64_t frames = 0; ///< that are kept
    std::int64_t lost = 0;   ///< that were counted as lost
    /// The lowest and the highest slot with a frame; the highest is less where there is none.
    std::int64_t firstSlot = 0;
    std::int64_t lastSlot = -1;
};

/// An event or a note on the timeline.
struct Note {
    std::string kind = "note"; ///< "note", "event"
    /// The frame index, in a recording that of its frames' times; nothing: the file as a whole.
    std::optional<std::int64_t> frame;
    std::string label;   ///< "Foot Strike"
    std::string context; ///< "Left"
    std::string subject;
    std::string text;
    std::string utc; ///< when it was made; filled in when it is empty
};

/// The events of a take of markers, each at the frame in which it is; its text is the time in
/// seconds that the take states, and the subject of the track that its markers are in.
/// `markerTakeOf` gives them back.
TARN_STORE_EXPORT std::vector<Note> eventNotes(const kit::C3dInfo& take,
                                               const std::string& subject);

/// Frames that did not reach the file.
struct Loss {
    std::int64_t track = 0;
    std::int64_t first = 0; ///< the lowest and the highest frame index among them
    std::int64_t last = 0;
    std::int64_t count = 0;
    std::string reason;
};

/// Who made a file, when, and whether it came to its end.
struct TakeFileFacts {
    int format = 0;                ///< of the file; counts up with each change of the schema
    std::string program;           ///< that recorded
    std::string version;           ///< of the SDK that it ran with
    std::string startedUtc;        ///< "2026-11-22T04:47:00.125Z"
    std::int64_t startedClock = 0; ///< then, in nanoseconds of the machine's steady clock
    std::string endedUtc;          ///< empty if it was broken off, or is still being written
    bool ended = false;            ///< whether the recording was ended, not broken off
};

} // namespace tarn::store
