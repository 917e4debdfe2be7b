// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/MarkerTracker.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn::kit {

namespace {

constexpr double doubted = 0.25; ///< of a marker's say: what has less left is doubted
constexpr int patience = 4;      ///< frames between two attempts to find a lost limb anew

} // namespace

MarkerTracker::MarkerTracker(const Articulation& body)
    : body_(body), fit_(body), sightings_(body.markers.size()) {
    stance_.turns.resize(body.joints.size());
    other_.turns.resize(body.joints.size());
    swaps_.reserve(body.markers.size());
}

void MarkerTracker::reset() {
    isStarted_ = false;
    framesLost_ = 0;
    framesDoubted_ = 0;
    usualDoubts_ = 0;
    nextGuess_ = 0;
    swaps_.clear();
}

bool MarkerTracker::isDoubted(std::size_t marker) const {
    return sightings_[marker].weight > 0 && fit_.problem().trust()[marker] < doubted;
}

std::size_t MarkerTracker::doubts() const {
    std::size_t count = 0;
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        count += isDoubted(m) ? 1U : 0U;
    }
    return count;
}

/// What the measurement of one marker costs, taken for another's, as far as costs go.
double MarkerTracker::costOf(std::size_t marker, std::size_t sighting) const {
    const Vector3d miss = sightings_[sighting].position - fit_.problem().places()[marker];
    const double spread = body_.markers[marker].spread;
    const double squared = dot(miss, miss) / (spread * spread);
    const double bound = fit_.threshold * fit_.threshold;
    return bound * squared / (bound + squared);
}

/// What is gained by exchanging the measurements of a doubted marker and of another one, or by
/// taking the first for the second's where there is none; nothing unless they fit well afterwards.
double MarkerTracker::gainOf(std::size_t a, std::size_t b) const {
    const double bound = fit_.threshold * fit_.threshold;
    const double moved = costOf(b, a);
    if (!(sightings_[b].weight > 0)) {
        const double gain = costOf(a, a) - moved;
        return sightings_[b].isWanted && moved < 0.1 * bound && gain > 0.5 * bound ? gain : 0;
    }
    const double other = costOf(a, b);
    const double gain = costOf(a, a) + costOf(b, b) - moved - other;
    return moved < 0.5 * bound && other < 0.5 * bound && gain > bound ? gain : 0;
}

/// Exchanges the two measurements that gain most by it.
bool MarkerTracker::findSwap() {
    double bestGain = 0;
    std::pair<std::size_t, std::size_t> best;
    for (std::size_t a = 0; a < body_.markers.size(); ++a) {
        if (!isDoubted(a)) {
            continue;
        }
        for (std::size_t b = 0; b < body_.markers.size(); ++b) {
            if (b == a || (b < a && isDoubted(b))) {
                continue;
            }
            const double gain = gainOf(a, b);
            if (gain > bestGain) {
                bestGain = gain;
                best = {std::min(a, b), std::max(a, b)};
            }
        }
    }
    if (!(bestGain > 0)) {
        return false;
    }
    std::swap(sightings_[best.first].position, sightings_[best.second].position);
    if (!(sightings_[best.first].weight > 0 && sightings_[best.second].weight > 0)) {
        std::swap(sightings_[best.first].weight, sightings_[best.second].weight);
    }
    const auto same = std::find(swaps_.begin(), swaps_.end(), best);
    if (same == swaps_.end()) {
        swaps_.push_back(best);
    } else {
        swaps_.erase(same);
    }
    return true;
}

/// Puts labels right where the body stands.
void MarkerTracker::exchangeSwapped() {
    for (int i = 0; i < 6; ++i) {
        if (!findSwap()) {
            return;
        }
        fit_.evaluate(stance_, sightings_);
    }
}

/// Looks for a better body where too much is doubted: from here with all that is seen believed at
/// first, and in one other way, of which each has its turn, so that no frame takes long.
FitOutcome MarkerTracker::recover(FitOutcome outcome) {
    const auto attempt = [&](const FitOutcome& trial) {
        const int iterations = outcome.iterations + trial.iterations;
        if (trial.cost < outcome.cost) {
            outcome = trial;
            std::swap(stance_, other_);
        }
        outcome.iterations = iterations;
    };
    other_ = stance_;
    attempt(fit_.approach(other_, sightings_, PoseFit::widest));
    if (framesLost_ > 0 || framesDoubted_ >= patience) {
        if (nextGuess_ == 0) {
            other_ = stance_;
            fit_.alignLimbs(other_, sightings_);
            attempt(fit_.approach(other_, sightings_, PoseFit::widest));
        } else {
            attempt(fit_.startFrom(other_, sightings_, nextGuess_ - 1));
        }
        nextGuess_ = (nextGuess_ + 1) % (PoseFit::guesses + 1);
    }
    fit_.evaluate(stance_, sightings_);
    return outcome;
}

FitOutcome MarkerTracker::track(const Sightings& sightings) {
    sightings_ = sightings;
    swaps_.clear();
    const auto seen = static_cast<std::size_t>(
        std::count_if(sightings_.begin(), sightings_.end(),
                      [](const Sighting& sighting) { return sighting.weight > 0; }));
    if (seen == 0) {
        return {};
    }
    FitOutcome outcome;
    if (isStarted_) {
        fit_.evaluate(stance_, sightings_);
        exchangeSwapped();
        outcome = fit_.refine(stance_, sightings_);
    } else {
        outcome = fit_.start(stance_, sightings_);
        isStarted_ = true;
    }
    std::size_t doubtful = doubts();
    const std::size_t swapped = swaps_.size();
    if (doubtful > 0) {
        exchangeSwapped();
        if (swaps_.size() != swapped) {
            const int before = outcome.iterations;
            outcome = fit_.refine(stance_, sightings_);
            outcome.iterations += before;
            doubtful = doubts();
        }
    }
    // Where more is doubted than before the body may be lost, where some are for long a limb.
    const bool isLost = 4 * doubtful > seen;
    framesLost_ = isLost ? framesLost_ + 1 : 0;
    framesDoubted_ = doubtful > 1 ? framesDoubted_ + 1 : 0;
    if (isLost || doubtful > usualDoubts_ + 1 || framesDoubted_ % patience == patience - 1) {
        outcome = recover(outcome);
        doubtful = doubts();
    }
    usualDoubts_ = doubtful;
    return outcome;
}

} // namespace tarn::kit
