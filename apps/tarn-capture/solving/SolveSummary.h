// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/MarkerTrial.h"
#include "solving/SolvedTrial.h"

#include <tarn/Settings.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// Frames over which a marker did not belong where it was said to be.
struct Suspicion {
    std::string marker;
    std::string swappedWith; ///< empty for a marker that was only doubted
    std::int64_t first = 0;  ///< by the file's numbers
    std::int64_t last = 0;
};

/// How well a trial was solved. Lengths are in millimetres; markers that were left out do not
/// count.
struct SolveSummary {
    std::size_t samples = 0;
    double rms = 0;
    double rmsWithoutWorst = 0; ///< without the worst hundredth
    double median = 0;
    double percentile95 = 0;
    std::string worstMarker; ///< by its root of mean square
    double worstMarkerRms = 0;
    std::int64_t worstFrame = 0;
    double worstFrameRms = 0;
    double iterations = 0;          ///< per frame
    double milliseconds = 0;        ///< per frame, median
    double millisecondsHighest = 0; ///< 99.9th percentile
    int notConverged = 0;
    std::vector<Suspicion> suspicions; ///< swaps, and doubts of six frames and more
    std::vector<std::string> missing;  ///< markers of the body that the trial does not have
    double percentile75 = 0;
    /// Whether the body may be that of who wears the markers: then most of them are near their
    /// places, though some be wrong for all of the trial.
    bool fits() const { return percentile75 < 15; }
};

SolveSummary summarize(const MarkerTrial& trial, const SolvedTrial& solved);

/// The part of the report that is about one trial.
std::shared_ptr<Settings> reportOf(const MarkerTrial& trial, const SolvedTrial& solved,
                                   const SolveSummary& summary);
/// The same in a few lines for people.
std::string textOf(const MarkerTrial& trial, const SolvedTrial& solved,
                   const SolveSummary& summary);

} // namespace tarn::capture
