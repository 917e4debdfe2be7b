// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"
#include "solving/PoseFit.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace tarn::kit {

/// Follows a body through the frames of a take: starts from anywhere, goes on from the last frame,
/// doubts what cannot be, puts swapped labels right, and looks for the body again when it was lost.
class MarkerTracker {
public:
    /// Takes its memory; `track` needs none. `body` outlives it.
    explicit MarkerTracker(const Articulation& body);

    /// The body in the next frame.
    FitOutcome track(const Sightings& sightings);
    /// Forgets the frames so far.
    void reset();

    PoseFit& fit() { return fit_; }
    const PoseFit& fit() const { return fit_; }
    const Stance& stance() const { return stance_; }
    /// What was believed to be where after labels were put right.
    const Sightings& sightings() const { return sightings_; }
    /// Pairs of markers that carried each other's label in the last frame.
    const std::vector<std::pair<std::size_t, std::size_t>>& swaps() const { return swaps_; }
    /// Whether a marker was seen and hardly counted in the last frame.
    bool isDoubted(std::size_t marker) const;

private:
    void exchangeSwapped();
    bool findSwap();
    double gainOf(std::size_t a, std::size_t b) const;
    double costOf(std::size_t marker, std::size_t sighting) const;
    std::size_t doubts() const;
    FitOutcome recover(FitOutcome outcome);

    const Articulation& body_;
    PoseFit fit_;
    Stance stance_, other_;
    Sightings sightings_;
    std::vector<std::pair<std::size_t, std::size_t>> swaps_;
    bool isStarted_ = false;
    std::size_t usualDoubts_ = 0; ///< in the last frame
    int framesLost_ = 0;          ///< in a row, with much of the body doubted
    std::size_t nextGuess_ = 0;   ///< at where a lost body is
    int framesDoubted_ = 0;       ///< in a row, with more than one marker doubted
};

} // namespace tarn::kit
