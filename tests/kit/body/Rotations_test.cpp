// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Rotations.h>

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using namespace tarn::kit;
using tarn::EulerOrder;

/// The twelve.
const std::vector<EulerOrder> orders = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0},
                                        {2, 0, 1}, {2, 1, 0}, {0, 1, 0}, {0, 2, 0},
                                        {1, 0, 1}, {1, 2, 1}, {2, 0, 2}, {2, 1, 2}};

bool isProper(const EulerOrder& order) { return order[0] == order[2]; }

/// Multiplied out by another library, as matrices.
Eigen::Matrix3d oracle(const EulerAngles& radians, const EulerOrder& order) {
    Eigen::Matrix3d product = Eigen::Matrix3d::Identity();
    for (std::size_t i = 0; i < 3; ++i) {
        product = product *
                  Eigen::AngleAxisd(radians[i], Eigen::Vector3d::Unit(order[i])).toRotationMatrix();
    }
    return product;
}

double distance(const Eigen::Matrix3d& a, const Matrix3d& b) {
    double largest = 0;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            const double off =
                a(i, j) - b[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
            largest = std::max(largest, std::abs(off));
        }
    }
    return largest;
}

class Random {
public:
    double operator()(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine_);
    }
    Quaterniond rotation() {
        std::normal_distribution<double> normal;
        return normalized({normal(engine_), normal(engine_), normal(engine_), normal(engine_)});
    }

private:
    std::mt19937_64 engine_{20261};
};

/// Middle angles at, next to and away from gimbal lock; all the others at every quarter turn.
std::vector<EulerAngles> degenerateAngles() {
    std::vector<EulerAngles> all;
    for (int a = -4; a <= 4; ++a) {
        for (int b = -4; b <= 4; ++b) {
            for (int c = -4; c <= 4; ++c) {
                for (const double off : {0.0, 1e-15, -1e-12, 1e-9, -1e-8, 1e-7, -1e-6, 1e-4}) {
                    all.push_back({a * pi / 4, b * pi / 2 + off, c * pi / 4});
                }
            }
        }
    }
    return all;
}

void expectInRange(const EulerAngles& angles, const EulerOrder& order) {
    EXPECT_LE(std::abs(angles[0]), pi);
    EXPECT_LE(std::abs(angles[2]), pi);
    if (isProper(order)) {
        EXPECT_GE(angles[1], 0);
        EXPECT_LE(angles[1], pi);
    } else {
        EXPECT_LE(std::abs(angles[1]), pi / 2);
    }
}

TEST(Rotations, EulerAnglesMultiplyAsTheOtherLibraryHasIt) {
    Random random;
    for (const EulerOrder& order : orders) {
        for (int i = 0; i < 500; ++i) {
            const EulerAngles angles = {random(-7, 7), random(-7, 7), random(-7, 7)};
            EXPECT_LT(distance(oracle(angles, order), toMatrix(fromEulerRadians(angles, order))),
                      1e-14);
        }
    }
}

TEST(Rotations, TheAnglesOfARotationMultiplyToIt) {
    Random random;
    for (const EulerOrder& order : orders) {
        for (int i = 0; i < 2000; ++i) {
            const Quaterniond q = random.rotation();
            const EulerAngles angles = toEulerRadians(q, order);
            expectInRange(angles, order);
            EXPECT_LT(distance(oracle(angles, order), toMatrix(q)), 5e-15);
        }
    }
}

TEST(Rotations, DegenerateAnglesMultiplyToTheirRotationToo) {
    for (const EulerOrder& order : orders) {
        for (const EulerAngles& angles : degenerateAngles()) {
            const Quaterniond q = fromEulerRadians(angles, order);
            const EulerAngles found = toEulerRadians(q, order);
            expectInRange(found, order);
            EXPECT_LT(distance(oracle(angles, order), toMatrix(fromEulerRadians(found, order))),
                      2e-7);
        }
    }
}

TEST(Rotations, InGimbalLockTheFirstAngleHasAllAndTheLastIsZero) {
    for (const EulerOrder& order : orders) {
        for (const double middle :
             isProper(order) ? std::vector<double>{0, pi} : std::vector<double>{-pi / 2, pi / 2}) {
            const EulerAngles found =
                toEulerRadians(fromEulerRadians({0.7, middle, 0.4}, order), order);
            EXPECT_EQ(found[2], 0);
            EXPECT_NEAR(found[1], middle, 1e-7);
            EXPECT_LT(distance(oracle({0.7, middle, 0.4}, order),
                               toMatrix(fromEulerRadians(found, order))),
                      2e-7);
            EXPECT_TRUE(std::abs(found[0] - 1.1) < 1e-9 || std::abs(found[0] - 0.3) < 1e-9)
                << found[0];
        }
    }
}

TEST(Rotations, NextToGimbalLockTheAnglesAreStillTold) {
    const EulerAngles angles = {0.7, pi / 2 - 1e-5, 0.4};
    for (std::size_t i = 0; i < 6; ++i) {
        const EulerAngles found = toEulerRadians(fromEulerRadians(angles, orders[i]), orders[i]);
        EXPECT_NEAR(found[0], 0.7, 1e-9);
        EXPECT_NEAR(found[1], angles[1], 1e-9);
        EXPECT_NEAR(found[2], 0.4, 1e-9);
    }
}

TEST(Rotations, AnglesNearestToThePreviousOnesFollowACurveThatWindsUp) {
    Random random;
    for (const EulerOrder& order : orders) {
        EulerAngles angles = {0.1, isProper(order) ? 1.5 : 0.2, -0.3};
        EulerAngles found = angles;
        for (int i = 0; i < 3000; ++i) {
            angles[0] += 0.02;
            angles[1] = (isProper(order) ? 1.5 : 0.0) + 1.3 * std::sin(0.01 * i);
            angles[2] -= 0.015;
            found = toEulerRadians(fromEulerRadians(angles, order), order, found);
            for (std::size_t k = 0; k < 3; ++k) {
                ASSERT_NEAR(found[k], angles[k], 1e-9) << "step " << i;
            }
        }
    }
}

TEST(Rotations, ACurveThroughTheLockDoesNotJump) {
    for (const EulerOrder& order : orders) {
        const double lock = isProper(order) ? 0 : pi / 2;
        EulerAngles found = toEulerRadians(fromEulerRadians({0.5, lock - 1, 0.25}, order), order,
                                           {0.5, lock - 1, 0.25});
        for (int i = -100; i <= 100; ++i) {
            const EulerAngles angles = {0.5, lock + 0.01 * i, 0.25};
            const EulerAngles next = toEulerRadians(fromEulerRadians(angles, order), order, found);
            for (std::size_t k = 0; k < 3; ++k) {
                ASSERT_NEAR(next[k], angles[k], 1e-7) << "step " << i << ", angle " << k;
            }
            found = next;
        }
    }
}

TEST(Rotations, InTheLockWhatIsKnownIsSharedOutBetweenFirstAndLast) {
    const EulerOrder order = {0, 1, 2};
    // Turns about x by a and, after the lock, about the same axis by c: a + c counts.
    const Quaterniond q = fromEulerRadians({1.0, pi / 2, 0.5}, order);
    const EulerAngles found = toEulerRadians(q, order, {0.9, 1.5, 0.4});
    EXPECT_NEAR(found[0], 1.0, 1e-7);
    EXPECT_NEAR(found[2], 0.5, 1e-7);
    const Quaterniond other = fromEulerRadians({1.0, -pi / 2, 0.5}, order);
    const EulerAngles otherFound = toEulerRadians(other, order, {0.9, -1.5, 0.6});
    EXPECT_NEAR(otherFound[0], 1.0, 1e-7);
    EXPECT_NEAR(otherFound[2], 0.5, 1e-7);
}

TEST(Rotations, DegreesAreRadiansTimes180OverPi) {
    const EulerAngles degrees = {40, -20, 110};
    const EulerOrder order = {2, 0, 1};
    const Quaterniond q = fromEulerDegrees(degrees, order);
    EXPECT_LT(
        radiansBetween(q, fromEulerRadians({radiansOf(40), radiansOf(-20), radiansOf(110)}, order)),
        1e-15);
    const EulerAngles found = toEulerDegrees(q, order);
    const EulerAngles wound = toEulerDegrees(q, order, {400, -20, 110});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(found[i], degrees[i], 1e-12);
    }
    EXPECT_NEAR(wound[0], 400, 1e-12);
}

TEST(Rotations, AnglesAgreeWithThoseOfTheSdk) {
    const tarn::Quaternionf q = toSingle(fromEulerDegrees({30, 40, 50}, {2, 0, 1}));
    const tarn::EulerAngle sdk = tarn::toEulerAngle(q, {2, 0, 1});
    const EulerAngles kit = toEulerDegrees(toDouble(q), {2, 0, 1});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(static_cast<double>(sdk[i]), kit[i], 1e-3);
    }
}

TEST(Rotations, AnOrderThatIsNoneIsNamedInTheError) {
    for (const EulerOrder& order : {EulerOrder{0, 0, 1}, EulerOrder{0, 1, 1}, EulerOrder{0, 1, 3},
                                    EulerOrder{-1, 1, 2}, EulerOrder{2, 2, 2}}) {
        EXPECT_THROW(fromEulerRadians({}, order), std::invalid_argument);
        EXPECT_THROW(toEulerRadians({}, order), std::invalid_argument);
        EXPECT_THROW(toEulerDegrees({}, order, {}), std::invalid_argument);
    }
    try {
        fromEulerDegrees({}, {0, 0, 1});
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(),
                     "{0, 0, 1} is no order of Euler angles: axes are 0, 1 or 2, and neighbours "
                     "differ");
    }
}

TEST(Rotations, TheZeroQuaternionHasTheAnglesOfTheIdentity) {
    for (const EulerOrder& order : orders) {
        EXPECT_EQ(toEulerRadians({0, 0, 0, 0}, order), (EulerAngles{0, 0, 0}));
        EXPECT_EQ(toEulerRadians({}, order), (EulerAngles{0, 0, 0}));
    }
}

TEST(Rotations, AProductAppliesTheRightHandFactorFirst) {
    Random random;
    for (int i = 0; i < 100; ++i) {
        const Quaterniond a = random.rotation();
        const Quaterniond b = random.rotation();
        const Vector3d v = {random(-1, 1), random(-1, 1), random(-1, 1)};
        const Eigen::Quaterniond ea(a.w, a.x, a.y, a.z);
        const Eigen::Quaterniond eb(b.w, b.x, b.y, b.z);
        const Eigen::Vector3d expected = (ea * eb) * Eigen::Vector3d(v.x, v.y, v.z);
        const Vector3d found = (a * b) * v;
        EXPECT_LT(lengthOf(found - Vector3d{expected.x(), expected.y(), expected.z()}), 1e-14);
        EXPECT_LT(lengthOf(found - toMatrix(a) * (toMatrix(b) * v)), 1e-14);
        EXPECT_LT(lengthOf(found - (toMatrix(a) * toMatrix(b)) * v), 1e-14);
        EXPECT_LT(lengthOf(inverse(a) * (a * v) - v), 1e-14);
        EXPECT_LT(lengthOf(transposed(toMatrix(a)) * (toMatrix(a) * v) - v), 1e-14);
    }
}

TEST(Rotations, NormalizedHasLengthOneAndTheIdentityForZero) {
    EXPECT_EQ(normalized({0, 0, 0, 0}), Quaterniond());
    const Quaterniond q = normalized({3, 0, 0, 4});
    EXPECT_NEAR(lengthOf(q), 1, 1e-15);
    EXPECT_NEAR(q.x, 0.6, 1e-15);
    EXPECT_TRUE(std::isnan(normalized({std::numeric_limits<double>::quiet_NaN(), 0, 0, 1}).w));
}

TEST(Rotations, SlerpTurnsAtConstantSpeedOnTheShortestWay) {
    Random random;
    for (int i = 0; i < 500; ++i) {
        const Quaterniond a = random.rotation();
        const Quaterniond b = random.rotation();
        const double whole = radiansBetween(a, b);
        for (const double t : {0.0, 0.1, 0.5, 0.9, 1.0}) {
            const Quaterniond between = slerp(a, b, t);
            EXPECT_NEAR(lengthOf(between), 1, 1e-14);
            EXPECT_NEAR(radiansBetween(a, between), t * whole, 1e-12);
            EXPECT_NEAR(radiansBetween(between, b), (1 - t) * whole, 1e-12);
            EXPECT_LT(radiansBetween(between, slerp(-a, b, t)), 1e-7);
        }
    }
}

TEST(Rotations, SlerpBetweenEqualAndOppositeRotationsIsARotation) {
    const Quaterniond a = fromAxisAngle({1, 2, 3}, 0.4);
    EXPECT_LT(radiansBetween(slerp(a, a, 0.3), a), 1e-15);
    EXPECT_LT(radiansBetween(slerp(a, -a, 0.3), a), 1e-15);
    const Quaterniond half = a * fromAxisAngle({0, 1, 0}, pi);
    EXPECT_NEAR(radiansBetween(a, slerp(a, half, 0.25)), pi / 4, 1e-12);
}

TEST(Rotations, AxisAndAngleComeBack) {
    Random random;
    for (int i = 0; i < 1000; ++i) {
        const Vector3d v = {random(-1, 1), random(-1, 1), random(-1, 1)};
        const Vector3d axis = 1 / lengthOf(v) * v;
        const double angle = random(1e-9, pi);
        const AxisAngle found = toAxisAngle(fromAxisAngle(5 * v, angle));
        EXPECT_NEAR(found.radians, angle, 1e-14);
        EXPECT_LT(lengthOf(found.axis - axis), 1e-6);
        EXPECT_LT(lengthOf(toRotationVector(fromRotationVector(angle * axis)) - angle * axis),
                  1e-14);
    }
    EXPECT_EQ(fromAxisAngle({0, 0, 0}, 1), Quaterniond());
    EXPECT_EQ(toAxisAngle({}).radians, 0);
    EXPECT_EQ(toAxisAngle({}).axis, (Vector3d{1, 0, 0}));
    // The other way round, an angle beyond half a turn is less than half.
    EXPECT_NEAR(toAxisAngle(fromAxisAngle({0, 0, 1}, 1.5 * pi)).radians, pi / 2, 1e-14);
    EXPECT_NEAR(toAxisAngle(fromAxisAngle({0, 0, 1}, 1.5 * pi)).axis.z, -1, 1e-14);
}

TEST(Rotations, RotationVectorsAreExactNearZero) {
    for (const double length : {1e-150, 1e-12, 1e-6, 9.9e-5, 1.1e-4, 1e-3}) {
        const Vector3d v = {length, 0, 0};
        EXPECT_NEAR(fromRotationVector(v).x / std::sin(length / 2), 1, 1e-14);
        EXPECT_NEAR(toRotationVector(fromRotationVector(v)).x / length, 1, 1e-14);
    }
}

TEST(Rotations, MatricesComeBackWhateverTheLargestComponentIs) {
    Random random;
    std::vector<Quaterniond> rotations = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    for (int i = 0; i < 1000; ++i) {
        rotations.push_back(random.rotation());
    }
    for (const Quaterniond& q : rotations) {
        const Matrix3d m = toMatrix(q);
        const Eigen::Matrix3d expected = Eigen::Quaterniond(q.w, q.x, q.y, q.z).toRotationMatrix();
        EXPECT_LT(distance(expected, m), 1e-14);
        const Quaterniond back = fromMatrix(m);
        EXPECT_LT(radiansBetween(back, q), 1e-14);
        EXPECT_GE(back.w, 0);
    }
}

TEST(Rotations, SmallAnglesBetweenRotationsAreTold) {
    const Quaterniond a = fromAxisAngle({1, 1, 0}, 2);
    EXPECT_NEAR(radiansBetween(a, a * fromAxisAngle({0, 0, 1}, 1e-9)), 1e-9, 1e-15);
    EXPECT_NEAR(radiansBetween(a, -a), 0, 1e-15);
}

TEST(Rotations, WhatDoesNotFitSinglePrecisionIsInfinite) {
    EXPECT_EQ(toSingle(1e300), std::numeric_limits<float>::infinity());
    EXPECT_EQ(toSingle(-1e300), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(toSingle(0.1), 0.1F);
    EXPECT_EQ(toSingle(Vector3d{1, 2, 3}).z, 3.0F);
    EXPECT_EQ(toDouble(toSingle(Quaterniond{0.5, -0.5, 0.5, 0.5})),
              (Quaterniond{0.5, -0.5, 0.5, 0.5}));
}

// What is known at compile time can be computed there.
static_assert(Quaterniond{}.w == 1);
static_assert((Quaterniond{0, 0, 1, 0} * Vector3d{1, 2, 3}) == Vector3d{-1, -2, 3});
static_assert(inverse(Quaterniond{1, 0, 0, 0}) * Quaterniond{1, 0, 0, 0} == Quaterniond{});
static_assert(Matrix3d{}[1][1] == 1);

} // namespace
