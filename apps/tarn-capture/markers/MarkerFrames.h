// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"
#include "support/FrameRange.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/Rate.h>

#include <functional>
#include <optional>

namespace tarn::capture {

/// The frames of a take that were asked for, by the numbers that the file gives them, as indexes
/// from 0; all if nothing was. Throws `UsageError`, which says what the take has, unless it has
/// them all.
FrameRange chosenFrames(const std::optional<FrameChoice>& choice, const kit::C3dInfo& take);

/// Those frames of a take alone, with what else was measured in them. The numbers of the frames
/// stay what they were.
kit::C3dTake cut(kit::C3dTake take, FrameRange range);

/// The markers at a frame of the take. Precondition: 0 <= `frame` < `frameCount`.
const kit::MarkerFrame& markersAt(const kit::C3dTake& take, int frame);

/// By what lengths of a take are multiplied so that they are in a unit: 1 for no unit, and for a
/// take that does not say what its own are in.
double factorTo(const std::optional<kit::LengthUnit>& unit, const kit::C3dInfo& take);

/// The axis that the file wants to point up on the screen; nothing if it does not say.
std::optional<kit::UpAxis> statedUpAxis(const kit::C3dInfo& take);
/// The axis that is up: that one, else Z, as laboratories have it.
kit::UpAxis upAxisOf(const kit::C3dInfo& take);

/// A take with its positions scaled, converted to the unit and turned to the up axis that were
/// chosen: a C3D file says what its own are. A unit that it does not say is taken to be the chosen
/// one. The take no longer knows the file it came from.
kit::C3dTake withSpace(kit::C3dTake take, const SpaceChoice& choice);

/// What that does to the markers of a frame, for those that are still to come.
using MarkerChange = std::function<kit::MarkerFrame(const kit::MarkerFrame& markers)>;
MarkerChange changeTo(const SpaceChoice& choice, const kit::C3dInfo& take);

/// The rate that the file states, as a fraction; one frame per second if it states none.
kit::Rate exactRateOf(const kit::C3dInfo& take);
/// When a frame begins, in seconds from the start of the take, by the rate that the file states.
double secondsAt(const kit::C3dInfo& take, int frame);

} // namespace tarn::capture
