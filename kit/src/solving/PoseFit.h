// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"
#include "solving/PoseProblem.h"
#include "solving/RotationFit.h"

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// What came out of a fit.
struct FitOutcome {
    double cost = 0;
    int iterations = 0;
    bool converged = false;
};

/// Finds how a body stands, by damped Gauss-Newton steps (Levenberg and Marquardt) on the problem
/// of one frame.
///
/// Takes its memory in the constructor. The body may change its numbers between calls, not what it
/// consists of.
class PoseFit {
public:
    explicit PoseFit(const Articulation& body);

    /// The threshold to begin with where nothing is known, in spreads of a marker.
    static constexpr double widest = 40;

    int iterations = 30;     ///< at most, per fit
    double tolerance = 1e-4; ///< a step is small when no node moves further, in metres and radians
    double damping = 1e-6;   ///< relative to the diagonal; more where a step makes it worse
    double threshold = 6;    ///< see `PoseProblem`

    /// From `stance` on.
    FitOutcome refine(Stance& stance, const Sightings& sightings);
    /// The same with a threshold that shrinks to the usual one from `from`, so that what is far
    /// off is heard at first.
    FitOutcome approach(Stance& stance, const Sightings& sightings, double from);
    /// From nothing: lays rigid groups of segments onto their markers, limbs along theirs, tries
    /// each group and keeps what fits best. Without three markers in one group, or with all in a
    /// point, it starts from the middle of those that are seen.
    FitOutcome start(Stance& stance, const Sightings& sightings);
    /// One of the ways to begin that `start` tries; the cost is infinite where there are too few
    /// markers for it. Precondition: `guess` is below `guesses`.
    FitOutcome startFrom(Stance& stance, const Sightings& sightings, std::size_t guess);
    static constexpr std::size_t guesses = 6;
    /// Turns each joint, from the hips outwards, so that what hangs on it comes near its markers.
    void alignLimbs(Stance& stance, const Sightings& sightings);
    /// Costs of a stance, with `problem` left at it.
    double evaluate(const Stance& stance, const Sightings& sightings);

    PoseProblem& problem() { return problem_; }
    const PoseProblem& problem() const { return problem_; }
    const Articulation& body() const { return body_; }

private:
    bool lay(Stance& stance, const Sightings& sightings, const std::vector<std::size_t>& group);

    const Articulation& body_;
    PoseProblem problem_;
    std::vector<std::vector<std::size_t>> groups_; ///< of markers, to lay the body onto
    RotationFit rotationFit_;
    Stance trial_, candidate_;
};

} // namespace tarn::kit
