// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"

#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/solving/MarkerBody.h>

#include <functional>
#include <vector>

namespace tarn::kit {

/// Told how far it is, from 0 to 1; says whether to go on.
using CalibrationProgress = std::function<bool(double)>;

/// What a calibration found.
struct CalibratedBody {
    MarkerBody body;
    std::vector<double> markerErrors; ///< of each marker, root of mean square, in metres
    std::vector<int> timesDoubted;    ///< of each marker, in the frames that were solved at the end
    std::vector<double> misplaced; ///< how far each is from where the set said, if that was wrong
    int solvedFrames = 0;          ///< how many these are
    double error = 0;              ///< of all, without the worst hundredth
    int frames = 0;                ///< how many it was fitted to
    bool isComplete = false;       ///< false if it was told to stop
};

/// Finds out how long a performer's segments are and where the markers sit on them, from frames of
/// any movement, with a point per marker of the set, in metres.
CalibratedBody calibrateBody(const MarkerSet& set, const std::vector<Sightings>& frames,
                             const CalibrationProgress& progress);

/// How tall a performer is, guessed from how far markers on neighbouring segments are apart.
double guessedHeight(const MarkerSet& set, const std::vector<Sightings>& frames);

} // namespace tarn::kit
