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

/// Skin takes some of its markers along with the joint that moves them, others with one that hangs
/// on it, or with both.
Articulation bodyWithSkin(bool withBoth) {
    Articulation body = bodyThatSharesTurns().articulation;
    for (std::size_t m = 0; m < body.markers.size(); ++m) {
        for (std::size_t j = 1; j < body.joints.size(); ++j) {
            const bool isOwn = body.markers[m].joint == j;
            const bool isBelow = body.joints[j].parent == body.markers[m].joint;
            if (withBoth ? isOwn || isBelow : m % 2 == 0 ? isOwn : isBelow) {
                body.skin.push_back(
                    {m, j, {{0.02, -0.01, 0.03, 0, 0.04, 0.01, -0.03, 0.02, -0.02}}});
                if (!withBoth) {
                    break;
                }
            }
        }
    }
    return body;
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

namespace {

void expectTheGradientOfTheCost(const Articulation& body) {
    PoseProblem problem(body);
    PoseProblem moved(body);
    std::mt19937 random(3);
    for (int round = 0; round < 5; ++round) {
        const Stance stance = randomStance(body, random);
        problem.threshold = moved.threshold =
            round % 2 == 0 ? std::numeric_limits<double>::infinity() : 6;
        problem.evaluate(stance, Sightings(body.markers.size()));
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
                    (moved.evaluate(ahead, sightings) - moved.evaluate(behind, sightings)) /
                    (2 * h);
                const double scale = 1 + std::abs(numeric);
                ASSERT_NEAR(-problem.gradient()[node][axis] / scale, numeric / scale, 1e-6)
                    << node << " " << axis;
            }
        }
    }
}

} // namespace

TEST(PoseProblem, ItsGradientIsThatOfItsCost) {
    expectTheGradientOfTheCost(bodyThatSharesTurns().articulation);
}

TEST(PoseProblem, ItsGradientIsThatOfItsCostWhereSkinMovesMarkers) {
    expectTheGradientOfTheCost(bodyWithSkin(true));
}

namespace {

/// A stance in which markers are just where the body has them, that was moved a little.
struct Moved {
    explicit Moved(const Articulation& theBody) : body(theBody), problem(body) {
        std::mt19937 random(4);
        stance = randomStance(body, random);
        // Turned as usual, so that nothing but markers pulls.
        for (std::size_t j = 0; j < body.joints.size(); ++j) {
            body.joints[j].usual = stance.turns[j];
        }
        problem.threshold = std::numeric_limits<double>::infinity();
        problem.limits = false;
        problem.evaluate(stance, Sightings(body.markers.size()));
        sightings = sightingsNear(problem, 0, random);
        std::normal_distribution<double> normal(0, 1e-5);
        for (std::size_t node = 0; node < problem.nodeCount(); ++node) {
            change.push_back({normal(random), normal(random), normal(random)});
        }
        problem.move(stance, change);
        cost = problem.evaluate(stance, sightings);
        EXPECT_GT(cost, 1e-6);
    }

    Articulation body;
    PoseProblem problem;
    Stance stance;
    Sightings sightings;
    std::vector<Vector3d> change;
    double cost = 0;
};

void expectAStepToLeadBack(const Articulation& body) {
    Moved moved(body);
    moved.problem.factor(0);
    const std::vector<Vector3d>& step = moved.problem.step();
    for (std::size_t node = 0; node < step.size(); ++node) {
        EXPECT_LT(lengthOf(step[node] + moved.change[node]), 2e-8) << node;
    }
}

} // namespace

TEST(PoseProblem, AStepLeadsBackFromASmallChange) {
    expectAStepToLeadBack(bodyThatSharesTurns().articulation);
}

TEST(PoseProblem, AStepLeadsBackWhereOneJointTakesAMarkerAlong) {
    expectAStepToLeadBack(bodyWithSkin(false));
}

TEST(PoseProblem, EachStepLeadsNearerWhereSeveralJointsTakeAMarkerAlong) {
    Moved moved(bodyWithSkin(true));
    double cost = moved.cost;
    for (int i = 0; i < 10; ++i) {
        moved.problem.factor(0);
        moved.problem.move(moved.stance, moved.problem.step());
        const double next = moved.problem.evaluate(moved.stance, moved.sightings);
        EXPECT_LT(next, cost);
        cost = next;
    }
    EXPECT_LT(cost, 1e-3 * moved.cost);
}
