// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"
#include "solving/PoseFit.h"
#include "solving/tracking/MarkerLabels.h"

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// Follows a body through the frames of a take: starts from anywhere, goes on from the last frame,
/// doubts what cannot be, puts swapped labels right, and looks for the body again when it was lost.
class MarkerTracker {
public:
    /// Takes its memory; `track` needs none. `body` outlives it.
    explicit MarkerTracker(const Articulation& body);
    MarkerTracker(const MarkerTracker&) = delete;
    MarkerTracker& operator=(const MarkerTracker&) = delete;

    /// The body in the next frame.
    FitOutcome track(const Sightings& sightings);
    /// Forgets the frames so far.
    void reset();

    PoseFit& fit() { return fit_; }
    const PoseFit& fit() const { return fit_; }
    const Stance& stance() const { return stance_; }
    /// What was believed to be where after labels were put right.
    const Sightings& sightings() const { return labels_.sightings(); }
    /// Pairs of markers that carried each other's label in the last frame.
    const MarkerPairs& swaps() const { return swaps_; }
    /// Whether a marker was seen and hardly counted in the last frame.
    bool isDoubted(std::size_t marker) const;

private:
    void heedRepeats();
    void leaveOutFrozen();
    void moveOn();
    FitOutcome follow();
    FitOutcome refineWithLabels(const Stance& from, bool isRough);
    FitOutcome undoNeedless(FitOutcome outcome, const Stance& from);
    bool exchangeSwapped(const Stance& at, bool isRough);
    FitOutcome putLabelsRight(FitOutcome outcome);
    void noteSwaps();
    bool isLimbLost();
    FitOutcome recover(FitOutcome outcome);
    FitOutcome recoverLimbs(FitOutcome outcome);
    void takeIfBetter(FitOutcome& outcome, FitOutcome trial);
    void bendAsUsual(Stance& stance) const;

    const Articulation& body_;
    PoseFit fit_;
    Stance stance_, last_; ///< of this frame and the one before it
    Stance ahead_;         ///< where it would be if it moved on
    Stance other_;         ///< of something that is tried
    Sightings measured_;   ///< with labels as they came
    MarkerLabels labels_, otherLabels_;
    MarkerPairs swaps_;
    std::vector<Vector3d> lastPositions_; ///< of the measurements
    std::vector<bool> isRepeated_;        ///< measured in the very same place, while others moved
    std::vector<bool> isFrozen_;          ///< and not where the body has it
    std::vector<int> framesOff_;          ///< in a row, of each marker
    bool isStarted_ = false;
    bool hasLast_ = false;
    std::size_t usualDoubts_ = 0; ///< in the last frame
    int framesLost_ = 0;          ///< in a row, with much of the body doubted
    std::size_t nextGuess_ = 0;   ///< at where a lost body is
};

} // namespace tarn::kit
