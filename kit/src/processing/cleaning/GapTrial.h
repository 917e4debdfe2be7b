// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>

#include "processing/cleaning/GapBridge.h"
#include "processing/cleaning/MarkerTable.h"
#include "processing/cleaning/NeighbourModel.h"

#include <deque>
#include <vector>

namespace tarn::kit {

/// The frames of a gap that are to be filled, and on which sides the marker was seen.
struct GapSpan {
    int first;
    int count;
    bool before = true;
    bool after = true;
    int end() const { return first + count; }
};

/// All ways to fill one gap of one marker: what each gives for it, and how well each does on gaps
/// like it, cut out elsewhere.
class GapTrial {
public:
    /// `neighbours` are the markers to go by, the most rigid first; with fewer than three there is
    /// the spline alone.
    GapTrial(const MarkerTable& table, int marker, GapSpan gap, std::vector<int> neighbours,
             double rate);

    struct Result {
        std::vector<Vector3d> positions;
        double expectedError; ///< not a number where nothing could be tried
        bool fromNeighbours;  ///< or by the spline alone, for the most part
    };
    /// The average of all ways, by how well they do.
    Result average();

private:
    using Positions = std::vector<Vector3d>;

    void addModels();
    /// Gaps of the same length, or shorter ones where there is no room, cut out where all was seen.
    std::vector<GapSpan> pseudoGaps() const;
    /// One entry for each way, the spline of the positions themselves first.
    std::vector<Positions> allWays(const GapSpan& gap);
    Positions way(const NeighbourModel& model, Cluster& cluster, const GapSpan& gap,
                  BridgeKind kind, const Shores& shores,
                  const std::vector<Vector3d>& weights) const;
    /// How far the speed over a gap is from that on its shores: a curve does well where it is
    /// small. 0 where that is not known.
    double unrest(const GapSpan& gap) const;
    /// Of each way, on a gap where all was seen.
    std::vector<double> meanSquaresOn(const GapSpan& gap);
    /// Mean squares over all trials: as they are, and relative to those of the spline.
    struct Score {
        double absolute;
        double relative;
    };
    std::vector<Score> scores();
    std::vector<Score> untriedScores(std::size_t ways) const;
    /// Frames next to a gap in which the marker was seen, with its neighbours if need be.
    std::vector<int> shoreFrames(const GapSpan& gap, int step, bool withNeighbours) const;
    bool isUsable(int frame) const { return usable_[static_cast<std::size_t>(frame)]; }

    struct Way {
        NeighbourModel model;
        Cluster* cluster;
    };

    const MarkerTable& table_;
    int marker_;
    GapSpan gap_;
    std::vector<int> neighbours_;
    double rate_;
    std::vector<bool> usable_;     ///< by frame: marker and neighbours have positions
    std::vector<int> training_;    ///< of these, those to learn from
    std::deque<Cluster> clusters_; ///< which stay where they are
    std::vector<Way> ways_;
};

/// At most `most` of the frames, ascending: one half of them nearest to `gap`, the others evenly
/// from the rest.
std::vector<int> framesToLearnFrom(const std::vector<int>& frames, const GapSpan& gap,
                                   std::size_t most);

} // namespace tarn::kit
