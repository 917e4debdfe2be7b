#pragma once

#include "Session.h"

#include <string>
#include <vector>

namespace tarn::capture {

/// Writes down in the settings of the scene and its characters what the session was, for the scene
/// to be saved:
///
///     Session
///         Complete        "yes", or "no" for one that was stopped
///         Rate            frames per second
///         Frames          how many were shown
///     File                repeated: the files that belong to it
///     Characters
///         Character1      and so on, in the order of the takes
///             Name, Take, FramesIn, FramesOut, FramesLost
///             Solver      its status
///             Clock       what its calibrator measured, if the device kept a beat
///             Dimensions  mean and spread of each length
void describeSession(Session& session, bool complete, const std::vector<std::string>& files);

} // namespace tarn::capture
