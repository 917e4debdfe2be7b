// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"
#include "solving/Spatial.h"

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// What pulls on all that hangs below a joint: sums over its markers, of their weights, of their
/// places (from the body's first joint), of the products of these, and of the weighted misses as
/// force and moment. With them a block of the normal equations costs the same for one marker as for
/// fifty, as composite inertias do for the equations of motion (Featherstone, "Rigid Body Dynamics
/// Algorithms", 2008, chapter 6).
struct Load {
    double weight = 0;
    Vector3d first;
    Block second;
    Vector3d force;
    Vector3d moment;

    Load& operator+=(const Load& other);
};

/// What skin adds to the equations of a joint's node: sums over the markers that it takes along, of
/// how they move with the node, C, transposed and weighted.
struct SkinLoad {
    Block first;  ///< of weight * Cᵀ
    Block second; ///< of weight * Cᵀ times how the marker moves as the body turns about its first
                  ///< joint
    Block own;    ///< what that adds to the node's own block
    Vector3d force; ///< of weight * Cᵀ * miss
    Block felt;     ///< how what skin feels of the joint's turn changes with the node
};

/// The least-squares problem of one frame: markers that miss their places, and joints that are
/// turned unusually or too far. Unknowns come as nodes of three: node 0 moves the body, node j + 1
/// turns joint j, both along the world's axes. As each node acts only on what hangs below it, the
/// matrix of the normal equations has blocks only between a node and those above it, and its
/// factors have none elsewhere either (Featherstone 2008, section 6.5). Two joints that take the
/// same marker along would be an exception: for these the equations are replaced by ones that are
/// no smaller in any direction, so that steps are shorter and lead to the same place.
///
/// Memory is taken by the constructor and kept.
class PoseProblem {
public:
    explicit PoseProblem(const Articulation& body);

    /// Markers that miss by more than about `threshold` times their spread lose their say
    /// (Geman and McClure, 1987); infinite for plain least squares.
    double threshold = 6;
    bool limits = true;

    /// Works out where everything is and what it costs: half the sum of squares, as the threshold
    /// bounds them.
    double evaluate(const Stance& stance, const Sightings& sightings);
    /// Works out what pulls on what was evaluated, makes the normal equations, with `damping` added
    /// relative to their diagonal, and factors them.
    void factor(double damping);
    /// The step that the factored equations ask for, node by node.
    const std::vector<Vector3d>& step();
    /// The right side of the normal equations, markers missing by `misses` in place of what was
    /// evaluated. Precondition: the body has no skin.
    void gradientOf(const std::vector<Vector3d>& misses, std::vector<Vector3d>& rhs) const;
    /// Moves `stance` by a step.
    void move(Stance& stance, const std::vector<Vector3d>& step) const;

    std::size_t nodeCount() const { return parents_.size(); }

    // What was worked out, by joint, marker or node.
    const std::vector<Block>& axes() const { return axes_; }
    const std::vector<Vector3d>& origins() const { return origins_; }
    const std::vector<Vector3d>& places() const { return places_; }
    /// Of each marker, with all that it is divided by; 0 where it was not seen.
    const std::vector<double>& weights() const { return weights_; }
    /// How much of a marker's say is left to it, from 0 to 1; 0 where it was not seen.
    const std::vector<double>& trust() const { return trust_; }
    const std::vector<Vector3d>& misses() const { return misses_; }
    /// How joints are turned from their usual turns, as skin feels it: not more than a radian, as
    /// skin is not known to stretch without end.
    const std::vector<Vector3d>& skinTurns() const { return skinTurns_; }
    const std::vector<Load>& loads() const { return loads_; }
    const std::vector<Vector3d>& gradient() const { return gradient_; }

    // The factors: for each node the inverse of its pivot, and a block per node above it.
    const std::vector<std::size_t>& above(std::size_t node) const { return above_[node]; }
    const Block& pivot(std::size_t node) const { return pivots_[node]; }
    const Block& inversePivot(std::size_t node) const { return inverses_[node]; }
    const Block& lower(std::size_t node, std::size_t depth) const {
        return lowers_[begins_[node] + depth];
    }
    /// Takes what `rhs` says of nodes to those above them: the first half of a solution.
    void eliminate(std::vector<Vector3d>& rhs) const;
    /// The second half: turns what is left of `rhs` into the solution.
    void substitute(std::vector<Vector3d>& rhs) const;

private:
    void place(const Stance& stance);
    double weigh(const Sightings& sightings);
    double judgeTurns(const Stance& stance);
    double judgeUsual(std::size_t j);
    void pullSkin();
    void addSkin(std::size_t node);
    void gather();
    void fill();

    const Articulation& body_;
    std::vector<std::size_t> parents_;            ///< of nodes
    std::vector<std::vector<std::size_t>> above_; ///< the nodes above each, from the first on
    std::vector<std::size_t> begins_;             ///< of each node's blocks
    std::vector<Block> axes_;
    std::vector<Vector3d> origins_, places_, misses_;
    std::vector<double> weights_, trust_;
    std::vector<Load> loads_;
    std::vector<Block> usualPull_;     ///< what usual turns and limits add, in world axes
    std::vector<Block> sharePull_;     ///< what they add between a node and the one above it
    std::vector<Vector3d> skinTurns_;  ///< by joint
    std::vector<SkinLoad> skinLoads_;  ///< by joint
    std::vector<double> pullCounts_;   ///< of each marker: how many joints take it along
    std::vector<Vector3d> unusual_;    ///< turns of joints from their usual ones ...
    std::vector<Block> unusualChange_; ///< ... and how these change with the nodes
    std::vector<Vector3d> usualGradient_;
    std::vector<Block> matrix_, lowers_; ///< blocks with the nodes above
    std::vector<Block> diagonals_, pivots_, inverses_;
    std::vector<Vector3d> gradient_, step_;
};

} // namespace tarn::kit
