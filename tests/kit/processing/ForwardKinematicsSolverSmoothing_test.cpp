// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/body/BodyTesting.h"

#include <tarn/Settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

// Smoothing against a literal second computation: quaternions of the local turns by the textbook
// product, summed with signs, made matrices, and multiplied down the rig.

namespace tarn::kit {
namespace {

using namespace body_testing;

constexpr int window = ForwardKinematicsSolver::SmoothingWindow;
constexpr double pi = 3.14159265358979323846;

using Quaternion = std::array<double, 4>; // w, x, y, z
using Point = std::array<double, 3>;
using Matrix = std::array<Point, 3>;

Quaternion product(const Quaternion& a, const Quaternion& b) {
    return {a[0] * b[0] - a[1] * b[1] - a[2] * b[2] - a[3] * b[3],
            a[0] * b[1] + a[1] * b[0] + a[2] * b[3] - a[3] * b[2],
            a[0] * b[2] - a[1] * b[3] + a[2] * b[0] + a[3] * b[1],
            a[0] * b[3] + a[1] * b[2] - a[2] * b[1] + a[3] * b[0]};
}

double dotOf(const Quaternion& a, const Quaternion& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

struct Local {
    Quaternion turn = {1, 0, 0, 0};
    Point place = {};
};

Local localOf(const RigNode& node, const Pose& pose) {
    Local local;
    local.place = {static_cast<double>(node.offset.x), static_cast<double>(node.offset.y),
                   static_cast<double>(node.offset.z)};
    for (std::size_t i = 0; i < node.channels.size(); ++i) {
        const auto value = static_cast<double>(pose.values.at(node.firstValue + i));
        const auto channel = static_cast<std::size_t>(node.channels[i]);
        if (channel < 3) {
            local.place.at(channel) += value;
        } else {
            Quaternion turn = {std::cos(value * pi / 360), 0, 0, 0};
            turn.at(channel - 2) = std::sin(value * pi / 360);
            local.turn = product(local.turn, turn);
        }
    }
    return local;
}

/// The mean of a node over some poses, of which the last counts as the newest.
Local meanOf(const RigNode& node, const std::vector<Pose>& poses) {
    const Local newest = localOf(node, poses.back());
    Local mean = {{0, 0, 0, 0}, {}};
    for (const Pose& pose : poses) {
        const Local local = localOf(node, pose);
        const double sign = dotOf(local.turn, newest.turn) < 0 ? -1 : 1;
        for (std::size_t i = 0; i < 4; ++i) {
            mean.turn[i] += sign * local.turn[i];
        }
        for (std::size_t i = 0; i < 3; ++i) {
            mean.place[i] += local.place[i] / static_cast<double>(poses.size());
        }
    }
    const double length = std::sqrt(dotOf(mean.turn, mean.turn));
    for (double& component : mean.turn) {
        component /= length;
    }
    return mean;
}

Matrix matrixOf(const Quaternion& q) {
    const auto [w, x, y, z] = q;
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

Point times(const Matrix& m, const Point& v) {
    Point result = {};
    for (std::size_t row = 0; row < 3; ++row) {
        result[row] = m[row][0] * v[0] + m[row][1] * v[1] + m[row][2] * v[2];
    }
    return result;
}

std::vector<Point> expectedPositions(const Rig& rig, const std::vector<Pose>& poses) {
    std::vector<Quaternion> turns;
    std::vector<Point> places;
    for (const RigNode& node : rig.nodes()) {
        const Local mean = meanOf(node, poses);
        if (node.parent < 0) {
            turns.push_back(mean.turn);
            places.push_back(mean.place);
            continue;
        }
        const auto parent = static_cast<std::size_t>(node.parent);
        Point place = times(matrixOf(turns[parent]), mean.place);
        for (std::size_t i = 0; i < 3; ++i) {
            place[i] += places[parent][i];
        }
        turns.push_back(product(turns[parent], mean.turn));
        places.push_back(place);
    }
    return places;
}

void expectPositions(const BodyPose& body, const std::vector<Point>& expected) {
    constexpr double tolerance = 5e-5; // what a float leaves open at a distance of some hundreds
    ASSERT_EQ(body.segments.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(body.segments[i].position.x, expected[i][0], tolerance);
        EXPECT_NEAR(body.segments[i].position.y, expected[i][1], tolerance);
        EXPECT_NEAR(body.segments[i].position.z, expected[i][2], tolerance);
    }
}

/// A chain with three rotations per joint and positions inside, and poses at random for it.
std::shared_ptr<Rig> chain() {
    const auto x = Channel::Xrotation;
    const auto y = Channel::Yrotation;
    const auto z = Channel::Zrotation;
    auto rig = std::make_shared<Rig>();
    rig->addJoint("A", -1, {1, 0, 0}, {Channel::Xposition, Channel::Zposition, z, x, y});
    rig->addJoint("B", 0, {0, 1, 0.5F}, {y, Channel::Yposition, x, z});
    rig->addJoint("C", 1, {0.5F, 1, 0}, {x, y, x});
    rig->addEndSite(2, {0, 1, 1});
    return rig;
}

std::vector<Pose> randomPoses(std::size_t values, int count) {
    std::mt19937 random(7U); // NOLINT(cert-msc51-cpp): the same poses every time
    std::vector<Pose> poses;
    for (int i = 0; i < count; ++i) {
        Pose pose;
        for (std::size_t value = 0; value < values; ++value) {
            pose.values.push_back(static_cast<float>(random() % 7200U) / 10 - 360);
        }
        poses.push_back(pose);
    }
    return poses;
}

TEST(ForwardKinematicsSolverSmoothing, AveragesThePosesUpToTheirOwn) {
    const auto rig = chain();
    const std::vector<Pose> poses = randomPoses(rig->valueCount(), 12);
    for (const int width : {1, 2, 5, 30}) {
        SCOPED_TRACE(width);
        ForwardKinematicsSolver solver("solver", rig);
        solver.setFactor(window, width);
        for (unsigned i = 0; i < poses.size(); ++i) {
            solveLive(solver, {poseFrame(i, poses[i].values)});
        }
        const std::vector<BodyPose> bodies = bodiesOf(solver);
        ASSERT_EQ(bodies.size(), poses.size());
        for (int i = 0; i < static_cast<int>(poses.size()); ++i) {
            const std::vector<Pose> seen(poses.begin() + std::max(0, i - width + 1),
                                         poses.begin() + i + 1);
            expectPositions(bodies[static_cast<std::size_t>(i)], expectedPositions(*rig, seen));
        }
    }
}

TEST(ForwardKinematicsSolverSmoothing, TakesTheShorterWayFromAngleToAngle) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(window, 2);
    solveLive(solver, {poseFrame(0, {0, 0, 0, 0, 170}), poseFrame(1, {0, 0, 0, 0, -170}),
                       poseFrame(2, {0, 0, 0, 0, 530})}); // 170 again
    for (std::size_t i = 1; i < 3; ++i) {
        expectNear(bodiesOf(solver).at(i).segments[2].position, {0, 3.5F, 0});
    }
}

TEST(ForwardKinematicsSolverSmoothing, KeepsSegmentsAtTheirLengths) {
    const BvhTake take = sampleTakes().front();
    ForwardKinematicsSolver solver("solver", take.rig);
    solver.setFactor(window, 60);
    ASSERT_TRUE(solver.evaluate(take.tracks, 0, take.tracks->timeLength() - 1));
    const float tolerance = 1e-5F * take.rig->height();
    for (const BodyPose& body : bodiesOf(solver)) {
        for (std::size_t i = 0; i < body.segments.size(); ++i) {
            const RigNode& node = take.rig->nodes()[i];
            if (node.parent >= 0) {
                const Vector3f& a = body.segments[i].position;
                const Vector3f& b = body.segments[static_cast<std::size_t>(node.parent)].position;
                ASSERT_NEAR(std::hypot(a.x - b.x, a.y - b.y, a.z - b.z),
                            std::hypot(node.offset.x, node.offset.y, node.offset.z), tolerance);
            }
        }
    }
}

/// The x of what comes out for poses at x = 0 and x = 8 with a window of 4, something done between.
template <class Between>
float xAfter(Between between) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(window, 4);
    solveLive(solver, {poseFrame(0, {0, 0, 0, 0, 0})});
    between(solver);
    solveLive(solver, {poseFrame(9, {8, 0, 0, 0, 0})});
    return bodiesOf(solver).back().segments[0].position.x;
}

TEST(ForwardKinematicsSolverSmoothing, GoesOnWhenInputsAndOutputsAreCleared) {
    EXPECT_EQ(xAfter([](Solver&) {}), 4);
    EXPECT_EQ(xAfter([](Solver& solver) {
                  solver.clearInput();
                  solver.clearOutput();
              }),
              4);
    EXPECT_EQ(xAfter([](Solver& solver) {
                  solver.setFactor(ForwardKinematicsSolver::Scale, 1);
                  solver.setFactor(window, "nothing");
              }),
              4);
}

TEST(ForwardKinematicsSolverSmoothing, BeginsAnewWhenTheWindowIsSet) {
    EXPECT_EQ(xAfter([](Solver& solver) { solver.setFactor(window, 4); }), 8);
}

TEST(ForwardKinematicsSolverSmoothing, BeginsAnewWhenAStatusIsRestored) {
    EXPECT_EQ(xAfter([](Solver& solver) {
                  Settings settings;
                  solver.restoreStatus(&settings);
              }),
              8);
}

TEST(ForwardKinematicsSolverSmoothing, BeginsAnewAfterATake) {
    EXPECT_EQ(xAfter([](Solver& solver) {
                  solver.evaluate(takeOf({poseFrame(0, {3, 0, 0, 0, 0})}), 0, 0);
              }),
              8);
}

TEST(ForwardKinematicsSolverSmoothing, LeavesOutAPoseThatDoesNotFit) {
    EXPECT_EQ(xAfter([](Solver& solver) {
                  solver.addInput(poseFrame(1, {100}));
                  EXPECT_FALSE(solver.evaluate());
              }),
              4);
}

TEST(ForwardKinematicsSolverSmoothing, RecoversFromAValueThatIsNotFinite) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(window, 2);
    solveLive(solver, {poseFrame(0, {0, 0, 0, 0, std::nanf("")}), poseFrame(1, {2, 0, 0, 0, 0}),
                       poseFrame(2, {4, 0, 0, 0, 0})});
    const std::vector<BodyPose> bodies = bodiesOf(solver);
    expectNear(bodies[1].segments[1].position, {1, 2, 0});
    EXPECT_TRUE(std::isnan(bodies[1].segments[2].position.x));
    expectNear(bodies[2].segments[2].position, {3, 0.5F, 0});
}

} // namespace
} // namespace tarn::kit
