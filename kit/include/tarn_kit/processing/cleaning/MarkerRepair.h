// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::kit {

/// What is wrong with markers that nobody misses.
enum class MarkerFault : std::uint8_t {
    Swap,  ///< labels are exchanged for a while
    Spike, ///< a marker jumps away for a moment and comes back
};

struct MarkerRepairOptions {
    /// Frames per second; 0 takes that of the take.
    double rate = 0;
    /// Markers that are left as they are and tell nothing of others: unlabelled points, say.
    std::vector<int> untouched;
    bool swaps = true;
    bool spikes = true;
    /// How far off its way a marker has to be to be looked at, in the unit of the take. For 0 it is
    /// chosen from the data: a fifth of how far neighbouring markers are apart, or eight times what
    /// 95 % of the marker's own steps stay below, whichever is more.
    double gate = 0;
    /// Seconds: what stays away for longer is no spike.
    double longestSpike = 0.1;
    /// Faults of which less is believed are reported and not put right.
    double leastConfidence = 0.5;
};

/// A fault that was found.
struct MarkerChange {
    MarkerFault fault = MarkerFault::Swap;
    int first = 0; ///< slots of the track, both included
    int last = 0;
    /// The marker with a spike; or those whose labels are exchanged in a ring: what was labelled as
    /// the first is the second, and so on, and what was labelled as the last is the first.
    std::vector<int> markers;
    /// From 0 to 1, how much better all fits after the change: for a swap, by how much nearer the
    /// markers are to where they went on and to their distances from rigid neighbours; for a spike,
    /// what part of the way off it is that the gate does not allow for.
    double confidence = 0;
    /// Whether it was put right; if not, the confidence was too low.
    bool corrected = false;
};

struct MarkerRepair {
    /// The take as it should be; frames without a change are shared with the original.
    std::shared_ptr<Tracks> take;
    std::vector<MarkerChange> changes; ///< swaps, then spikes, each by frame
};

/// Finds labels that are exchanged for a while and puts them right, and takes spikes out, which are
/// then gaps: `fillGaps` closes them. The take that is given is not altered.
///
/// A marker is expected where it goes straight on, or where it moves on with its most rigid
/// neighbours. When several are off that by more than the gate in one frame, and each of them is
/// where another one was expected, labels were exchanged there. Between such frames, the labels are
/// right for which the markers keep their distances from rigid neighbours that take no part; where
/// these cannot tell, right is what lasts longer, and a swap that lasts to the end of the take is
/// reported and not put right.
///
/// Any thread; the take is only read. Throws as `fillGaps`.
TARN_KIT_EXPORT MarkerRepair repairMarkers(const std::shared_ptr<Tracks>& take,
                                           const MarkerRepairOptions& options = {});

} // namespace tarn::kit
