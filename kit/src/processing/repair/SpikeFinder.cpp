// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/repair/SpikeFinder.h"

#include "processing/cleaning/GapBridge.h"
#include "processing/repair/MarkerMotion.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace tarn::kit {

namespace {

class Finder {
public:
    Finder(MarkerTable& table, const MarkerRepairOptions& options)
        : table_(table), options_(options), motion_(table, options),
          longest_(std::max(1, static_cast<int>(options.longestSpike * options.rate))) {}

    std::vector<MarkerChange> remove();

private:
    std::optional<int> returnFrom(int marker, int first) const;
    std::optional<MarkerChange> spike(int marker, int first, int end) const;

    MarkerTable& table_;
    const MarkerRepairOptions& options_;
    MarkerMotion motion_;
    int longest_; ///< frames
};

/// The frame in which a marker that jumped in `first` is back where it is to be expected from
/// before, or is not there any more.
std::optional<int> Finder::returnFrom(int marker, int first) const {
    int last = first - 1;
    while (!table_.has(last, marker)) {
        --last;
    }
    for (int frame = first + 1; frame <= first + longest_ && frame < table_.frameCount(); ++frame) {
        if (!table_.has(frame, marker)) {
            return std::nullopt;
        }
        const auto expected = motion_.expect(marker, last, frame);
        if (expected.miss(table_.at(frame, marker)) < motion_.gate(marker)) {
            return frame;
        }
    }
    return std::nullopt;
}

/// Compares what is between with a curve from before to behind.
std::optional<MarkerChange> Finder::spike(int marker, int first, int end) const {
    Shores shores;
    for (int frame = std::max(0, first - mostKnots); frame < first; ++frame) {
        if (table_.has(frame, marker)) {
            shores.before.push_back({frame, table_.at(frame, marker)});
        }
    }
    for (int frame = end; frame < std::min(end + mostKnots, table_.frameCount()); ++frame) {
        if (table_.has(frame, marker)) {
            shores.after.push_back({frame, table_.at(frame, marker)});
        }
    }
    if (shores.before.size() < 2 || shores.after.size() < 2) {
        return std::nullopt;
    }
    const std::vector<Vector3d> way =
        bridge(shores, first, end - first, BridgeKind::SlowCurve, options_.rate);
    double farthest = 0;
    for (int frame = first; frame < end; ++frame) {
        farthest = std::max(farthest, lengthOf(table_.at(frame, marker) -
                                               way[static_cast<std::size_t>(frame - first)]));
    }
    const double gate = motion_.gate(marker);
    if (farthest < gate) {
        return std::nullopt;
    }
    MarkerChange change;
    change.fault = MarkerFault::Spike;
    change.first = first;
    change.last = end - 1;
    change.markers = {marker};
    change.confidence = 1 - 0.5 * gate / farthest;
    change.corrected = change.confidence >= options_.leastConfidence;
    return change;
}

std::vector<MarkerChange> Finder::remove() {
    std::vector<MarkerChange> changes;
    for (int marker = 0; marker < table_.markerCount(); ++marker) {
        for (int frame = 1; frame < table_.frameCount(); ++frame) {
            const auto off = motion_.jump(marker, frame);
            if (!off || *off <= motion_.gate(marker)) {
                continue;
            }
            const auto end = returnFrom(marker, frame);
            const auto change = end ? spike(marker, frame, *end) : std::nullopt;
            if (!change) {
                continue;
            }
            changes.push_back(*change);
            for (int i = frame; change->corrected && i < *end; ++i) {
                table_.set(i, marker, Marker());
            }
            frame = *end;
        }
    }
    std::stable_sort(changes.begin(), changes.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    return changes;
}

} // namespace

std::vector<MarkerChange> removeSpikes(MarkerTable& table, const MarkerRepairOptions& options) {
    return Finder(table, options).remove();
}

} // namespace tarn::kit
