// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/PoseProblem.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace tarn::kit {

namespace {

constexpr double limitSpread = 0.05; ///< how far a joint goes beyond a limit, in radians

/// A turn that is further from what is usual than three times its spread loses most of what it
/// costs: people do what they did not do while they were calibrated.
constexpr double unusualBound = 9;

/// The sum of a * transposed(b), weighted, onto `sum`.
void addOuter(Block& sum, double weight, const Vector3d& a, const Vector3d& b) {
    const Vector3d wa = weight * a;
    sum += Block{{wa.x * b.x, wa.x * b.y, wa.x * b.z, wa.y * b.x, wa.y * b.y, wa.y * b.z,
                  wa.z * b.x, wa.z * b.y, wa.z * b.z}};
}

Vector3d minus(const Vector3d& a, const Vector3d& b) { return a - b; }

/// The block of two joints at p and q, p above q or the same, that turn a load: the sum over its
/// markers x of (x-p)·(x-q) I - (x-q)(x-p)ᵀ.
Block turnTurn(const Load& load, const Vector3d& p, const Vector3d& q) {
    Block sum = load.second;
    addOuter(sum, -1, q, load.first);
    addOuter(sum, -1, minus(load.first, load.weight * q), p);
    const double trace = sum(0, 0) + sum(1, 1) + sum(2, 2);
    Block result = -1.0 * sum;
    result(0, 0) += trace;
    result(1, 1) += trace;
    result(2, 2) += trace;
    return result;
}

/// How far a component lies outside of its limits.
double beyond(double value, double lowest, double highest) {
    return value < lowest ? value - lowest : value > highest ? value - highest : 0;
}

} // namespace

void Articulation::applyLengths() {
    for (const LengthUse& use : uses) {
        joints[use.joint].offset = {};
    }
    for (const LengthUse& use : uses) {
        joints[use.joint].offset = joints[use.joint].offset + lengths[use.length] * use.direction;
    }
}

Load& Load::operator+=(const Load& other) {
    weight += other.weight;
    first = first + other.first;
    second += other.second;
    force = force + other.force;
    moment = moment + other.moment;
    return *this;
}

PoseProblem::PoseProblem(const Articulation& body) : body_(body) {
    const std::size_t joints = body.joints.size();
    const std::size_t markers = body.markers.size();
    parents_.push_back(none);
    for (const SolvedJoint& joint : body.joints) {
        parents_.push_back(joint.parent == none ? 0 : joint.parent + 1);
    }
    std::size_t blocks = 0;
    above_.resize(nodeCount());
    for (std::size_t node = 0; node < nodeCount(); ++node) {
        if (node > 0) {
            above_[node] = above_[parents_[node]];
            above_[node].push_back(parents_[node]);
        }
        begins_.push_back(blocks);
        blocks += above_[node].size();
    }
    matrix_.resize(blocks);
    lowers_.resize(blocks);
    for (auto* const perNode : {&diagonals_, &pivots_, &inverses_, &usualPull_, &sharePull_}) {
        perNode->resize(nodeCount());
    }
    for (auto* const perNode : {&gradient_, &step_, &usualGradient_}) {
        perNode->resize(nodeCount());
    }
    axes_.resize(joints);
    unusual_.resize(joints);
    skinTurns_.resize(joints);
    skinLoads_.resize(joints);
    unusualChange_.resize(joints);
    origins_.resize(joints);
    loads_.resize(joints);
    places_.resize(markers);
    misses_.resize(markers);
    weights_.resize(markers);
    trust_.resize(markers);
    pullCounts_.resize(markers);
    for (const SkinPull& pull : body.skin) {
        ++pullCounts_[pull.marker];
    }
}

void PoseProblem::place(const Stance& stance) {
    for (std::size_t j = 0; j < body_.joints.size(); ++j) {
        const SolvedJoint& joint = body_.joints[j];
        const Block turn = blockOf(stance.turns[j]);
        if (joint.parent == none) {
            axes_[j] = turn;
            origins_[j] = stance.position;
        } else {
            axes_[j] = axes_[joint.parent] * turn;
            origins_[j] = origins_[joint.parent] + axes_[joint.parent] * joint.offset;
            unusual_[j] = toRotationVector(inverse(joint.usual) * stance.turns[j]);
            skinTurns_[j] = 1 / std::sqrt(1 + dot(unusual_[j], unusual_[j])) * unusual_[j];
        }
    }
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const SolvedMarker& marker = body_.markers[m];
        places_[m] = origins_[marker.joint] + axes_[marker.joint] * marker.offset;
    }
    for (const SkinPull& pull : body_.skin) {
        const Block& axes = axes_[body_.markers[pull.marker].joint];
        Vector3d& place = places_[pull.marker];
        place = place + axes * (pull.shift * skinTurns_[pull.joint]);
    }
}

double PoseProblem::weigh(const Sightings& sightings) {
    double cost = 0;
    const double bound = threshold * threshold;
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const Sighting& sighting = sightings[m];
        if (!(sighting.weight > 0)) {
            weights_[m] = trust_[m] = 0;
            misses_[m] = {};
            continue;
        }
        misses_[m] = sighting.position - places_[m];
        const double spread = body_.markers[m].spread;
        const double squared = dot(misses_[m], misses_[m]) / (spread * spread);
        const double kept = std::isinf(bound) ? 1 : bound / (bound + squared);
        cost += 0.5 * sighting.weight * kept * squared;
        trust_[m] = kept * kept;
        weights_[m] = sighting.weight * kept * kept / (spread * spread);
    }
    return cost;
}

/// What it costs that a joint is turned unusually, given how its parent is.
double PoseProblem::judgeUsual(std::size_t j) {
    const SolvedJoint& joint = body_.joints[j];
    unusualChange_[j] = inverseRightJacobian(unusual_[j]) * transposed(axes_[j]);
    const Vector3d expected = joint.share * unusual_[joint.parent];
    Vector3d off;
    double squared = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        off[axis] = (unusual_[j][axis] - expected[axis]) / joint.spread[axis];
        squared += off[axis] * off[axis];
    }
    const double kept = unusualBound / (unusualBound + squared);
    Block own = unusualChange_[j];
    Block above = joint.share * unusualChange_[joint.parent];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double scale = kept / joint.spread[axis];
        for (std::size_t i = 0; i < 3; ++i) {
            own(axis, i) *= scale;
            above(axis, i) *= -scale;
        }
    }
    const std::size_t node = j + 1;
    const std::size_t parent = joint.parent + 1;
    usualPull_[node] += transposed(own) * own;
    usualPull_[parent] += transposed(above) * above;
    sharePull_[node] = transposed(own) * above;
    usualGradient_[node] = usualGradient_[node] - transposedTimes(own, kept * off);
    usualGradient_[parent] = usualGradient_[parent] - transposedTimes(above, kept * off);
    return 0.5 * kept * squared;
}

double PoseProblem::judgeTurns(const Stance& stance) {
    double cost = 0;
    std::fill(usualPull_.begin(), usualPull_.end(), Block());
    std::fill(usualGradient_.begin(), usualGradient_.end(), Vector3d());
    std::fill(sharePull_.begin(), sharePull_.end(), Block());
    for (std::size_t j = 0; j < body_.joints.size(); ++j) {
        const SolvedJoint& joint = body_.joints[j];
        if (joint.parent == none) {
            continue; // the body as a whole may be turned in any way
        }
        cost += judgeUsual(j);
        if (!limits) {
            continue;
        }
        const Vector3d v = toRotationVector(stance.turns[j]);
        Vector3d over;
        bool isOver = false;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            over[axis] = beyond(v[axis], joint.lowest[axis], joint.highest[axis]);
            isOver = isOver || over[axis] != 0;
        }
        if (!isOver) {
            continue;
        }
        const Block jacobian = inverseRightJacobian(v) * transposed(axes_[j]);
        Block scaled = jacobian;
        constexpr double weight = 1 / (limitSpread * limitSpread);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            cost += 0.5 * weight * over[axis] * over[axis];
            for (std::size_t i = 0; i < 3; ++i) {
                scaled(axis, i) *= over[axis] != 0 ? weight : 0;
            }
        }
        usualPull_[j + 1] += transposed(jacobian) * scaled;
        usualGradient_[j + 1] = usualGradient_[j + 1] - transposedTimes(jacobian, weight * over);
    }
    return cost;
}

void PoseProblem::gather() {
    std::fill(loads_.begin(), loads_.end(), Load());
    const Vector3d base = origins_.front();
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const double weight = weights_[m];
        if (weight > 0) {
            Load& load = loads_[body_.markers[m].joint];
            const Vector3d x = places_[m] - base;
            const Vector3d force = weight * misses_[m];
            load.weight += weight;
            load.first = load.first + weight * x;
            addOuter(load.second, weight, x, x);
            load.force = load.force + force;
            load.moment = load.moment + cross(x, force);
        }
    }
    for (std::size_t j = body_.joints.size(); j-- > 1;) {
        loads_[body_.joints[j].parent] += loads_[j];
    }
}

/// What skin adds to gradient and equations.
void PoseProblem::pullSkin() {
    const Vector3d base = origins_.front();
    for (std::size_t j = 1; j < skinLoads_.size(); ++j) {
        // The derivative of v / sqrt(1 + v²), by the result.
        const Vector3d& turn = skinTurns_[j];
        const double scale = std::sqrt(1 - dot(turn, turn));
        Block felt = diagonal(scale, scale, scale);
        addOuter(felt, -scale, turn, turn);
        skinLoads_[j] = {};
        skinLoads_[j].felt = felt * unusualChange_[j];
    }
    for (const SkinPull& pull : body_.skin) {
        const double weight = weights_[pull.marker];
        if (!(weight > 0)) {
            continue;
        }
        const std::size_t joint = body_.markers[pull.marker].joint;
        SkinLoad& load = skinLoads_[pull.joint];
        const Block change = axes_[joint] * (pull.shift * load.felt);
        const Block weighted = weight * transposed(change);
        const Block turned = timesCross(weighted, base - places_[pull.marker]);
        load.force = load.force + weighted * misses_[pull.marker];
        load.first += weighted;
        load.second += turned;
        // |a + b|² is at most 2 |a|² + 2 |b|², and so on for more.
        load.own += pullCounts_[pull.marker] * (weighted * change);
        if (joint == pull.joint) {
            const Block both = timesCross(weighted, origins_[joint] - places_[pull.marker]);
            load.own += both;
            load.own += transposed(both);
        }
    }
}

double PoseProblem::evaluate(const Stance& stance, const Sightings& sightings) {
    place(stance);
    return weigh(sightings) + judgeTurns(stance);
}

void PoseProblem::fill() {
    const Vector3d base = origins_.front();
    const Load& all = loads_.front();
    diagonals_[0] = diagonal(all.weight, all.weight, all.weight);
    gradient_[0] = all.force;
    for (std::size_t node = 1; node < nodeCount(); ++node) {
        const Load& load = loads_[node - 1];
        const Vector3d q = origins_[node - 1] - base;
        diagonals_[node] = turnTurn(load, q, q);
        diagonals_[node] += usualPull_[node];
        gradient_[node] = load.moment - cross(q, load.force) + usualGradient_[node];
        const std::vector<std::size_t>& above = above_[node];
        for (std::size_t depth = 0; depth < above.size(); ++depth) {
            // Rows are the node's, columns those of the node above.
            Block& block = matrix_[begins_[node] + depth];
            block = above[depth] == 0
                        ? crossOf(load.first - load.weight * q)
                        : transposed(turnTurn(load, origins_[above[depth] - 1] - base, q));
        }
        matrix_[begins_[node] + above.size() - 1] += sharePull_[node];
        if (!body_.skin.empty()) {
            addSkin(node);
        }
    }
}

void PoseProblem::addSkin(std::size_t node) {
    const SkinLoad& load = skinLoads_[node - 1];
    diagonals_[node] += load.own;
    gradient_[node] = gradient_[node] + load.force;
    Block* block = &matrix_[begins_[node]];
    for (const std::size_t above : above_[node]) {
        if (above == 0) {
            *block += load.first;
        } else {
            *block += load.second;
            *block += timesCross(load.first, origins_[above - 1] - origins_.front());
        }
        ++block;
    }
}

void PoseProblem::factor(double damping) {
    gather();
    if (!body_.skin.empty()) {
        pullSkin();
    }
    fill();
    pivots_ = diagonals_;
    for (Block& pivot : pivots_) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            pivot(axis, axis) += damping * pivot(axis, axis) + 1e-9;
        }
    }
    for (std::size_t node = nodeCount(); node-- > 0;) {
        inverses_[node] = inverseOf(pivots_[node]);
        const std::vector<std::size_t>& above = above_[node];
        const std::size_t begin = begins_[node];
        for (std::size_t depth = 0; depth < above.size(); ++depth) {
            lowers_[begin + depth] = inverses_[node] * matrix_[begin + depth];
        }
        for (std::size_t depth = 0; depth < above.size(); ++depth) {
            const Block& row = matrix_[begin + depth];
            for (std::size_t other = 0; other < depth; ++other) {
                subtractTransposedProduct(matrix_[begins_[above[depth]] + other], row,
                                          lowers_[begin + other]);
            }
            subtractTransposedProduct(pivots_[above[depth]], row, lowers_[begin + depth]);
        }
    }
}

void PoseProblem::eliminate(std::vector<Vector3d>& rhs) const {
    for (std::size_t node = nodeCount(); node-- > 0;) {
        for (std::size_t depth = 0; depth < above_[node].size(); ++depth) {
            Vector3d& target = rhs[above_[node][depth]];
            target = target - transposedTimes(lowers_[begins_[node] + depth], rhs[node]);
        }
    }
}

void PoseProblem::substitute(std::vector<Vector3d>& rhs) const {
    for (std::size_t node = 0; node < nodeCount(); ++node) {
        rhs[node] = inverses_[node] * rhs[node];
        for (std::size_t depth = 0; depth < above_[node].size(); ++depth) {
            rhs[node] = rhs[node] - lowers_[begins_[node] + depth] * rhs[above_[node][depth]];
        }
    }
}

const std::vector<Vector3d>& PoseProblem::step() {
    step_ = gradient_;
    eliminate(step_);
    substitute(step_);
    return step_;
}

void PoseProblem::gradientOf(const std::vector<Vector3d>& misses,
                             std::vector<Vector3d>& rhs) const {
    assert(body_.skin.empty());
    rhs = usualGradient_;
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        if (weights_[m] > 0) {
            const Vector3d force = weights_[m] * misses[m];
            for (std::size_t j = body_.markers[m].joint; j != none; j = body_.joints[j].parent) {
                rhs[j + 1] = rhs[j + 1] + cross(places_[m] - origins_[j], force);
            }
            rhs[0] = rhs[0] + force;
        }
    }
}

void PoseProblem::move(Stance& stance, const std::vector<Vector3d>& step) const {
    stance.position = stance.position + step[0];
    for (std::size_t j = 0; j < stance.turns.size(); ++j) {
        const Vector3d own = transposedTimes(axes_[j], step[j + 1]);
        stance.turns[j] = normalized(stance.turns[j] * fromRotationVector(own));
    }
}

} // namespace tarn::kit
