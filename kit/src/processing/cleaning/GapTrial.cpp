// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/cleaning/GapTrial.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace tarn::kit {

namespace {

constexpr std::size_t mostTrainingFrames = 1000;
// Of short ones, which say less, more are tried.
constexpr std::size_t manyPseudoGaps = 32;
constexpr std::size_t fewPseudoGaps = 12;
constexpr int margin = 3; ///< frames around a gap in which all is to be seen for a trial
constexpr std::array clusterSizes = {3, 4, 5};
constexpr std::array featureCounts = {0, 6, 8};
constexpr std::size_t waysPerModel = bridgeKinds.size();
constexpr double tiny = 1e-100; ///< of no weight, but greater than 0

double squaredDistance(const Vector3d& a, const Vector3d& b) { return dot(a - b, a - b); }

} // namespace

std::vector<int> framesToLearnFrom(const std::vector<int>& frames, const GapSpan& gap,
                                   std::size_t most) {
    if (frames.size() <= most) {
        return frames;
    }
    const auto distance = [&gap](int frame) {
        return frame < gap.first ? gap.first - frame : frame - gap.end() + 1;
    };
    std::vector<int> nearest = frames;
    std::stable_sort(nearest.begin(), nearest.end(),
                     [&](int a, int b) { return distance(a) < distance(b); });
    const std::size_t near = most / 2;
    std::vector<int> rest(nearest.begin() + static_cast<std::ptrdiff_t>(near), nearest.end());
    std::sort(rest.begin(), rest.end());
    nearest.resize(near);
    for (std::size_t i = 0; i < most - near; ++i) {
        nearest.push_back(rest[i * rest.size() / (most - near)]);
    }
    std::sort(nearest.begin(), nearest.end());
    return nearest;
}

GapTrial::GapTrial(const MarkerTable& table, int marker, GapSpan gap, std::vector<int> neighbours,
                   double rate)
    : table_(table), marker_(marker), gap_(gap), neighbours_(std::move(neighbours)), rate_(rate),
      usable_(static_cast<std::size_t>(table.frameCount())) {
    std::vector<int> frames;
    for (int frame = 0; frame < table_.frameCount(); ++frame) {
        if (table_.has(frame, marker_) &&
            std::all_of(neighbours_.begin(), neighbours_.end(),
                        [&](int neighbour) { return table_.has(frame, neighbour); })) {
            usable_[static_cast<std::size_t>(frame)] = true;
            frames.push_back(frame);
        }
    }
    training_ = framesToLearnFrom(frames, gap_, mostTrainingFrames);
    addModels();
}

void GapTrial::addModels() {
    const auto available = static_cast<int>(neighbours_.size());
    constexpr std::size_t leastFrames = 10;
    if (training_.size() < leastFrames) {
        return;
    }
    const auto firstOf = [this](int count) {
        return std::vector<int>(neighbours_.begin(), neighbours_.begin() + count);
    };
    for (const int size : clusterSizes) {
        if (size > available) {
            break;
        }
        Cluster& cluster = clusters_.emplace_back(table_, firstOf(size), training_);
        for (const int features : featureCounts) {
            constexpr std::size_t framesPerNumber = 3;
            const std::size_t numbers = 3 * static_cast<std::size_t>(features) + 1;
            if (features <= available &&
                (features == 0 || training_.size() >= framesPerNumber * numbers)) {
                ways_.push_back(
                    {NeighbourModel(table_, cluster, marker_, firstOf(features), training_),
                     &cluster});
            }
        }
    }
}

std::vector<int> GapTrial::shoreFrames(const GapSpan& gap, int step, bool withNeighbours) const {
    const auto reach = std::max(mostKnots, static_cast<int>(rate_ / 4));
    const int nearest = step < 0 ? gap.first - 1 : gap.end();
    std::vector<int> frames;
    for (int i = 0; i < reach && static_cast<int>(frames.size()) < mostKnots; ++i) {
        const int frame = nearest + step * i;
        if (frame < 0 || frame >= table_.frameCount()) {
            break;
        }
        if (withNeighbours ? isUsable(frame) : table_.has(frame, marker_)) {
            frames.push_back(frame);
        }
    }
    if (step < 0) {
        std::reverse(frames.begin(), frames.end());
    }
    return frames;
}

std::vector<GapSpan> GapTrial::pseudoGaps() const {
    int longest = 0;
    int run = 0;
    std::vector<int> runs(usable_.size()); // of usable frames up to and including each
    for (std::size_t frame = 0; frame < usable_.size(); ++frame) {
        run = usable_[frame] ? run + 1 : 0;
        runs[frame] = run;
        longest = std::max(longest, run);
    }
    const int count = std::min(gap_.count, longest - 2 * margin);
    if (count < 1) {
        return {};
    }
    std::vector<int> starts;
    for (std::size_t frame = 0; frame < usable_.size(); ++frame) {
        if (runs[frame] >= count + 2 * margin) {
            starts.push_back(static_cast<int>(frame) + 1 - margin - count);
        }
    }
    std::vector<GapSpan> gaps;
    const std::size_t wanted =
        std::min(gap_.count > rate_ / 4 ? fewPseudoGaps : manyPseudoGaps, starts.size());
    for (std::size_t i = 0; i < wanted; ++i) {
        const std::size_t pick = wanted == 1 ? 0 : i * (starts.size() - 1) / (wanted - 1);
        gaps.push_back({starts[pick], count, gap_.before, gap_.after});
    }
    return gaps;
}

GapTrial::Positions GapTrial::way(const NeighbourModel& model, Cluster& cluster, const GapSpan& gap,
                                  BridgeKind kind, const Shores& shores,
                                  const std::vector<Vector3d>& weights) const {
    Positions positions = bridge(shores, gap.first, gap.count, kind, rate_);
    for (int i = 0; i < gap.count; ++i) {
        Vector3d& position = positions[static_cast<std::size_t>(i)];
        position = cluster.toWorld(gap.first + i, model.predict(weights, gap.first + i) + position);
    }
    return positions;
}

std::vector<GapTrial::Positions> GapTrial::allWays(const GapSpan& gap) {
    std::vector<Positions> result;
    const auto shore = [&](int step, bool isThere, bool withNeighbours, const auto& valueAt) {
        std::vector<Knot> knots;
        if (isThere) {
            for (const int frame : shoreFrames(gap, step, withNeighbours)) {
                knots.push_back({frame, valueAt(frame)});
            }
        }
        return knots;
    };
    const auto own = [&](int frame) { return table_.at(frame, marker_); };
    const Shores ownShores{shore(-1, gap.before, false, own), shore(1, gap.after, false, own)};
    result.push_back(bridge(ownShores, gap.first, gap.count, BridgeKind::Spline, rate_));
    for (const Way& entry : ways_) {
        const std::vector<Vector3d> weights = entry.model.weightsWithout(gap.first, gap.end());
        const auto rest = [&](int frame) {
            return entry.cluster->toLocal(frame, table_.at(frame, marker_)) -
                   entry.model.predict(weights, frame);
        };
        const Shores shores{shore(-1, gap.before, true, rest), shore(1, gap.after, true, rest)};
        if (shores.before.empty() && shores.after.empty()) {
            result.resize(result.size() + waysPerModel); // nothing to go by: an empty way
            continue;
        }
        for (const BridgeKind kind : bridgeKinds) {
            result.push_back(way(entry.model, *entry.cluster, gap, kind, shores, weights));
        }
    }
    return result;
}

double GapTrial::unrest(const GapSpan& gap) const {
    const std::vector<int> before = shoreFrames(gap, -1, false);
    const std::vector<int> after = shoreFrames(gap, 1, false);
    if (!gap.before || !gap.after || before.size() < 2 || after.size() < 2) {
        return 0;
    }
    const auto speed = [this](int from, int to) {
        return (1.0 / (to - from)) * (table_.at(to, marker_) - table_.at(from, marker_));
    };
    const std::size_t back = before.size() - 1 - std::min<std::size_t>(margin, before.size() - 1);
    const std::size_t ahead = std::min<std::size_t>(margin, after.size() - 1);
    const Vector3d mean =
        0.5 * (speed(before[back], before.back()) + speed(after.front(), after[ahead]));
    return lengthOf(speed(before.back(), after.front()) - mean);
}

std::vector<double> GapTrial::meanSquaresOn(const GapSpan& gap) {
    std::vector<double> sums;
    for (const Positions& positions : allWays(gap)) {
        double sum = 0;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            sum +=
                squaredDistance(positions[i], table_.at(gap.first + static_cast<int>(i), marker_));
        }
        sums.push_back(sum / static_cast<double>(std::max<std::size_t>(1, positions.size())));
    }
    return sums;
}

std::vector<GapTrial::Score> GapTrial::scores() {
    std::vector<Score> scores;
    const double here = unrest(gap_);
    Score sum{0, 0};
    for (const GapSpan& gap : pseudoGaps()) {
        const std::vector<double> squares = meanSquaresOn(gap);
        scores.resize(squares.size(), Score{0, 0});
        // A gap that is as easy or as hard for a curve as the one that is to be filled counts most;
        // and hard ones, which have all the large errors, do not count for more than easy ones.
        const double octaves = here > 0 ? std::log2(unrest(gap) / here + tiny) : 0;
        const double likeness = 1 / (1 + 2 * octaves * octaves);
        const double relative = likeness / (std::sqrt(squares.front()) + tiny);
        sum.absolute += likeness;
        sum.relative += relative;
        for (std::size_t way = 0; way < squares.size(); ++way) {
            scores[way].absolute += likeness * squares[way];
            scores[way].relative += relative * squares[way];
        }
    }
    for (Score& score : scores) {
        score = {score.absolute / sum.absolute, score.relative / sum.relative};
    }
    return scores;
}

/// Where nothing can be tried: the spline for short gaps, the rigid fits for others.
std::vector<GapTrial::Score> GapTrial::untriedScores(std::size_t ways) const {
    constexpr double hopeless = 1e6;
    const bool isShort = ways_.empty() || gap_.count <= rate_ / 10;
    const double others = isShort ? hopeless : 1;
    std::vector<Score> scores(ways, Score{others, others});
    scores.front().relative = isShort ? 1 : hopeless;
    return scores;
}

GapTrial::Result GapTrial::average() {
    const std::vector<Positions> ways = allWays(gap_);
    std::vector<Score> scores = this->scores();
    const bool wasTried = !scores.empty();
    if (!wasTried) {
        scores = untriedScores(ways.size());
    }
    const double best = std::min_element(scores.begin(), scores.end(), [](auto& a, auto& b) {
                            return a.relative < b.relative;
                        })->relative;
    Result result{Positions(static_cast<std::size_t>(gap_.count)), 0, false};
    double sum = 0;
    double ofSpline = 0;
    for (std::size_t i = 0; i < ways.size(); ++i) {
        if (ways[i].empty()) {
            continue;
        }
        constexpr double sharpness = 5; // 1 would be the weights of independent errors
        const double weight = std::pow((best + tiny) / (scores[i].relative + tiny), sharpness);
        for (std::size_t k = 0; k < result.positions.size(); ++k) {
            result.positions[k] = result.positions[k] + weight * ways[i][k];
        }
        result.expectedError += weight * scores[i].absolute;
        sum += weight;
        ofSpline += i == 0 ? weight : 0;
    }
    for (Vector3d& position : result.positions) {
        position = (1 / sum) * position;
    }
    result.fromNeighbours = ofSpline < sum / 2;
    result.expectedError =
        wasTried ? std::sqrt(result.expectedError / sum) : std::numeric_limits<double>::quiet_NaN();
    return result;
}

} // namespace tarn::kit
