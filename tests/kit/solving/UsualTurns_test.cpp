// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/UsualTurns.h"

#include "kit/solving/SolvingTesting.h"
#include "solving/BodyAssembly.h"

#include <gtest/gtest.h>

using namespace solving_testing;

TEST(UsualTurns, AreTheMiddleAndWhatGoesAlongWithTheJointAbove) {
    const BodyAssembly assembly(someBody());
    Articulation body = assembly.articulation;
    const auto spine = static_cast<std::size_t>(
        std::find(assembly.names.begin(), assembly.names.end(), "Spine1") - assembly.names.begin());
    const std::size_t below = body.joints[spine].parent;
    std::mt19937 random(2);
    std::normal_distribution<double> normal;
    std::vector<Stance> stances(200);
    for (Stance& stance : stances) {
        stance.turns.resize(body.joints.size());
        const double bend = 0.3 * normal(random);
        stance.turns[below] = fromRotationVector({0.2 + bend, 0, 0});
        stance.turns[spine] = fromRotationVector({0.1 + 0.5 * bend, 0, 0});
    }
    const Vector3d people = body.joints[spine].spread;
    learnUsualTurns(body, stances);
    EXPECT_NEAR(toRotationVector(body.joints[spine].usual).x, 0.1, 0.02);
    EXPECT_NEAR(body.joints[spine].share(0, 0), 0.5, 0.1);
    EXPECT_NEAR(body.joints[spine].share(1, 0), 0, 1e-6);
    EXPECT_LT(body.joints[spine].spread.x, 0.5 * people.x);
    EXPECT_GT(body.joints[spine].spread.x, radiansOf(2)); // never sure of what people will do
}

TEST(UsualTurns, OfHandsAreTheMiddleOnly) {
    const BodyAssembly assembly(someBody());
    Articulation body = assembly.articulation;
    const auto hand = static_cast<std::size_t>(
        std::find(assembly.names.begin(), assembly.names.end(), "LeftHand") -
        assembly.names.begin());
    std::vector<Stance> stances(50);
    for (Stance& stance : stances) {
        stance.turns.resize(body.joints.size());
        stance.turns[hand] = fromRotationVector({0, 0, 0.3});
    }
    const Vector3d people = body.joints[hand].spread;
    learnUsualTurns(body, stances);
    EXPECT_NEAR(toRotationVector(body.joints[hand].usual).z, 0.3, 1e-9);
    EXPECT_EQ(body.joints[hand].spread, people);
}
