// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/body/BodyTesting.h"

#include <tarn_kit/body/ForwardKinematics.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

namespace tarn::kit {
namespace {

using namespace body_testing;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::FloatNear;
using ::testing::IsEmpty;

constexpr double pi = 3.14159265358979323846;
const auto x = Channel::Xrotation;
const auto y = Channel::Yrotation;
const auto z = Channel::Zrotation;
const std::array<Channel, 3> axes = {x, y, z};
const std::vector<std::vector<Channel>> orders = {{x, y, z}, {y, z, x}, {z, x, y},
                                                  {z, y, x}, {y, x, z}, {x, z, y}};

using Quaternion = std::array<double, 4>; // x, y, z, w

Quaternion product(const Quaternion& a, const Quaternion& b) {
    return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
            a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
            a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
            a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

/// The turns about the axes of some channels, one after the other.
Quaternion turned(const std::vector<Channel>& channels, const std::vector<double>& degrees) {
    Quaternion rotation = {0, 0, 0, 1};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        Quaternion turn = {0, 0, 0, std::cos(degrees.at(i) * pi / 360)};
        turn.at(static_cast<std::size_t>(channels[i]) - 3) = std::sin(degrees.at(i) * pi / 360);
        rotation = product(rotation, turn);
    }
    return rotation;
}

Quaternion turned(const std::vector<Channel>& channels, const Pose& pose) {
    return turned(channels, {pose.values.begin(), pose.values.end()});
}

/// The angle between two rotations, in radians; neither needs to be of length 1.
double angleBetween(const Quaternion& a, const Quaternion& b) {
    const Quaternion difference = product({-a[0], -a[1], -a[2], a[3]}, b);
    return 2 * std::atan2(std::hypot(difference[0], difference[1], difference[2]),
                          std::abs(difference[3]));
}

Segment segmentOf(const Quaternion& q, const Vector3f& position = {}) {
    return {position,
            {static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2]),
             static_cast<float>(q[3])}};
}

Quaternion rotationOf(const Segment& segment) {
    const auto& [qx, qy, qz, qw] = segment.rotation;
    return {static_cast<double>(qx), static_cast<double>(qy), static_cast<double>(qz),
            static_cast<double>(qw)};
}

/// The values of a single joint that turns about some axes.
Pose poseOfJoint(const std::vector<Channel>& channels, const Segment& segment) {
    Rig rig;
    rig.addJoint("Joint", -1, {}, channels);
    return poseOf(rig, {{segment}});
}

double randomDegrees(std::mt19937& random, double reach) {
    return (static_cast<double>(random()) / 4294967295.0 * 2 - 1) * reach;
}

std::mt19937 sameEveryTime() {
    return std::mt19937(5U); // NOLINT(cert-msc51-cpp): for runs that can be repeated
}

/// Expects the way there and back to end within 1e-6 of where it began, and the middle angle within
/// a quarter turn.
void expectThereAndBack(const std::vector<Channel>& order, const std::vector<double>& degrees) {
    const Segment segment = segmentOf(turned(order, degrees));
    const Pose pose = poseOfJoint(order, segment);
    EXPECT_LT(angleBetween(turned(order, pose), rotationOf(segment)), 1e-6)
        << degrees[0] << ' ' << degrees[1] << ' ' << degrees[2];
    EXPECT_LE(std::abs(pose.values.at(1)), 90);
    EXPECT_LE(std::abs(pose.values.at(0)), 180);
    EXPECT_LE(std::abs(pose.values.at(2)), 180);
}

TEST(BodyPose, OfARigWithoutNodesHasNoValues) {
    EXPECT_THAT(poseOf(Rig(), BodyPose()).values, IsEmpty());
}

TEST(BodyPose, IsFoundForEveryOrderOfThreeAxes) {
    auto random = sameEveryTime();
    for (const auto& order : orders) {
        for (int i = 0; i < 500; ++i) {
            expectThereAndBack(order, {randomDegrees(random, 360), randomDegrees(random, 180),
                                       randomDegrees(random, 360)});
        }
    }
}

TEST(BodyPose, IsExactAtAndNextToTheQuarterTurn) {
    auto random = sameEveryTime();
    for (const auto& order : orders) {
        for (const double quarter : {90.0, -90.0, 270.0}) {
            for (const double off : {0.0, 1e-12, 1e-8, 1e-6, 1e-5, 2e-5, 3e-5, 5e-5, 1e-4, 1e-3}) {
                for (int i = 0; i < 20; ++i) {
                    const double first = randomDegrees(random, 180);
                    const double last = randomDegrees(random, 180);
                    expectThereAndBack(order, {first, quarter + off, last});
                    expectThereAndBack(order, {first, quarter - off, last});
                }
            }
        }
    }
}

TEST(BodyPose, GivesTheLastAngleAsZeroAtTheQuarterTurn) {
    auto random = sameEveryTime();
    for (const auto& order : orders) {
        for (const double quarter : {90.0, -90.0}) {
            for (int i = 0; i < 50; ++i) {
                const std::vector<double> degrees = {randomDegrees(random, 180), quarter,
                                                     randomDegrees(random, 180)};
                const Pose pose = poseOfJoint(order, segmentOf(turned(order, degrees)));
                EXPECT_EQ(pose.values.at(1), static_cast<float>(quarter));
                EXPECT_EQ(pose.values.at(2), 0);
            }
        }
    }
}

TEST(BodyPose, GivesBackAnglesWhoseMiddleOneIsWithinAQuarterTurn) {
    for (const auto& order : orders) {
        const Pose pose = poseOfJoint(order, segmentOf(turned(order, {100, -80, -170})));
        EXPECT_THAT(pose.values, ElementsAre(FloatNear(100, 1e-4F), FloatNear(-80, 1e-4F),
                                             FloatNear(-170, 1e-4F)));
    }
}

TEST(BodyPose, IsRefusedForAJointThatTurnsTwiceAboutAnAxis) {
    int refused = 0;
    for (const Channel first : axes) {
        for (const Channel second : axes) {
            for (const Channel third : axes) {
                const bool repeats = first == second || first == third || second == third;
                Rig rig;
                rig.addJoint("Good", -1, {}, {x, y, z});
                rig.addJoint("Joint", 0, {}, {first, Channel::Xposition, second, third});
                const BodyPose body = {{segmentOf({0, 0, 0, 1}), segmentOf({0, 0, 0, 1})}};
                if (repeats) {
                    EXPECT_THROW(poseOf(rig, body), std::invalid_argument);
                    ++refused;
                } else {
                    EXPECT_THAT(poseOf(rig, body).values, Each(0));
                }
            }
        }
    }
    EXPECT_EQ(refused, 21);
    EXPECT_THROW(poseOfJoint({x, y, z, x}, segmentOf({0, 0, 0, 1})), std::invalid_argument);
    EXPECT_THROW(poseOfJoint({z, z}, segmentOf({0, 0, 0, 1})), std::invalid_argument);
}

TEST(BodyPose, OfOneOrTwoRotationsIsExactWhereTheySuffice) {
    auto random = sameEveryTime();
    for (const Channel first : axes) {
        for (int i = 0; i < 100; ++i) {
            const std::vector<double> degrees = {randomDegrees(random, 360),
                                                 randomDegrees(random, 360)};
            const Segment one = segmentOf(turned({first}, {degrees[0]}));
            EXPECT_LT(angleBetween(turned({first}, poseOfJoint({first}, one)), rotationOf(one)),
                      1e-6);
            for (const Channel second : axes) {
                if (second != first) {
                    const std::vector<Channel> order = {first, second};
                    const Segment two = segmentOf(turned(order, degrees));
                    const Pose pose = poseOfJoint(order, two);
                    EXPECT_LT(angleBetween(turned(order, pose), rotationOf(two)), 1e-6);
                    EXPECT_LE(std::abs(pose.values.at(0)), 180);
                    EXPECT_LE(std::abs(pose.values.at(1)), 180);
                }
            }
        }
    }
}

TEST(BodyPose, OfOneOrTwoRotationsIsTheNearestWhereTheyDoNotSuffice) {
    auto random = sameEveryTime();
    for (const std::vector<Channel>& channels :
         {std::vector{x}, std::vector{y, z}, std::vector{z, y}, std::vector{x, z}}) {
        for (int i = 0; i < 100; ++i) {
            const Segment segment =
                segmentOf(turned({x, y, z}, {randomDegrees(random, 180), randomDegrees(random, 90),
                                             randomDegrees(random, 180)}));
            const Pose pose = poseOfJoint(channels, segment);
            const double reached = angleBetween(turned(channels, pose), rotationOf(segment));
            for (int other = 0; other < 50; ++other) {
                std::vector<double> degrees(pose.values.begin(), pose.values.end());
                for (double& angle : degrees) {
                    angle += randomDegrees(random, other < 25 ? 5 : 180);
                }
                EXPECT_LE(reached,
                          angleBetween(turned(channels, degrees), rotationOf(segment)) + 1e-6);
            }
        }
    }
}

TEST(BodyPose, DoesNotDependOnTheLengthOrSignOfARotation) {
    const Pose expected = poseOfJoint({x, y, z}, segmentOf(turned({x, y, z}, {10, 20, 30})));
    for (const double factor : {2.0, -1.0, 0.001}) {
        Quaternion rotation = turned({x, y, z}, {10, 20, 30});
        for (double& component : rotation) {
            component *= factor;
        }
        const Pose pose = poseOfJoint({x, y, z}, segmentOf(rotation));
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(pose.values.at(i), expected.values.at(i), 1e-4);
        }
    }
    EXPECT_THAT(poseOfJoint({x, y, z}, segmentOf({0, 0, 0, 0})).values, Each(0));
}

TEST(BodyPose, MovesAJointAlongTheAxesOfItsParent) {
    Rig rig;
    rig.addJoint("Hips", -1, {0, 1, 0}, {Channel::Zposition, Channel::Xposition, z});
    rig.addJoint("Slide", 0, {2, 0, 0}, {Channel::Yposition});
    const Segment hips = segmentOf(turned({z}, {90}), {3, 1, 5});
    const Segment slide = segmentOf(turned({z}, {90}), {-1, 3, 5}); // 2 along x, 4 along y
    const Pose pose = poseOf(rig, {{hips, slide}});
    EXPECT_THAT(pose.values, ElementsAre(FloatNear(5, 1e-5F), FloatNear(3, 1e-5F),
                                         FloatNear(90, 1e-4F), FloatNear(4, 1e-5F)));
}

TEST(BodyPose, LeavesAJointWithoutPositionChannelsAtItsOffset) {
    Rig rig;
    rig.addJoint("Hips", -1, {}, {Channel::Xposition});
    rig.addJoint("Leg", 0, {0, -1, 0}, {x});
    const Segment away = segmentOf(turned({x}, {30}), {7, 8, 9});
    EXPECT_THAT(poseOf(rig, {{segmentOf({0, 0, 0, 1}), away}}).values,
                ElementsAre(0, FloatNear(30, 1e-4F)));
}

TEST(BodyPose, GivesAllToTheFirstOfAPositionThatIsListedTwice) {
    EXPECT_THAT(poseOfJoint({Channel::Xposition, Channel::Xposition, Channel::Yposition},
                            segmentOf({0, 0, 0, 1}, {3, 4, 5}))
                    .values,
                ElementsAre(3, 0, 4));
}

TEST(BodyPose, IsTheWayBackFromTheSolverForEveryFrameOfTheSamples) {
    for (const BvhTake& take : sampleTakes()) {
        SCOPED_TRACE(take.tracks->tracksName());
        ForwardKinematicsSolver solver("solver", take.rig);
        ASSERT_TRUE(solver.evaluate(take.tracks, 0, take.tracks->timeLength() - 1));
        float worst = 0;
        int frame = 0;
        for (const BodyPose& body : bodiesOf(solver)) {
            const auto expected = worldPositions(*take.rig, bvh_testing::poseAt(take, frame++));
            const auto actual = worldPositions(*take.rig, poseOf(*take.rig, body));
            for (std::size_t i = 0; i < expected.size(); ++i) {
                worst = std::max({worst, std::abs(actual[i].x - expected[i].x),
                                  std::abs(actual[i].y - expected[i].y),
                                  std::abs(actual[i].z - expected[i].z)});
            }
        }
        EXPECT_LT(worst, 1e-5F * take.rig->height());
    }
}

TEST(BodyPose, IsTheWayBackForAChainAtTheQuarterTurn) {
    for (const auto& order : orders) {
        const auto rig = std::make_shared<Rig>();
        rig->addJoint("A", -1, {}, order);
        rig->addJoint("B", 0, {0, 1, 0}, order);
        rig->addJoint("C", 1, {1, 0, 1}, order);
        rig->addEndSite(2, {1, 2, 3});
        const Pose pose = {{20, 90, -40, -100, -90, 45, 5, 90.00001F, 7}};
        ForwardKinematicsSolver solver("solver", rig);
        solveLive(solver, {poseFrame(0, pose.values)});
        const Pose back = poseOf(*rig, bodiesOf(solver).at(0));
        for (std::size_t i = 0; i < 4; ++i) {
            expectNear(worldPositions(*rig, back)[i], worldPositions(*rig, pose)[i], 5e-6F);
        }
    }
}

TEST(BodyPose, OfWhatIsNotFiniteIsNotFiniteEither) {
    const float infinity = std::numeric_limits<float>::infinity();
    const Segment spoilt = {{infinity, 0, 0}, {std::nanf(""), 0, 0, 1}};
    const Pose pose = poseOfJoint({Channel::Yposition, x, y, z}, spoilt);
    for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_TRUE(std::isnan(pose.values.at(i)));
    }
}

#ifndef NDEBUG
TEST(BodyPoseDeathTest, AssertsThatTheBodyIsOneOfTheRig) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(poseOf(*smallRig(), BodyPose()), "segments");
}
#endif

} // namespace
TEST(BodyPose, NearAPreviousPoseChannelsDoNotJump) {
    for (const std::vector<Channel>& channels :
         {std::vector<Channel>{z, x, y}, std::vector<Channel>{y, x}, std::vector<Channel>{x}}) {
        Rig rig;
        rig.addJoint("Joint", -1, {}, channels);
        Pose previous;
        previous.values.assign(channels.size(), 0);
        for (int i = 1; i <= 100; ++i) {
            const std::vector<double> all = {9.0 * i, 10, -4.0 * i};
            const std::vector<double> degrees(
                all.begin(), all.begin() + static_cast<std::ptrdiff_t>(channels.size()));
            const Pose found = poseOf(rig, {{segmentOf(turned(channels, degrees))}}, previous);
            for (std::size_t k = 0; k < degrees.size(); ++k) {
                ASSERT_NEAR(static_cast<double>(found.values[k]), degrees[k], 1e-3) << "step " << i;
            }
            previous = found;
        }
        // Without a previous one they stay within half a turn.
        EXPECT_NEAR(poseOfJoint(channels, segmentOf(turned(channels, {900, 10, 0}))).values.at(0),
                    180, 1e-3);
    }
}

} // namespace tarn::kit
