// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/MarkerTrial.h"
#include "support/FrameRange.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/solving/MarkerBody.h>
#include <tarn_kit/solving/MarkerFit.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// A frame of a trial, solved.
struct SolvedFrame {
    int index = 0; ///< in the trial, from 0
    kit::BodyPose pose;
    kit::MarkerFit fit;
    kit::MarkerFrame measured;
};

/// A trial, solved.
struct SolvedTrial {
    kit::MarkerBody body;
    std::shared_ptr<const kit::Rig> rig;
    std::vector<int> columns; ///< of each of the body's markers in `measured`, or -1
    std::vector<SolvedFrame> frames;
};

/// What is known of a trial before its first frame is solved.
SolvedTrial trialSolvedBy(const kit::MarkerSolver& solver, const MarkerTrial& trial);

struct SolveOptions {
    std::vector<std::string> without;
    bool live = false; ///< at the pace of the take
};

/// Sends frames of a trial from a device through a session with one performer, who is solved.
/// `stopRequested` is asked again and again; a yes ends it with what there is. `advanced` is called
/// after each frame. Throws `kit::MarkerBodyError` if the trial has none of the body's markers, or
/// those that are not left out cannot be a body's in these frames, and `UsageError` if the body has
/// no marker that is to be left out.
SolvedTrial solveTrial(const MarkerTrial& trial, FrameRange range, const kit::MarkerBody& body,
                       const SolveOptions& options, const std::function<bool()>& stopRequested,
                       const std::function<void()>& advanced);

} // namespace tarn::capture
