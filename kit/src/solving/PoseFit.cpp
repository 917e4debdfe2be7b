// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/PoseFit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tarn::kit {

namespace {

constexpr double mostDamping = 1e6;

double largest(const std::vector<Vector3d>& step) {
    double most = 0;
    for (const Vector3d& v : step) {
        most = std::max(most, dot(v, v));
    }
    return std::sqrt(most);
}

} // namespace

PoseFit::PoseFit(const Articulation& body) : body_(body), problem_(body) {
    // The hips, the hips with all that hangs on them but limbs, and everything.
    std::vector<std::size_t> hips;
    std::vector<std::size_t> trunk;
    std::vector<std::size_t> all;
    std::vector<std::size_t> depth(body.joints.size());
    for (std::size_t j = 0; j < body.joints.size(); ++j) {
        const std::size_t parent = body.joints[j].parent;
        const bool bendsLittle = body.joints[j].spread.y < 0.9;
        const std::size_t own = bendsLittle ? 1 : 100;
        depth[j] = parent == none ? 0 : depth[parent] + own;
    }
    for (std::size_t m = 0; m < body.markers.size(); ++m) {
        const std::size_t joint = body.markers[m].joint;
        all.push_back(m);
        if (depth[joint] < 4) {
            trunk.push_back(m);
        }
        if (depth[joint] == 0) {
            hips.push_back(m);
        }
    }
    groups_ = {all, trunk, hips};
    trial_.turns.resize(body.joints.size());
    candidate_.turns.resize(body.joints.size());
}

FitOutcome PoseFit::refine(Stance& stance, const Sightings& sightings) {
    FitOutcome outcome;
    problem_.threshold = threshold;
    outcome.cost = problem_.evaluate(stance, sightings);
    double lambda = damping;
    while (outcome.iterations < iterations && !outcome.converged) {
        ++outcome.iterations;
        problem_.factor(lambda);
        const std::vector<Vector3d>& step = problem_.step();
        const double length = largest(step);
        trial_ = stance;
        problem_.move(trial_, step);
        const double cost = problem_.evaluate(trial_, sightings);
        if (cost <= outcome.cost) {
            outcome.converged =
                length < tolerance || outcome.cost - cost < 3e-6 * (outcome.cost + 1e-12);
            std::swap(stance, trial_);
            outcome.cost = cost;
            lambda = std::max(damping, lambda * 0.1);
        } else {
            problem_.evaluate(stance, sightings);
            outcome.converged = length < tolerance;
            lambda = std::max(1e-3, lambda * 10);
            if (!(lambda < mostDamping)) {
                break;
            }
        }
    }
    return outcome;
}

FitOutcome PoseFit::approach(Stance& stance, const Sightings& sightings, double from) {
    const double usual = std::exchange(threshold, from);
    FitOutcome outcome;
    int sum = 0;
    const int most = std::exchange(iterations, std::min(iterations, 8));
    while (threshold > usual) {
        sum += refine(stance, sightings).iterations;
        threshold *= 0.4;
    }
    iterations = most;
    threshold = usual;
    outcome = refine(stance, sightings);
    outcome.iterations += sum;
    return outcome;
}

double PoseFit::evaluate(const Stance& stance, const Sightings& sightings) {
    problem_.threshold = threshold;
    return problem_.evaluate(stance, sightings);
}

/// Puts the body, turned as usual, where it fits the markers of a group best.
bool PoseFit::lay(Stance& stance, const Sightings& sightings,
                  const std::vector<std::size_t>& group) {
    stance.position = {};
    for (std::size_t j = 0; j < body_.joints.size(); ++j) {
        stance.turns[j] = body_.joints[j].usual;
    }
    problem_.evaluate(stance, sightings);
    Vector3d from;
    Vector3d to;
    double count = 0;
    for (const std::size_t m : group) {
        if (sightings[m].weight > 0) {
            from = from + problem_.places()[m];
            to = to + sightings[m].position;
            ++count;
        }
    }
    if (count < 1) {
        return false;
    }
    from = 1 / count * from;
    to = 1 / count * to;
    rotationFit_.clear();
    for (const std::size_t m : group) {
        if (sightings[m].weight > 0) {
            rotationFit_.add(1, problem_.places()[m] - from, sightings[m].position - to);
        }
    }
    rotationFit_.addUsual(1e-6, Quaterniond());
    const Quaterniond rotation = rotationFit_.rotation();
    stance.turns[0] = normalized(rotation * stance.turns[0]);
    stance.position = to - rotation * from;
    return count >= 3;
}

void PoseFit::alignLimbs(Stance& stance, const Sightings& sightings) {
    for (std::size_t j = 1; j < body_.joints.size(); ++j) {
        problem_.evaluate(stance, sightings);
        const Vector3d origin = problem_.origins()[j];
        const Block& axes = problem_.axes()[j];
        rotationFit_.clear();
        bool any = false;
        for (std::size_t m = 0; m < body_.markers.size(); ++m) {
            if (sightings[m].weight > 0 && body_.markers[m].joint == j) {
                rotationFit_.add(1, transposedTimes(axes, problem_.places()[m] - origin),
                                 sightings[m].position - origin);
                any = true;
            }
        }
        if (!any) {
            continue;
        }
        const std::size_t parent = body_.joints[j].parent;
        Quaterniond world = stance.turns[j];
        Quaterniond above;
        for (std::size_t up = parent; up != none; up = body_.joints[up].parent) {
            world = stance.turns[up] * world;
            above = stance.turns[up] * above;
        }
        rotationFit_.addUsual(1e-3, world);
        stance.turns[j] = normalized(inverse(above) * rotationFit_.rotation());
    }
}

FitOutcome PoseFit::startFrom(Stance& stance, const Sightings& sightings, std::size_t guess) {
    FitOutcome outcome;
    outcome.cost = std::numeric_limits<double>::infinity();
    if (!lay(stance, sightings, groups_[guess / 2]) && guess > 0) {
        return outcome;
    }
    if (guess % 2 == 0) {
        alignLimbs(stance, sightings);
    }
    return approach(stance, sightings, widest);
}

FitOutcome PoseFit::start(Stance& stance, const Sightings& sightings) {
    FitOutcome best;
    best.cost = std::numeric_limits<double>::infinity();
    int iterationsDone = 0;
    for (std::size_t guess = 0; guess < guesses; ++guess) {
        const FitOutcome outcome = startFrom(candidate_, sightings, guess);
        iterationsDone += outcome.iterations;
        if (outcome.cost < best.cost) {
            best = outcome;
            stance = candidate_;
        }
    }
    problem_.evaluate(stance, sightings);
    best.iterations = iterationsDone;
    return best;
}

} // namespace tarn::kit
