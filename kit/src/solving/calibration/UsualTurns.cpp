// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/UsualTurns.h"

#include "solving/DenseMatrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

namespace {

constexpr double mostStances = 20;       ///< any number tells as much as that many: they are alike
constexpr double peoplesStances = 2;     ///< what is known of people counts as so many
constexpr double widest = 25 * pi / 180; ///< of what is known of people
constexpr double shareSpread = 0.7;      ///< of shares, before anything is known
constexpr double caution = 1.5;          ///< people move otherwise than while they are calibrated

/// In which way the stances have joint `j` turned, in the middle.
Quaterniond middleOf(const std::vector<Stance>& stances, std::size_t j) {
    Quaterniond sum = {0, 0, 0, 0};
    for (const Stance& stance : stances) {
        const Quaterniond& turn = stance.turns[j];
        const double sign = dot(turn, stances.front().turns[j]) < 0 ? -1 : 1;
        sum = {sum.x + sign * turn.x, sum.y + sign * turn.y, sum.z + sign * turn.z,
               sum.w + sign * turn.w};
    }
    return normalized(sum);
}

/// Ridge regression of a joint's turns about one axis on those of its parent.
Vector3d shareOf(const std::vector<Vector3d>& own, const std::vector<Vector3d>& above,
                 std::size_t axis, double people) {
    const auto count = static_cast<double>(own.size());
    const double evidence = std::min(1.0, mostStances / count);
    DenseMatrix matrix(3);
    std::vector<double> rhs(3);
    double variance = 0;
    for (std::size_t f = 0; f < own.size(); ++f) {
        variance += own[f][axis] * own[f][axis] / count;
        for (std::size_t i = 0; i < 3; ++i) {
            rhs[i] += evidence * above[f][i] * own[f][axis];
            for (std::size_t k = i; k < 3; ++k) {
                matrix(i, k) += evidence * above[f][i] * above[f][k];
            }
        }
    }
    // What is left of the variance once the share is known, roughly.
    const double noise = 0.3 * variance + 0.01 * people * people;
    for (std::size_t i = 0; i < 3; ++i) {
        matrix(i, i) += noise / (shareSpread * shareSpread);
    }
    if (!matrix.factor()) {
        return {};
    }
    matrix.solve(rhs);
    return {rhs[0], rhs[1], rhs[2]};
}

/// What a joint's turns leave of those of another one; that may be none.
void learnSpread(SolvedJoint& joint, const std::vector<Vector3d>& own,
                 const std::vector<Vector3d>& above) {
    const auto count = static_cast<double>(own.size());
    const double stances = std::min(mostStances, count);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double people = std::min(joint.spread[axis], widest);
        Vector3d share;
        if (!above.empty()) {
            share = shareOf(own, above, axis, people);
        }
        double variance = 0;
        for (std::size_t f = 0; f < own.size(); ++f) {
            const double off = own[f][axis] - (above.empty() ? 0 : dot(share, above[f]));
            variance += off * off / count;
        }
        for (std::size_t i = 0; i < 3; ++i) {
            joint.share(axis, i) = share[i];
        }
        const double learnt =
            (stances * variance + peoplesStances * people * people) / (stances + peoplesStances);
        joint.spread[axis] = std::min(joint.spread[axis], caution * std::sqrt(learnt));
    }
}

} // namespace

void learnUsualTurns(Articulation& body, const std::vector<Stance>& stances) {
    if (stances.empty()) {
        return;
    }
    std::vector<std::vector<Vector3d>> unusual(body.joints.size());
    for (std::size_t j = 1; j < body.joints.size(); ++j) {
        SolvedJoint& joint = body.joints[j];
        joint.usual = middleOf(stances, j);
        if (joint.isFree) {
            continue;
        }
        for (const Stance& stance : stances) {
            unusual[j].push_back(toRotationVector(inverse(joint.usual) * stance.turns[j]));
        }
        learnSpread(joint, unusual[j], unusual[joint.parent]);
    }
}

} // namespace tarn::kit
