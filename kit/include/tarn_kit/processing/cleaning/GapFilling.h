// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::kit {

/// How a gap was closed.
enum class FillMethod : std::uint8_t {
    NotFilled,
    Cubic,      ///< by a cubic spline through the marker's own positions
    Neighbours, ///< from markers that move with it
};

struct GapFillingOptions {
    /// Frames per second; 0 takes that of the take.
    double rate = 0;
    /// Markers that are left as they are and fill no others: unlabelled points, say.
    std::vector<int> untouched;
    /// Seconds: longer gaps are not filled. As long as need be, if it is not set.
    std::optional<double> longestGap;
    /// Seconds: how long a gap may be that is filled without neighbours.
    double longestCubic = 0.25;
    /// Seconds: how far behind the last frame in which a marker was seen it is filled, and how far
    /// before the first one. Neighbours alone do that; a curve would run away.
    double longestEnd = 0.25;
    /// The unit of the take: gaps that are expected to be filled worse are not filled. As bad as
    /// need be, if it is not set.
    std::optional<double> worstError;
    /// Markers that are seen in a smaller part of all frames are not filled: most are leftovers.
    double leastSeen = 0.1;
};

/// What became of one gap: frames in a row in which a marker has no position.
struct MarkerGap {
    int marker = 0;
    int first = 0; ///< slots of the track, both included
    int last = 0;
    FillMethod method = FillMethod::NotFilled;
    /// How many frames were filled: all, or those nearest to where the marker was seen.
    int filled = 0;
    /// The markers that told where it was, the most rigid first.
    std::vector<int> neighbours;
    /// How far off the filled positions are expected to be (root of the mean square, in the unit of
    /// the take), from gaps of this length that were cut out where the marker was seen. Not a
    /// number where there was no room for that.
    double expectedError = 0;
    /// Why it was not filled, or not in whole; else empty.
    std::string reason;
};

struct GapFilling {
    /// The take with the gaps closed; frames without a filled marker are shared with the original.
    std::shared_ptr<Tracks> take;
    std::vector<MarkerGap> gaps; ///< by marker, then by frame

    int filledSamples() const {
        int sum = 0;
        for (const MarkerGap& gap : gaps) {
            sum += gap.filled;
        }
        return sum;
    }
};

/// Closes the gaps in the first track of markers of a take. Each filled marker is marked as
/// `MarkerState::Filled`, with no camera and no residual; nothing else changes, and the take that
/// is given not at all.
///
/// Short gaps are bridged by a cubic spline. For longer ones the markers around are ranked by how
/// constant their distances to the marker are. The first three, four and five of them carry axes
/// along, by their best rigid fit; in these the marker hardly moves, and how it moves is a linear
/// regression on the markers around it. What that leaves at both ends of the gap is bridged, so
/// that nothing jumps there. Several such ways are tried on gaps of the same length that are cut
/// out where the marker was seen, and their results are averaged by how well they did there. So it
/// is the data that says which neighbours are rigid, and whether they do better than a curve.
///
/// Short gaps are closed before long ones, and then help to close these.
///
/// Any thread; the take is only read. Throws `std::invalid_argument` for no take, for frames that
/// differ in their number of markers and for a rate that is not known, `PayloadError` for a frame
/// of the track that holds no markers.
TARN_KIT_EXPORT GapFilling fillGaps(const std::shared_ptr<Tracks>& take,
                                    const GapFillingOptions& options = {});

} // namespace tarn::kit
