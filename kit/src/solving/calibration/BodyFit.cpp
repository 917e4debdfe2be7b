// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/BodyFit.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn::kit {

namespace {

/// Numbers joints depth first; `ends[j]` is one past the last number below joint j.
void walk(const Articulation& body, std::size_t joint, std::size_t& next,
          std::vector<std::size_t>& order, std::vector<std::size_t>& ends) {
    order[joint] = next++;
    for (std::size_t child = joint + 1; child < body.joints.size(); ++child) {
        if (body.joints[child].parent == joint) {
            walk(body, child, next, order, ends);
        }
    }
    ends[joint] = next;
}

double square(double x) { return x * x; }

} // namespace

BodyFit::BodyFit(Articulation& body, BodyExpectation expectation)
    : body_(body), expectation_(std::move(expectation)), problem_(body),
      lengthBegin_(3 * body.markers.size()), count_(lengthBegin_ + body.lengths.size()),
      order_(body.joints.size()), ends_(body.joints.size()), columnOf_(body.markers.size()),
      markerColumns_(problem_.nodeCount()), columns_(3 * problem_.nodeCount() * count_),
      directions_(body.uses.size()), matrix_(count_), rhs_(count_) {
    std::size_t next = 0;
    walk(body, 0, next, order_, ends_);
    std::vector<std::size_t> markers(body.markers.size());
    for (std::size_t m = 0; m < markers.size(); ++m) {
        markers[m] = m;
    }
    const auto orderOf = [&](std::size_t m) { return order_[body.markers[m].joint]; };
    std::stable_sort(markers.begin(), markers.end(),
                     [&](std::size_t a, std::size_t b) { return orderOf(a) < orderOf(b); });
    for (std::size_t i = 0; i < markers.size(); ++i) {
        columnOf_[markers[i]] = 3 * i;
    }
    markerColumns_[0] = {0, lengthBegin_};
    for (std::size_t j = 0; j < body.joints.size(); ++j) {
        const auto before = [&](std::size_t bound) {
            return static_cast<std::size_t>(std::count_if(
                markers.begin(), markers.end(), [&](std::size_t m) { return orderOf(m) < bound; }));
        };
        markerColumns_[j + 1] = {3 * before(order_[j]), 3 * before(ends_[j])};
    }
}

std::vector<Vector3d> BodyFit::offsetMisses() const {
    std::vector<Vector3d> misses;
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        misses.push_back(body_.markers[m].offset - expectation_.offsets[m]);
    }
    for (const OffsetUse& use : expectation_.offsetUses) {
        misses[use.marker] = misses[use.marker] - body_.lengths[use.length] * use.direction;
    }
    return misses;
}

double BodyFit::expectationCost() const {
    double cost = 0;
    const std::vector<Vector3d> misses = offsetMisses();
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        cost += 0.5 * dot(misses[m], misses[m]) / square(expectation_.offsetSpreads[m]);
    }
    for (std::size_t l = 0; l < body_.lengths.size(); ++l) {
        cost += 0.5 * square((body_.lengths[l] - expectation_.lengths[l]) /
                             expectation_.lengthSpreads[l]);
        const std::size_t twin = expectation_.twins[l];
        if (twin != none && twin > l) {
            const double ratio = (body_.lengths[l] - body_.lengths[twin]) / expectation_.twinSpread;
            cost += 0.5 * std::log1p(square(ratio));
        }
    }
    return cost;
}

double BodyFit::costOf(const std::vector<FitFrame>& frames) {
    problem_.threshold = threshold;
    double cost = expectationCost();
    for (const FitFrame& frame : frames) {
        cost += expectation_.evidence * problem_.evaluate(frame.stance, frame.sightings);
    }
    return cost;
}

/// Sets, for each node, how the pull on it changes with offsets and lengths.
void BodyFit::setColumns() {
    std::fill(columns_.begin(), columns_.end(), 0.0);
    const Vector3d base = problem_.origins().front();
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const double weight = problem_.weights()[m];
        if (!(weight > 0)) {
            continue;
        }
        const std::size_t joint = body_.markers[m].joint;
        const Block turned = weight * problem_.axes()[joint];
        const auto set = [&](std::size_t node, const Block& block) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                double* const row = columnRow(node, axis) + columnOf_[m];
                for (std::size_t i = 0; i < 3; ++i) {
                    row[i] = block(axis, i);
                }
            }
        };
        set(0, turned);
        for (std::size_t j = joint; j != none; j = body_.joints[j].parent) {
            set(j + 1, crossOf(problem_.places()[m] - problem_.origins()[j]) * turned);
        }
    }
    for (std::size_t u = 0; u < body_.uses.size(); ++u) {
        const LengthUse& use = body_.uses[u];
        const Vector3d direction = problem_.axes()[body_.joints[use.joint].parent] * use.direction;
        directions_[u] = direction;
        const auto add = [&](std::size_t node, const Vector3d& pull) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                columnRow(node, axis)[lengthBegin_ + use.length] += pull[axis];
            }
        };
        const Load& below = problem_.loads()[use.joint];
        add(0, below.weight * direction);
        for (std::size_t j = 0; j < body_.joints.size(); ++j) {
            const bool inside = isBelow(j, use.joint);
            if (inside || isBelow(use.joint, j)) {
                const Load& load = inside ? problem_.loads()[j] : below;
                const Vector3d arm = load.first - load.weight * (problem_.origins()[j] - base);
                add(j + 1, cross(arm, direction));
            }
        }
    }
}

/// Adds what offsets and lengths alone have to do with each other.
void BodyFit::addOwnBlocks() {
    const double evidence = expectation_.evidence;
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const double weight = evidence * problem_.weights()[m];
        if (!(weight > 0)) {
            continue;
        }
        const std::size_t column = columnOf_[m];
        const std::size_t joint = body_.markers[m].joint;
        const Block& axes = problem_.axes()[joint];
        const Vector3d pull = transposedTimes(axes, weight * problem_.misses()[m]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            matrix_(column + axis, column + axis) += weight;
            rhs_[column + axis] += pull[axis];
        }
        for (std::size_t u = 0; u < body_.uses.size(); ++u) {
            if (isBelow(joint, body_.uses[u].joint)) {
                const Vector3d along = transposedTimes(axes, weight * directions_[u]);
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    matrix_(column + axis, lengthBegin_ + body_.uses[u].length) += along[axis];
                }
            }
        }
    }
    for (std::size_t u = 0; u < body_.uses.size(); ++u) {
        const std::size_t row = lengthBegin_ + body_.uses[u].length;
        rhs_[row] += evidence * dot(directions_[u], problem_.loads()[body_.uses[u].joint].force);
        for (std::size_t v = 0; v < body_.uses.size(); ++v) {
            const std::size_t column = lengthBegin_ + body_.uses[v].length;
            const std::size_t a = body_.uses[u].joint;
            const std::size_t b = body_.uses[v].joint;
            if (column >= row && (isBelow(a, b) || isBelow(b, a))) {
                const double weight = problem_.loads()[isBelow(a, b) ? a : b].weight;
                matrix_(row, column) += evidence * weight * dot(directions_[u], directions_[v]);
            }
        }
    }
}

/// Takes what stances explain out of the matrix.
void BodyFit::eliminate() {
    const double evidence = expectation_.evidence;
    for (std::size_t node = problem_.nodeCount(); node-- > 0;) {
        const Column columns = markerColumns_[node];
        const std::array<std::pair<std::size_t, std::size_t>, 2> ranges = {
            {{columns.begin, columns.end}, {lengthBegin_, count_}}};
        const std::vector<std::size_t>& above = problem_.above(node);
        const std::array<double*, 3> y = {columnRow(node, 0), columnRow(node, 1),
                                          columnRow(node, 2)};
        for (std::size_t depth = 0; depth < above.size(); ++depth) {
            const Block& lower = problem_.lower(node, depth);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                double* const target = columnRow(above[depth], axis);
                for (const auto& [begin, end] : ranges) {
                    for (std::size_t c = begin; c < end; ++c) {
                        target[c] -= lower(0, axis) * y[0][c] + lower(1, axis) * y[1][c] +
                                     lower(2, axis) * y[2][c];
                    }
                }
            }
            gradient_[above[depth]] =
                gradient_[above[depth]] - transposedTimes(lower, gradient_[node]);
        }
        // With the square root of the pivot, what is left is a sum of squares.
        const Block root = choleskyOf(problem_.pivot(node));
        const double r0 = 1 / root(0, 0);
        const double r1 = 1 / root(1, 1);
        const double r2 = 1 / root(2, 2);
        for (const auto& [begin, end] : ranges) {
            for (std::size_t c = begin; c < end; ++c) {
                y[0][c] *= r0;
                y[1][c] = (y[1][c] - root(1, 0) * y[0][c]) * r1;
                y[2][c] = (y[2][c] - root(2, 0) * y[0][c] - root(2, 1) * y[1][c]) * r2;
            }
        }
        Vector3d g = gradient_[node];
        g.x *= r0;
        g.y = (g.y - root(1, 0) * g.x) * r1;
        g.z = (g.z - root(2, 0) * g.x - root(2, 1) * g.y) * r2;
        for (const auto& [begin, end] : ranges) {
            for (std::size_t i = begin; i < end; ++i) {
                const double a = evidence * y[0][i];
                const double b = evidence * y[1][i];
                const double c = evidence * y[2][i];
                rhs_[i] -= a * g.x + b * g.y + c * g.z;
                double* const row = matrix_.row(i);
                for (const auto& [first, last] : ranges) {
                    for (std::size_t j = std::max(i, first); j < last; ++j) {
                        row[j] -= a * y[0][j] + b * y[1][j] + c * y[2][j];
                    }
                }
            }
        }
    }
}

void BodyFit::addFrame(const FitFrame& frame, double damping) {
    problem_.evaluate(frame.stance, frame.sightings);
    problem_.factor(damping);
    gradient_ = problem_.gradient();
    setColumns();
    addOwnBlocks();
    eliminate();
}

void BodyFit::addExpectation() {
    const std::vector<Vector3d> misses = offsetMisses();
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const double weight = 1 / square(expectation_.offsetSpreads[m]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            matrix_(columnOf_[m] + axis, columnOf_[m] + axis) += weight;
            rhs_[columnOf_[m] + axis] -= weight * misses[m][axis];
        }
    }
    for (const OffsetUse& use : expectation_.offsetUses) {
        const double weight = 1 / square(expectation_.offsetSpreads[use.marker]);
        const std::size_t own = lengthBegin_ + use.length;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            matrix_(columnOf_[use.marker] + axis, own) -= weight * use.direction[axis];
        }
        rhs_[own] += weight * dot(use.direction, misses[use.marker]);
        for (const OffsetUse& other : expectation_.offsetUses) {
            const std::size_t column = lengthBegin_ + other.length;
            if (other.marker == use.marker && column >= own) {
                matrix_(own, column) += weight * dot(use.direction, other.direction);
            }
        }
    }
    for (std::size_t l = 0; l < body_.lengths.size(); ++l) {
        const std::size_t row = lengthBegin_ + l;
        const double weight = 1 / square(expectation_.lengthSpreads[l]);
        matrix_(row, row) += weight;
        rhs_[row] += weight * (expectation_.lengths[l] - body_.lengths[l]);
        const std::size_t twin = expectation_.twins[l];
        if (twin != none && twin > l) {
            // Cauchy's weight: twins that differ much are let go.
            const double difference = body_.lengths[l] - body_.lengths[twin];
            const double pull = 1 / (square(expectation_.twinSpread) + square(difference));
            matrix_(row, row) += pull;
            matrix_(lengthBegin_ + twin, lengthBegin_ + twin) += pull;
            matrix_(row, lengthBegin_ + twin) -= pull;
            rhs_[row] -= pull * difference;
            rhs_[lengthBegin_ + twin] += pull * difference;
        }
    }
}

void BodyFit::moveBody(const std::vector<double>& step) {
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const double* const own = step.data() + columnOf_[m];
        body_.markers[m].offset = body_.markers[m].offset + Vector3d{own[0], own[1], own[2]};
    }
    for (std::size_t l = 0; l < body_.lengths.size(); ++l) {
        body_.lengths[l] += step[lengthBegin_ + l];
    }
    body_.applyLengths();
}

/// Moves a stance as the body's step asks for. The body is still as it was.
void BodyFit::moveStance(FitFrame& frame, const std::vector<double>& step, double damping) {
    problem_.evaluate(frame.stance, frame.sightings);
    problem_.factor(damping);
    std::vector<Vector3d> misses = problem_.misses();
    for (std::size_t m = 0; m < body_.markers.size(); ++m) {
        const std::size_t joint = body_.markers[m].joint;
        const double* const own = step.data() + columnOf_[m];
        misses[m] = misses[m] - problem_.axes()[joint] * Vector3d{own[0], own[1], own[2]};
        for (const LengthUse& use : body_.uses) {
            if (isBelow(joint, use.joint)) {
                const Block& axes = problem_.axes()[body_.joints[use.joint].parent];
                misses[m] = misses[m] - step[lengthBegin_ + use.length] * (axes * use.direction);
            }
        }
    }
    problem_.gradientOf(misses, gradient_);
    problem_.eliminate(gradient_);
    problem_.substitute(gradient_);
    problem_.move(frame.stance, gradient_);
}

bool BodyFit::run(std::vector<FitFrame>& frames, int steps, const std::function<bool()>& goOn) {
    double cost = costOf(frames);
    for (int i = 0; i < steps; ++i) {
        matrix_.clear();
        std::fill(rhs_.begin(), rhs_.end(), 0.0);
        for (const FitFrame& frame : frames) {
            addFrame(frame, damping_);
        }
        addExpectation();
        for (std::size_t k = 0; k < count_; ++k) {
            matrix_(k, k) *= 1 + damping_;
        }
        std::vector<double> step = rhs_;
        if (!matrix_.factor()) {
            damping_ = std::max(1e-3, damping_ * 10);
            continue;
        }
        matrix_.solve(step);
        const Articulation before = body_;
        std::vector<FitFrame> moved = frames;
        for (FitFrame& frame : moved) {
            moveStance(frame, step, damping_);
        }
        moveBody(step);
        const double after = costOf(moved);
        const bool better = after < cost;
        const bool small = std::abs(cost - after) < 1e-5 * cost;
        if (better) {
            frames.swap(moved);
            cost = after;
            damping_ = std::max(1e-6, damping_ * 0.2);
        } else {
            body_ = before;
            damping_ *= 10;
        }
        if (!goOn()) {
            return false;
        }
        if (small || damping_ > 1e6) {
            break;
        }
    }
    variances_ = matrix_.inverseDiagonal();
    return true;
}

std::vector<double> BodyFit::offsetUncertainties() const {
    std::vector<double> result;
    for (const std::size_t column : columnOf_) {
        result.push_back(std::sqrt(
            std::max({variances_[column], variances_[column + 1], variances_[column + 2]})));
    }
    return result;
}

std::vector<double> BodyFit::lengthUncertainties() const {
    std::vector<double> result;
    for (std::size_t l = lengthBegin_; l < count_; ++l) {
        result.push_back(std::sqrt(variances_[l]));
    }
    return result;
}

double BodyFit::uncertaintyOf(const std::vector<double>& timesEachLength) const {
    std::vector<double> moved(count_);
    std::copy(timesEachLength.begin(), timesEachLength.end(),
              moved.begin() + static_cast<std::ptrdiff_t>(lengthBegin_));
    matrix_.solve(moved);
    double variance = 0;
    for (std::size_t l = 0; l < timesEachLength.size(); ++l) {
        variance += timesEachLength[l] * moved[lengthBegin_ + l];
    }
    return std::sqrt(variance);
}

} // namespace tarn::kit
