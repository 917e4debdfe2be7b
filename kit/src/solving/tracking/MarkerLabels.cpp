// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/tracking/MarkerLabels.h"

#include <algorithm>
#include <numeric>

namespace tarn::kit {

namespace {

constexpr double off = 0.25; ///< of a marker's say: what has less left is off
constexpr double nearer =
    0.35; ///< of how far it was off, where labels of whole limbs are exchanged

} // namespace

MarkerLabels::MarkerLabels(const Articulation& body, const PoseFit& fit)
    : body_(&body), fit_(&fit), sightings_(body.markers.size()), origins_(body.markers.size()) {}

void MarkerLabels::take(const Sightings& sightings) {
    sightings_ = sightings;
    std::iota(origins_.begin(), origins_.end(), std::size_t(0));
}

std::size_t MarkerLabels::exchangedCount() const {
    std::size_t count = 0;
    for (std::size_t m = 0; m < origins_.size(); ++m) {
        count += origins_[m] != m ? 1U : 0U;
    }
    return count;
}

void MarkerLabels::exchange(std::size_t a, std::size_t b) {
    std::swap(sightings_[a].position, sightings_[b].position);
    if (isHidden(a) || isHidden(b)) {
        std::swap(sightings_[a].weight, sightings_[b].weight);
    }
    std::swap(origins_[a], origins_[b]);
}

bool MarkerLabels::isOff(std::size_t marker) const {
    return !isHidden(marker) && fit_->problem().trust()[marker] < off;
}

std::size_t MarkerLabels::offCount() const {
    std::size_t count = 0;
    for (std::size_t m = 0; m < sightings_.size(); ++m) {
        count += isOff(m) ? 1U : 0U;
    }
    return count;
}

double MarkerLabels::missOf(std::size_t marker, std::size_t sighting) const {
    return lengthOf(sightings_[sighting].position - fit_->problem().places()[marker]);
}

/// What the measurement of one marker costs, taken for another's, as far as costs go.
double MarkerLabels::costOf(std::size_t marker, std::size_t sighting) const {
    const double spreads = missOf(marker, sighting) / body_->markers[marker].spread;
    const double squared = spreads * spreads;
    const double bound = fit_->threshold * fit_->threshold;
    return bound * squared / (bound + squared);
}

/// What is gained by exchanging the measurements of a marker that is off and of another one, or by
/// taking the first for the second's where there is none; nothing unless they fit well afterwards.
double MarkerLabels::gainOf(std::size_t a, std::size_t b) const {
    const double bound = fit_->threshold * fit_->threshold;
    const double moved = costOf(b, a);
    if (isHidden(b)) {
        const double gain = costOf(a, a) - moved;
        return sightings_[b].isWanted && moved < 0.1 * bound && gain > 0.5 * bound ? gain : 0;
    }
    const double other = costOf(a, b);
    const double gain = costOf(a, a) + costOf(b, b) - moved - other;
    // One that fits well is enough: the other may hang on a joint that nothing else shows.
    return moved + other < bound && std::max(moved, other) < 0.8 * bound && gain > bound ? gain : 0;
}

/// The same in metres: how much nearer they come, nothing unless that is much.
double MarkerLabels::roughGainOf(std::size_t a, std::size_t b) const {
    const double before = missOf(a, a);
    const double moved = missOf(b, a);
    if (moved > nearer * before) {
        return 0;
    }
    if (isHidden(b)) {
        return sightings_[b].isWanted ? before - moved : 0;
    }
    const double otherBefore = missOf(b, b);
    const double other = missOf(a, b);
    return other > nearer * otherBefore ? 0 : before + otherBefore - moved - other;
}

bool MarkerLabels::exchangeBest(bool isRough) {
    double bestGain = 0;
    std::pair<std::size_t, std::size_t> best;
    for (std::size_t a = 0; a < sightings_.size(); ++a) {
        if (!isOff(a)) {
            continue;
        }
        for (std::size_t b = 0; b < sightings_.size(); ++b) {
            if (b == a || (b < a && isOff(b))) {
                continue;
            }
            const double gain = isRough ? roughGainOf(a, b) : gainOf(a, b);
            if (gain > bestGain) {
                bestGain = gain;
                best = {a, b};
            }
        }
    }
    if (bestGain > 0) {
        exchange(best.first, best.second);
    }
    return bestGain > 0;
}

void MarkerLabels::exchangeAgain(const MarkerPairs& pairs) {
    for (const auto& [a, b] : pairs) {
        if (isHidden(a) && isHidden(b)) {
            continue;
        }
        bool isNearer = false;
        if (isHidden(a) || isHidden(b)) {
            const std::size_t seen = isHidden(a) ? b : a;
            const std::size_t hidden = isHidden(a) ? a : b;
            isNearer = sightings_[hidden].isWanted && missOf(hidden, seen) < missOf(seen, seen);
        } else {
            isNearer = missOf(a, b) + missOf(b, a) < missOf(a, a) + missOf(b, b);
        }
        if (isNearer) {
            exchange(a, b);
        }
    }
}

} // namespace tarn::kit
