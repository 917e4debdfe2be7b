// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/BodyAssembly.h"
#include "solving/PoseProblem.h"

#include "kit/solving/SolvingTesting.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace solving_testing;

namespace {

Stance randomStance(const Articulation& body, std::mt19937& random) {
    std::normal_distribution<double> normal(0, 0.5);
    Stance stance;
    stance.position = {normal(random), normal(random), normal(random)};
    for (std::size_t j = 0; j < body.joints.size(); ++j) {
        stance.turns.push_back(
            fromRotationVector({normal(random), normal(random), normal(random)}));
    }
    return stance;
}

/// Its joints go along with those above them, some more than others.
BodyAssembly bodyThatSharesTurns() {
    BodyAssembly assembly(someBody());
    double share = 0.1;
    for (SolvedJoint& joint : assembly.articulation.joints) {
        if (joint.parent != none && joint.parent != 0) {
            joint.share = {{share, 0.2, -0.1, 0, 2 * share, 0.3, -0.2, 0.1, -share}};
            share += 0.05;
        }
    }
    return assembly;
}

/// Every marker somewhere near its place.
Sightings sightingsNear(const PoseProblem& problem, double noise, std::mt19937& random) {
    std::normal_distribution<double> normal(0, noise);
    Sightings sightings;
    for (const Vector3d& place : problem.places()) {
        const Vector3d off = {normal(random), normal(random), normal(random)};
        sightings.push_back({place + off, 1});
    }
    return sightings;
}

} // namespace

TEST(PoseProblem, ItsGradientIsThatOfItsCost) {
    const BodyAssembly assembly = bodyThatSharesTurns();
    PoseProblem problem(assembly.articulation);
    PoseProblem moved(assembly.articulation);
    std::mt19937 random(3);
    for (int round = 0; round < 5; ++round) {
        const Stance stance = randomStance(assembly.articulation, random);
        problem.threshold = moved.threshold =
            round % 2 == 0 ? std::numeric_limits<double>::infinity() : 6;
        problem.evaluate(stance, Sightings(assembly.articulation.markers.size()));
        const Sightings sightings = sightingsNear(problem, 0.02, random);
        problem.evaluate(stance, sightings);
        problem.factor(0);
        for (std::size_t node = 0; node < problem.nodeCount(); ++node) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                constexpr double h = 1e-5;
                std::vector<Vector3d> step(problem.nodeCount());
                Stance ahead = stance;
                Stance behind = stance;
                step[node][axis] = h;
                problem.move(ahead, step);
                step[node][axis] = -h;
                problem.move(behind, step);
                const double numeric =
                    (moved.costOf(ahead, sightings) - moved.costOf(behind, sightings)) / (2 * h);
                const double scale = 1 + std::abs(numeric);
                ASSERT_NEAR(-problem.gradient()[node][axis] / scale, numeric / scale, 1e-6)
                    << node << " " << axis;
            }
        }
    }
}

TEST(PoseProblem, AStepLeadsBackFromASmallChange) {
    const BodyAssembly assembly = bodyThatSharesTurns();
    PoseProblem problem(assembly.articulation);
    problem.threshold = std::numeric_limits<double>::infinity();
    problem.limits = false;
    std::mt19937 random(4);
    Stance stance = randomStance(assembly.articulation, random);
    // Turned as usual, so that nothing but markers pulls.
    Articulation usual = assembly.articulation;
    for (std::size_t j = 0; j < usual.joints.size(); ++j) {
        usual.joints[j].usual = stance.turns[j];
    }
    PoseProblem exact(usual);
    exact.threshold = problem.threshold;
    exact.limits = false;
    exact.evaluate(stance, Sightings(usual.markers.size()));
    const Sightings sightings = sightingsNear(exact, 0, random);
    std::normal_distribution<double> normal(0, 1e-5);
    std::vector<Vector3d> change(exact.nodeCount());
    for (Vector3d& v : change) {
        v = {normal(random), normal(random), normal(random)};
    }
    exact.move(stance, change);
    EXPECT_GT(exact.evaluate(stance, sightings), 1e-6);
    exact.factor(0);
    const std::vector<Vector3d>& step = exact.step();
    for (std::size_t node = 0; node < change.size(); ++node) {
        EXPECT_LT(lengthOf(step[node] + change[node]), 2e-8) << node;
    }
}
