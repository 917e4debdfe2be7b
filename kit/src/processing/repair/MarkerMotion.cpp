// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/repair/MarkerMotion.h"

#include "body/RigidFit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace tarn::kit {

namespace {

constexpr int framesToSample = 300;
constexpr std::size_t mostNeighbours = 6;
constexpr std::size_t leastNeighbours = 3;
constexpr std::size_t rigidNeighbours = 4;
constexpr int straightFrames = 3; ///< for how long straight on is a good guess

/// The value below which so large a part of all values is. Precondition: there are some.
double quantile(std::vector<double>& values, double part) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

double distanceOf(const Vector3d& a, const Vector3d& b) { return lengthOf(a - b); }

bool contains(const std::vector<int>& values, int value) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

} // namespace

double MarkerMotion::Expectation::miss(const Vector3d& point) const {
    double nearest = std::numeric_limits<double>::infinity();
    if (straight) {
        nearest = distanceOf(*straight, point);
    }
    if (rigid) {
        nearest = std::min(nearest, distanceOf(*rigid, point));
    }
    return nearest;
}

MarkerMotion::MarkerMotion(const MarkerTable& table, const MarkerRepairOptions& options)
    : table_(table) {
    learnt_.rate = options.rate;
    learnt_.untouched.resize(static_cast<std::size_t>(table.markerCount()));
    for (const int marker : options.untouched) {
        if (marker >= 0 && marker < table.markerCount()) {
            learnt_.untouched[static_cast<std::size_t>(marker)] = true;
        }
    }
    findNeighbours();
    findGates(options.gate);
}

MarkerMotion::MarkerMotion(const MarkerTable& table, Learnt learnt)
    : table_(table), learnt_(std::move(learnt)) {}

void MarkerMotion::findNeighbours() {
    const int step = table_.frameCount() / framesToSample + 1;
    const int leastFrames = std::min(20, table_.frameCount() / 2 + 1);
    std::vector<double> nearest;
    learnt_.neighbours.resize(learnt_.untouched.size());
    for (int marker = 0; marker < table_.markerCount(); ++marker) {
        std::vector<Neighbour>& found = learnt_.neighbours[static_cast<std::size_t>(marker)];
        for (int other = 0; other < table_.markerCount(); ++other) {
            if (other == marker || isUntouched(other) || isUntouched(marker)) {
                continue;
            }
            std::vector<double> distances;
            for (int frame = 0; frame < table_.frameCount(); frame += step) {
                if (table_.has(frame, marker) && table_.has(frame, other)) {
                    distances.push_back(
                        distanceOf(table_.at(frame, marker), table_.at(frame, other)));
                }
            }
            if (static_cast<int>(distances.size()) < leastFrames) {
                continue;
            }
            const double median = quantile(distances, 0.5);
            for (double& distance : distances) {
                distance = std::abs(distance - median);
            }
            found.push_back({other, median, quantile(distances, 0.5)});
        }
        if (!found.empty()) {
            nearest.push_back(std::min_element(found.begin(), found.end(), [](auto& a, auto& b) {
                                  return a.distance < b.distance;
                              })->distance);
        }
        std::sort(found.begin(), found.end(), [](auto& a, auto& b) { return a.spread < b.spread; });
        found.resize(std::min(found.size(), mostNeighbours));
    }
    learnt_.spacing = nearest.empty() ? 0 : quantile(nearest, 0.5);
}

void MarkerMotion::findGates(double fixed) {
    learnt_.gates.assign(learnt_.untouched.size(), fixed);
    if (fixed > 0) {
        return;
    }
    const int step = table_.frameCount() / framesToSample + 1;
    for (int marker = 0; marker < table_.markerCount(); ++marker) {
        std::vector<double> jumps;
        for (int frame = 1; frame < table_.frameCount(); frame += step) {
            if (const auto off = jump(marker, frame)) {
                jumps.push_back(*off);
            }
        }
        constexpr double ofSpacing = 0.2;
        constexpr double ofUsual = 8;
        const double usual = jumps.empty() ? 0 : quantile(jumps, 0.95);
        learnt_.gates[static_cast<std::size_t>(marker)] =
            std::max(ofSpacing * learnt_.spacing, ofUsual * usual);
    }
}

MarkerMotion::Expectation MarkerMotion::expect(int marker, int last, int frame) const {
    Expectation result;
    const Vector3d was = table_.at(last, marker);
    if (frame - last <= straightFrames && last > 0 && table_.has(last - 1, marker)) {
        result.straight =
            was + static_cast<double>(frame - last) * (was - table_.at(last - 1, marker));
    }
    std::vector<Vector3d> from;
    std::vector<Vector3d> to;
    for (const Neighbour& neighbour : learnt_.neighbours[static_cast<std::size_t>(marker)]) {
        if (from.size() < rigidNeighbours && table_.has(last, neighbour.marker) &&
            table_.has(frame, neighbour.marker)) {
            from.push_back(table_.at(last, neighbour.marker));
            to.push_back(table_.at(frame, neighbour.marker));
        }
    }
    if (from.size() >= leastNeighbours) {
        const Transform moved = rigidFit(from.data(), to.data(), from.size());
        result.rigid = moved.position + moved.rotation * was;
    }
    return result;
}

MarkerMotion::Expectation MarkerMotion::expect(int marker, int frame) const {
    const int earliest = std::max(0, frame - 1 - static_cast<int>(learnt_.rate / 2));
    for (int last = frame - 1; last >= earliest; --last) {
        if (table_.has(last, marker)) {
            return expect(marker, last, frame);
        }
    }
    return {};
}

std::optional<double> MarkerMotion::jump(int marker, int frame) const {
    if (isUntouched(marker) || !table_.has(frame, marker)) {
        return std::nullopt;
    }
    // Most markers go straight on, which is soon seen.
    const Vector3d at = table_.at(frame, marker);
    if (frame >= 2 && table_.has(frame - 1, marker) && table_.has(frame - 2, marker)) {
        const Vector3d straight = 2 * table_.at(frame - 1, marker) - table_.at(frame - 2, marker);
        constexpr double little = 0.02; // of the spacing
        if (const double off = distanceOf(straight, at); off < little * learnt_.spacing) {
            return off;
        }
    }
    const Expectation expected = expect(marker, frame);
    return expected.isThere() ? std::optional(expected.miss(at)) : std::nullopt;
}

std::optional<double> MarkerMotion::misfit(int marker, const Vector3d& point, int frame,
                                           const std::vector<int>& without) const {
    std::vector<double> differences;
    for (const Neighbour& neighbour : learnt_.neighbours[static_cast<std::size_t>(marker)]) {
        if (table_.has(frame, neighbour.marker) && !contains(without, neighbour.marker)) {
            constexpr double least = 0.02; // of the spacing: what skin and noise allow for
            const double distance = distanceOf(point, table_.at(frame, neighbour.marker));
            differences.push_back(std::abs(distance - neighbour.distance) /
                                  (neighbour.spread + least * learnt_.spacing));
        }
    }
    constexpr std::size_t leastDistances = 2;
    if (differences.size() < leastDistances) {
        return std::nullopt;
    }
    return quantile(differences, 0.5);
}

} // namespace tarn::kit
