// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include "processing/cleaning/MarkerTable.h"

#include <optional>
#include <vector>

namespace tarn::kit {

/// Where markers are to be expected: by how they moved, and by how far they are from those that
/// move with them.
class MarkerMotion {
public:
    struct Neighbour {
        int marker;
        double distance; ///< median
        double spread;   ///< median distance from that
    };
    /// What is usual of the markers of a table.
    struct Learnt {
        double rate = 0;
        std::vector<bool> untouched;
        std::vector<std::vector<Neighbour>> neighbours; ///< by marker, the most rigid first
        double spacing = 0;                             ///< of neighbouring markers
        std::vector<double> gates;                      ///< by marker
    };

    /// Learns from the table. Precondition: the rate of the options is greater than 0.
    MarkerMotion(const MarkerTable& table, const MarkerRepairOptions& options);
    /// With what was learnt from another table of the same markers.
    MarkerMotion(const MarkerTable& table, Learnt learnt);

    const Learnt& learnt() const { return learnt_; }
    bool isUntouched(int marker) const {
        return learnt_.untouched[static_cast<std::size_t>(marker)];
    }
    /// How far off its way a marker has to be to be looked at.
    double gate(int marker) const { return learnt_.gates[static_cast<std::size_t>(marker)]; }

    /// Where a marker is expected at a frame.
    struct Expectation {
        std::optional<Vector3d> straight; ///< straight on, over a few frames at the most
        std::optional<Vector3d> rigid;    ///< with its neighbours
        /// The distance of a point from the nearer of the two.
        double miss(const Vector3d& point) const;
        bool isThere() const { return straight || rigid; }
    };
    /// From what was seen up to `last`. Precondition: the marker has a position there, and
    /// `last` < `frame`.
    Expectation expect(int marker, int last, int frame) const;
    /// From when it was last seen, if that is not too long ago.
    Expectation expect(int marker, int frame) const;
    /// By how much a marker is off its way; nothing where it is not there or was not before.
    std::optional<double> jump(int marker, int frame) const;

    /// How much the distances of a point from the neighbours of `marker`, those in `without` left
    /// out, differ from what they usually are, in multiples of how much they vary; nothing where
    /// too few are there.
    std::optional<double> misfit(int marker, const Vector3d& point, int frame,
                                 const std::vector<int>& without) const;

private:
    void findNeighbours();
    void findGates(double fixed);

    const MarkerTable& table_;
    Learnt learnt_;
};

} // namespace tarn::kit
