// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/TakeSession.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::capture {

struct SessionOutcome {
    bool complete; ///< it came to its end
    bool paced;    ///< the devices kept the rate of their takes, so that their clocks say something
};

/// Writes down in the settings of the scene and its characters what the session was, for the scene
/// to be saved in a directory:
///
///     Session
///         Complete        "yes", or "no" for one that was stopped
///         Rate            frames per second, "30000/1001" where they are not whole
///         Frames          how many were shown
///         Unit, Up        what lengths are measured in, and which axis is up
///         UnitIs, UpIs    how that is known: "guessed", "as stated" or "as given"
///         File            repeated: the files that belong to it
///         Characters
///             Character1  and so on, in the order of the takes
///                 Name, FramesIn, FramesOut, FramesLost
///                 Take        the file, as it is found from the directory of the document
///                 Solver      its status
///                 Clock       what its calibrator measured
///                 Dimensions  mean of each length, and its spread or, where bodies are fitted to
///                             markers, its uncertainty
///                 TakeUp      of a take of markers: which of its axes is up
///                 Markers     how well the markers were met, as in the report of "solve"
///
/// A recording of the session has what is known before it is played: `describeCast` leaves out how
/// much of it was shown, what became of its frames, and which files there are.
void describeCast(TakeSession& session, const std::filesystem::path& directory);
void describeSession(TakeSession& session, SessionOutcome outcome,
                     const std::filesystem::path& directory, const std::vector<std::string>& files);

} // namespace tarn::capture
