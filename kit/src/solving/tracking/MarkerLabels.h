// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"
#include "solving/PoseFit.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace tarn::kit {

/// Pairs of markers, the smaller index first.
using MarkerPairs = std::vector<std::pair<std::size_t, std::size_t>>;

/// Which measurement of a frame is taken for which marker. Labels that look exchanged where the
/// body of a fit stands are exchanged here; whether the body is then the better for it is for who
/// asks to find out. Takes its memory in the constructor.
class MarkerLabels {
public:
    /// Both outlive it.
    MarkerLabels(const Articulation& body, const PoseFit& fit);

    /// What was measured, by marker, with labels as they are thought to be right.
    const Sightings& sightings() const { return sightings_; }
    /// With labels as they came.
    void take(const Sightings& sightings);
    std::size_t exchangedCount() const;
    /// Whose label the measurement came with that is taken for a marker.
    std::size_t originOf(std::size_t marker) const { return origins_[marker]; }
    void exchange(std::size_t a, std::size_t b);
    /// Whether a marker is seen, and so far off where the body stands that it hardly counts.
    bool isOff(std::size_t marker) const;
    std::size_t offCount() const;

    /// Exchanges those that gain most by it; false if there are none. `isRough` where so much is
    /// off that whole limbs may carry each other's labels: it is then enough to come much nearer.
    /// `fit` has to be evaluated anew after each.
    bool exchangeBest(bool isRough);
    /// Exchanges those of `pairs` that come nearer by it.
    void exchangeAgain(const MarkerPairs& pairs);

private:
    double missOf(std::size_t marker, std::size_t sighting) const;
    double costOf(std::size_t marker, std::size_t sighting) const;
    double gainOf(std::size_t a, std::size_t b) const;
    double roughGainOf(std::size_t a, std::size_t b) const;
    bool isHidden(std::size_t marker) const { return !(sightings_[marker].weight > 0); }

    const Articulation* body_;
    const PoseFit* fit_;
    Sightings sightings_;
    std::vector<std::size_t> origins_;
};

} // namespace tarn::kit
