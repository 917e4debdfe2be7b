// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/MarkerPlacement.h"

#include "solving/PoseProblem.h"

#include <algorithm>
#include <limits>

namespace tarn::kit {

namespace {

constexpr std::size_t fewestFrames = 10;
constexpr double mostRiding = 0.03;  ///< of a marker from its place on its segment, in the middle
constexpr double mostMistaken = 0.3; ///< of its place from where it was thought to be, in metres
constexpr double mostShared = 1.3;   ///< so many times as far as on another segment

double medianOf(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// How a marker moves with a joint.
struct Ride {
    Vector3d offset;                                         ///< in the middle of the frames
    double spread = std::numeric_limits<double>::infinity(); ///< from there, in the middle
};

Ride rideOf(const std::vector<Vector3d>& places) {
    Ride ride;
    if (places.size() < fewestFrames) {
        return ride;
    }
    std::vector<double> values(places.size());
    for (std::size_t axis = 0; axis < 3; ++axis) {
        std::transform(places.begin(), places.end(), values.begin(),
                       [&](const Vector3d& place) { return place[axis]; });
        ride.offset[axis] = medianOf(values);
    }
    std::transform(places.begin(), places.end(), values.begin(),
                   [&](const Vector3d& place) { return lengthOf(place - ride.offset); });
    ride.spread = medianOf(values);
    return ride;
}

/// What bends little against a joint moves with it: it tells nothing.
bool areNeighbours(const Articulation& body, std::size_t a, std::size_t b) {
    const std::size_t above = body.joints[a].parent;
    const std::size_t other = body.joints[b].parent;
    return a == b || above == b || other == a || (above == other && above != none);
}

} // namespace

std::vector<std::size_t> placeAnew(Articulation& body, const std::vector<std::size_t>& markers,
                                   const std::vector<PlacedFrame>& frames) {
    PoseProblem problem(body);
    // By marker, then by joint: where it is from there, in each frame.
    std::vector<std::vector<std::vector<Vector3d>>> places(
        markers.size(), std::vector<std::vector<Vector3d>>(body.joints.size()));
    for (const PlacedFrame& frame : frames) {
        problem.evaluate(*frame.stance, *frame.sightings);
        for (std::size_t i = 0; i < markers.size(); ++i) {
            const Sighting& sighting = (*frame.sightings)[markers[i]];
            for (std::size_t j = 0; j < body.joints.size() && sighting.weight > 0; ++j) {
                places[i][j].push_back(
                    transposedTimes(problem.axes()[j], sighting.position - problem.origins()[j]));
            }
        }
    }
    std::vector<std::size_t> placed;
    for (std::size_t i = 0; i < markers.size(); ++i) {
        SolvedMarker& marker = body.markers[markers[i]];
        const Ride own = rideOf(places[i][marker.joint]);
        if (!(own.spread < mostRiding) || lengthOf(own.offset - marker.offset) > mostMistaken) {
            continue;
        }
        bool isOwn = true;
        for (std::size_t j = 0; j < body.joints.size(); ++j) {
            isOwn = isOwn && (areNeighbours(body, marker.joint, j) ||
                              own.spread < mostShared * rideOf(places[i][j]).spread);
        }
        if (isOwn) {
            marker.offset = own.offset;
            placed.push_back(markers[i]);
        }
    }
    return placed;
}

} // namespace tarn::kit
