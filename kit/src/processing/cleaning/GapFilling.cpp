// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/GapFilling.h>

#include "processing/cleaning/GapTrial.h"
#include "processing/cleaning/MarkerTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarn::kit {

namespace {

/// The longest list of neighbours that is of use.
constexpr std::size_t mostNeighbours = 8;
constexpr std::size_t leastNeighbours = 3;
constexpr std::size_t mostFramesToRank = 1000;

/// How constant the distance of two markers is, over frames in which both were seen.
struct Rigidity {
    double spread = 0; ///< standard deviation
    std::size_t frames = 0;
};

Rigidity rigidityOf(const MarkerTable& table, int a, int b, const std::vector<int>& frames) {
    double mean = 0;
    double squares = 0;
    std::size_t count = 0;
    for (const int frame : frames) {
        if (table.has(frame, b)) {
            ++count;
            const double distance = lengthOf(table.at(frame, a) - table.at(frame, b));
            const double change = distance - mean;
            mean += change / static_cast<double>(count);
            squares += change * (distance - mean);
        }
    }
    return {count == 0 ? 0 : std::sqrt(squares / static_cast<double>(count)), count};
}

class Filler {
public:
    Filler(MarkerTable& table, const GapFillingOptions& options)
        : table_(table), options_(options),
          untouched_(static_cast<std::size_t>(table.markerCount())) {
        for (const int marker : options.untouched) {
            if (marker >= 0 && marker < table.markerCount()) {
                untouched_[static_cast<std::size_t>(marker)] = true;
            }
        }
    }

    std::vector<MarkerGap> fill();

private:
    struct Filled {
        int marker;
        int first;
        std::vector<Vector3d> positions;
    };

    bool isUntouched(int marker) const { return untouched_[static_cast<std::size_t>(marker)]; }
    int framesIn(double seconds) const {
        return static_cast<int>(std::min(seconds * options_.rate, 1e9));
    }
    void addGapsOf(int marker);
    void close(MarkerGap& gap);
    GapSpan spanOf(const MarkerGap& gap) const;
    std::vector<int> neighboursFor(int marker, const GapSpan& span) const;
    std::string whyNot(const MarkerGap& gap, const GapSpan& span) const;
    void store();

    MarkerTable& table_;
    const GapFillingOptions& options_;
    std::vector<bool> untouched_;
    std::vector<MarkerGap> gaps_;
    std::vector<Filled> waiting_; ///< until all gaps of about their length are closed
};

void Filler::addGapsOf(int marker) {
    int seen = 0;
    int first = -1; // of the gap at hand
    const std::size_t before = gaps_.size();
    const int end = table_.frameCount();
    for (int frame = 0; frame <= end; ++frame) {
        const bool has = frame < end && table_.has(frame, marker);
        seen += has ? 1 : 0;
        if (frame < end && !has && first < 0) {
            first = frame;
        } else if (first >= 0 && (has || frame == end)) {
            MarkerGap gap;
            gap.marker = marker;
            gap.first = first;
            gap.last = frame - 1;
            gap.expectedError = std::numeric_limits<double>::quiet_NaN();
            gaps_.push_back(gap);
            first = -1;
        }
    }
    const bool isLeftover = seen == 0 || seen < options_.leastSeen * end;
    for (std::size_t i = before; isLeftover && i < gaps_.size(); ++i) {
        gaps_[i].reason = seen == 0 ? "the marker was never seen"
                                    : "the marker was seen in " + std::to_string(seen) + " of " +
                                          std::to_string(end) + " frames only";
    }
}

GapSpan Filler::spanOf(const MarkerGap& gap) const {
    GapSpan span{gap.first, gap.last - gap.first + 1};
    span.before = gap.first > 0;
    span.after = gap.last + 1 < table_.frameCount();
    const int most = framesIn(options_.longestEnd);
    if (!span.before) {
        const int end = span.end();
        span.count = std::min(span.count, most);
        span.first = end - span.count;
    } else if (!span.after) {
        span.count = std::min(span.count, most);
    }
    return span;
}

std::vector<int> Filler::neighboursFor(int marker, const GapSpan& span) const {
    std::vector<int> frames;
    for (int frame = 0; frame < table_.frameCount(); ++frame) {
        if (table_.has(frame, marker)) {
            frames.push_back(frame);
        }
    }
    frames = framesToLearnFrom(frames, span, mostFramesToRank);
    std::vector<std::pair<double, int>> ranked;
    for (int other = 0; other < table_.markerCount(); ++other) {
        bool isThere = other != marker && !isUntouched(other);
        for (int frame = span.first; isThere && frame < span.end(); ++frame) {
            isThere = table_.has(frame, other);
        }
        if (isThere) {
            const Rigidity rigidity = rigidityOf(table_, marker, other, frames);
            if (2 * rigidity.frames >= frames.size()) {
                ranked.emplace_back(rigidity.spread, other);
            }
        }
    }
    std::sort(ranked.begin(), ranked.end());
    std::vector<int> neighbours;
    for (const auto& [spread, other] : ranked) { // what was hardly seen with the others is no help
        std::vector<int> common;
        std::copy_if(frames.begin(), frames.end(), std::back_inserter(common),
                     [this, other = other](int frame) { return table_.has(frame, other); });
        if (neighbours.size() < mostNeighbours && 3 * common.size() >= 2 * frames.size()) {
            neighbours.push_back(other);
            frames = std::move(common);
        }
    }
    if (neighbours.size() < leastNeighbours) {
        neighbours.clear();
    }
    return neighbours;
}

std::string Filler::whyNot(const MarkerGap& gap, const GapSpan& span) const {
    const int length = gap.last - gap.first + 1;
    if (options_.longestGap && length > framesIn(*options_.longestGap)) {
        return "it is longer than gaps that are to be filled";
    }
    if (!gap.neighbours.empty()) {
        return span.count > 0 ? "" : "it is at the end of the take";
    }
    if (!span.before || !span.after) {
        return "it is at the end of the take, and too few other markers were seen";
    }
    return length > framesIn(options_.longestCubic)
               ? "too few other markers were seen, and it is too long to be filled without"
               : "";
}

void Filler::close(MarkerGap& gap) {
    const GapSpan span = spanOf(gap);
    gap.neighbours = neighboursFor(gap.marker, span);
    gap.reason = whyNot(gap, span);
    if (!gap.reason.empty()) {
        gap.neighbours.clear();
        return;
    }
    GapTrial::Result result =
        GapTrial(table_, gap.marker, span, gap.neighbours, options_.rate).average();
    gap.expectedError = result.expectedError;
    if (!result.fromNeighbours) {
        gap.neighbours.clear();
    }
    if (options_.worstError && !(result.expectedError <= *options_.worstError)) {
        gap.reason = "it cannot be filled as well as is asked for";
        return;
    }
    gap.method = result.fromNeighbours ? FillMethod::Neighbours : FillMethod::Cubic;
    gap.filled = span.count;
    if (span.count < gap.last - gap.first + 1) {
        gap.reason = "it is at the end of the take, where markers are not filled far";
    }
    waiting_.push_back({gap.marker, span.first, std::move(result.positions)});
}

void Filler::store() {
    for (const Filled& filled : waiting_) {
        int frame = filled.first;
        for (const Vector3d& position : filled.positions) {
            Marker marker = Marker::at(toSingle(position));
            marker.state = MarkerState::Filled;
            table_.set(frame++, filled.marker, marker);
        }
    }
    waiting_.clear();
}

std::vector<MarkerGap> Filler::fill() {
    for (int marker = 0; marker < table_.markerCount(); ++marker) {
        if (!isUntouched(marker)) {
            addGapsOf(marker);
        }
    }
    const auto length = [](const MarkerGap* gap) { return gap->last - gap->first + 1; };
    std::vector<MarkerGap*> order;
    for (MarkerGap& gap : gaps_) {
        if (gap.reason.empty()) {
            order.push_back(&gap);
        }
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](const MarkerGap* a, const MarkerGap* b) { return length(a) < length(b); });
    // What is filled helps to fill gaps that are twice as long: what is wrong with it is small
    // there.
    int shortest = 0;
    for (MarkerGap* const gap : order) {
        if (length(gap) >= 2 * shortest) {
            store();
            shortest = length(gap);
        }
        close(*gap);
    }
    store();
    return std::move(gaps_);
}

} // namespace

GapFilling fillGaps(const std::shared_ptr<Tracks>& take, const GapFillingOptions& options) {
    MarkerTable table(take);
    GapFillingOptions known = options;
    known.rate = options.rate > 0 ? options.rate : take->fps();
    if (!(known.rate > 0)) {
        throw std::invalid_argument("the take has no rate");
    }
    GapFilling result;
    result.gaps = Filler(table, known).fill();
    result.take = table.take();
    return result;
}

} // namespace tarn::kit
