// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"
#include "solving/DenseMatrix.h"
#include "solving/PoseProblem.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace tarn::kit {

/// One of the frames that a body is fitted to.
struct FitFrame {
    Sightings sightings;
    Stance stance;
};

/// A marker that is expected somewhere along a segment: its offset grows with a length.
struct OffsetUse {
    std::size_t marker = 0;
    std::size_t length = 0;
    Vector3d direction; ///< metres of offset per metre of length
};

/// What is known of a body before it is measured.
struct BodyExpectation {
    std::vector<Vector3d> offsets;     ///< of the markers, without what comes of lengths
    std::vector<OffsetUse> offsetUses; ///< what comes of these
    std::vector<double> offsetSpreads;
    std::vector<double> lengths;
    std::vector<double> lengthSpreads;
    std::vector<std::size_t> twins; ///< of each length; `none` where it has none
    double twinSpread = 0.004;      ///< how far twins differ; more if the data say so
    double evidence = 1;            ///< how much a frame counts: those of a take are alike
};

/// Fits marker offsets and segment lengths of a body together with its stances in many frames, by
/// damped Gauss-Newton steps. Stances are eliminated frame by frame (Schur complement), with the
/// factors that solve a single frame, so that the matrix that is left has the size of the body
/// however many frames there are.
class BodyFit {
public:
    BodyFit(Articulation& body, BodyExpectation expectation);

    /// See `PoseProblem`.
    double threshold = 4;

    /// So many steps, or fewer if they become small. `goOn` is asked after each one.
    /// Returns false if it said no.
    bool run(std::vector<FitFrame>& frames, int steps, const std::function<bool()>& goOn);

    /// One standard deviation of each offset (the largest of its axes) and each length, as the last
    /// step saw them.
    std::vector<double> offsetUncertainties() const;
    std::vector<double> lengthUncertainties() const;
    /// The same of the sum of all lengths, each as many times as is said.
    double uncertaintyOf(const std::vector<double>& timesEachLength) const;

private:
    struct Column {
        std::size_t begin, end;
    };

    double costOf(const std::vector<FitFrame>& frames);
    double expectationCost() const;
    /// How far each offset is from what is expected, with the lengths as they are.
    std::vector<Vector3d> offsetMisses() const;
    void addFrame(const FitFrame& frame, double damping);
    void setColumns();
    void addOwnBlocks();
    void eliminate();
    void addExpectation();
    void moveBody(const std::vector<double>& step);
    void moveStance(FitFrame& frame, const std::vector<double>& step, double damping);
    double* columnRow(std::size_t node, std::size_t axis) {
        return columns_.data() + (3 * node + axis) * count_;
    }
    bool isBelow(std::size_t joint, std::size_t ancestor) const {
        return order_[joint] >= order_[ancestor] && order_[joint] < ends_[ancestor];
    }

    Articulation& body_;
    BodyExpectation expectation_;
    PoseProblem problem_;
    std::size_t lengthBegin_; ///< where the columns of lengths begin, after those of markers
    std::size_t count_;       ///< of all columns
    std::vector<std::size_t> order_,
        ends_;                          ///< of joints: depth first, and where what is below ends
    std::vector<std::size_t> columnOf_; ///< of markers
    std::vector<Column> markerColumns_; ///< of nodes: those of the markers below
    std::vector<double> columns_;       ///< three rows per node
    std::vector<Vector3d> directions_;  ///< of length uses, in world axes
    DenseMatrix matrix_;
    std::vector<double> rhs_;
    std::vector<Vector3d> gradient_;
    std::vector<double> variances_;
    double damping_ = 1e-4;
};

} // namespace tarn::kit
