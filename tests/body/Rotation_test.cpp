// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Rotation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using tarn::EulerAngle;
using tarn::EulerOrder;
using tarn::inverse;
using tarn::Quaternionf;
using tarn::toEulerAngle;
using tarn::toQuaternion;
using tarn::Vector3f;

template <class T>
constexpr bool isPlain = std::conjunction_v<std::is_aggregate<T>, std::is_trivially_copyable<T>,
                                            std::is_standard_layout<T>>;

static_assert(isPlain<Vector3f> && sizeof(Vector3f) == 3 * sizeof(float));
static_assert(isPlain<Quaternionf> && sizeof(Quaternionf) == 4 * sizeof(float));
static_assert(isPlain<EulerAngle> && sizeof(EulerAngle) == 3 * sizeof(float));
static_assert(isPlain<EulerOrder> && sizeof(EulerOrder) == 3 * sizeof(std::int32_t));
static_assert(Quaternionf{1, 2, 3, 4}.x == 1 && Quaternionf{1, 2, 3, 4}.w == 4);
static_assert(EulerOrder{2, 0, 1}[0] == 2 && EulerOrder{2, 0, 1}[1] == 0);
static_assert(EulerAngle{90, 0, 45}[2] == 45);

static_assert(Vector3f{1, 2, 3} == Vector3f{1, 2, 3} && !(Vector3f{1, 2, 3} != Vector3f{1, 2, 3}));
static_assert(Quaternionf{1, 2, 3, 4} == Quaternionf{1, 2, 3, 4});
static_assert(EulerAngle{1, 2, 3} == EulerAngle{1, 2, 3});
static_assert(EulerOrder{1, 2, 0} == EulerOrder{1, 2, 0});
static_assert(noexcept(Vector3f() == Vector3f()) && noexcept(Quaternionf() != Quaternionf()));

// Where each operation rounds by itself, a calculation by the same formula gives the same bits.
// Where the compiler may fuse a product and a sum, it comes out a little different, the more so the
// closer the angles are to being ambiguous.
#if defined(__x86_64__) && !defined(__FMA__)
constexpr float fusingTolerance = 0.0F;
#else
constexpr float fusingTolerance = 0.02F;
#endif

// A few roundings of values around 1, and what they make of an angle.
constexpr float roundingTolerance = 1e-6F;
constexpr float degreeTolerance = 1e-4F;

constexpr double pi = 3.141592653589793;

constexpr Quaternionf identity = {0, 0, 0, 1};

// --- Comparing --------------------------------------------------------------------------------

std::vector<float> parts(const Vector3f& v) { return {v.x, v.y, v.z}; }
std::vector<float> parts(const Quaternionf& q) { return {q.x, q.y, q.z, q.w}; }
std::vector<float> parts(const EulerAngle& e) { return {e[0], e[1], e[2]}; }

template <class T>
testing::AssertionResult isNear(const T& actual, const T& expected, float tolerance) {
    const std::vector<float> is = parts(actual);
    const std::vector<float> should = parts(expected);
    for (std::size_t i = 0; i < is.size(); ++i) {
        // Written so that not-a-number is never near.
        if (!(std::abs(is[i] - should[i]) <= tolerance)) {
            return testing::AssertionFailure()
                   << testing::PrintToString(is) << " is not " << testing::PrintToString(should);
        }
    }
    return testing::AssertionSuccess();
}

template <class T>
testing::AssertionResult isExactly(const T& actual, const T& expected) {
    return isNear(actual, expected, 0.0F);
}

std::string name(const EulerOrder& o) {
    std::string letters;
    for (const std::int32_t axis : o.axes) {
        letters += "xyz"[axis];
    }
    return letters;
}

// --- Inputs -----------------------------------------------------------------------------------

std::vector<EulerOrder> allOrders() {
    std::vector<EulerOrder> orders;
    orders.reserve(27);
    for (std::int32_t i = 0; i < 27; ++i) {
        orders.push_back({i / 9, i / 3 % 3, i % 3});
    }
    return orders;
}

/// The six orders of three different axes, and the six whose last axis is the first again.
std::vector<EulerOrder> twelveOrders() {
    std::vector<EulerOrder> orders;
    for (const EulerOrder& o : allOrders()) {
        if (o[0] != o[1] && o[1] != o[2]) {
            orders.push_back(o);
        }
    }
    return orders;
}

bool threeAxes(const EulerOrder& o) { return o[0] != o[2]; }

/// Numbers from -1 to 1, the same ones on every machine.
class Numbers {
public:
    double next() { return static_cast<double>(engine_()) / 2147483647.5 - 1.0; }

private:
    std::mt19937 engine_{20240607};
};

Quaternionf randomRotation(Numbers& numbers) {
    const double x = numbers.next();
    const double y = numbers.next();
    const double z = numbers.next();
    const double w = numbers.next();
    const double length = std::sqrt(x * x + y * y + z * z + w * w);
    return {static_cast<float>(x / length), static_cast<float>(y / length),
            static_cast<float>(z / length), static_cast<float>(w / length)};
}

/// Rotations whose matrices hold 0, 1 and -1 alone, and exactly: no turn, half turns about the
/// axes, third turns about the diagonals, each in both signs. In every order some of them are
/// ambiguous.
std::vector<Quaternionf> exactRotations() {
    std::vector<Quaternionf> rotations;
    for (const float s : {1.0F, -1.0F}) {
        rotations.insert(rotations.end(), {{s, 0, 0, 0}, {0, s, 0, 0}, {0, 0, s, 0}, {0, 0, 0, s}});
    }
    for (int signs = 0; signs < 16; ++signs) {
        const auto half = [signs](int bit) { return (signs >> bit) % 2 == 0 ? 0.5F : -0.5F; };
        rotations.push_back({half(0), half(1), half(2), half(3)});
    }
    return rotations;
}

/// These, and quarter turns about the axes and half turns about the diagonals of their planes.
std::vector<Quaternionf> ambiguousRotations() {
    const float h = std::sqrt(0.5F);
    std::vector<Quaternionf> rotations = exactRotations();
    for (const float s : {h, -h}) {
        rotations.insert(rotations.end(), {{h, 0, 0, s}, {0, h, 0, s}, {0, 0, h, s}});
        rotations.insert(rotations.end(), {{h, s, 0, 0}, {0, h, s, 0}, {h, 0, s, 0}});
    }
    return rotations;
}

// --- The formulas in single precision, for the same bits --------------------------------------

/// The cross product of the vector part of `q` and `v`.
Vector3f cross(const Quaternionf& q, const Vector3f& v) {
    return {q.y * v.z - q.z * v.y, q.z * v.x - q.x * v.z, q.x * v.y - q.y * v.x};
}

using Matrix = std::array<std::array<float, 3>, 3>;

Matrix matrixOf(const Quaternionf& q) {
    const auto& [x, y, z, w] = q;
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
             {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
             {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
}

/// The three axes that the formulas speak of, and the sense of their sequence.
struct Axes {
    explicit Axes(const EulerOrder& o)
        : odd((o[0] + 1) % 3 != o[1]), i(static_cast<std::size_t>(o[0])),
          j((i + (odd ? 2 : 1)) % 3), k((i + (odd ? 1 : 2)) % 3) {}

    bool odd;
    std::size_t i;
    std::size_t j;
    std::size_t k;
};

/// Moves `angle` by pi towards zero where the sign is the wrong one; tells whether it did.
bool adjust(float& angle, bool odd) {
    constexpr float singlePi = 3.1415927F;
    if (odd ? angle >= 0 : angle <= 0) {
        return false;
    }
    angle = angle > 0 ? angle - singlePi : angle + singlePi;
    return true;
}

EulerAngle radiansOfThreeAxes(const Matrix& m, const Axes& a) {
    const auto [odd, i, j, k] = a;
    float first = std::atan2(m[j][k], m[k][k]);
    const float c2 = std::sqrt(m[i][i] * m[i][i] + m[i][j] * m[i][j]);
    const bool adjusted = adjust(first, odd);
    const float second = std::atan2(-m[i][k], adjusted ? -c2 : c2);
    const float s1 = std::sin(first);
    const float c1 = std::cos(first);
    return {first, second, std::atan2(s1 * m[k][i] - c1 * m[j][i], c1 * m[j][j] - s1 * m[k][j])};
}

EulerAngle radiansOfTwoAxes(const Matrix& m, const Axes& a) {
    const auto [odd, i, j, k] = a;
    float first = std::atan2(m[j][i], m[k][i]);
    const float s2 = std::sqrt(m[j][i] * m[j][i] + m[k][i] * m[k][i]);
    const bool adjusted = adjust(first, odd);
    const float second = std::atan2(s2, m[i][i]);
    const float s1 = std::sin(first);
    const float c1 = std::cos(first);
    return {first, adjusted ? -second : second,
            std::atan2(c1 * m[j][k] - s1 * m[k][k], c1 * m[j][j] - s1 * m[k][j])};
}

EulerAngle expectedAngles(const Quaternionf& q, const EulerOrder& o) {
    const Axes axes(o);
    const Matrix m = matrixOf(q);
    EulerAngle angles = threeAxes(o) ? radiansOfThreeAxes(m, axes) : radiansOfTwoAxes(m, axes);
    for (float& angle : angles.degrees) {
        angle = static_cast<float>(static_cast<double>(axes.odd ? angle : -angle) / pi * 180.0);
    }
    return angles;
}

// --- What the angles mean, in double precision ------------------------------------------------

/// x, y, z, w.
using Wide = std::array<double, 4>;

Wide wideTurn(std::int32_t axis, double degrees) {
    Wide q = {0, 0, 0, std::cos(degrees / 360.0 * pi)};
    q.at(static_cast<std::size_t>(axis)) = std::sin(degrees / 360.0 * pi);
    return q;
}

Wide product(const Wide& a, const Wide& b) {
    return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
            a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2],
            a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0],
            a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

Quaternionf narrow(const Wide& q) {
    return {static_cast<float>(q[0]), static_cast<float>(q[1]), static_cast<float>(q[2]),
            static_cast<float>(q[3])};
}

/// The product of the turns about the axes of `o` by the angles of `e`.
Quaternionf composed(const EulerAngle& e, const EulerOrder& o) {
    const Wide first = wideTurn(o[0], static_cast<double>(e[0]));
    const Wide second = wideTurn(o[1], static_cast<double>(e[1]));
    const Wide third = wideTurn(o[2], static_cast<double>(e[2]));
    return narrow(product(product(first, second), third));
}

/// A rotation has two quaternions of opposite sign.
testing::AssertionResult sameRotation(const Quaternionf& actual, const Quaternionf& expected) {
    const Quaternionf opposite = {-expected.x, -expected.y, -expected.z, -expected.w};
    const testing::AssertionResult same = isNear(actual, expected, roundingTolerance);
    return same ? same : isNear(actual, opposite, roundingTolerance);
}

testing::AssertionResult inRange(const EulerAngle& e) {
    const bool in = e[0] >= 0 && e[0] <= 180 && std::abs(e[1]) <= 180 && std::abs(e[2]) <= 180;
    return (in ? testing::AssertionSuccess() : testing::AssertionFailure())
           << testing::PrintToString(parts(e));
}

// --- Values -----------------------------------------------------------------------------------

TEST(Rotation, ValuesAreZeroUnlessSaidOtherwise) {
    EXPECT_TRUE(isExactly(Vector3f{}, {0, 0, 0}));
    EXPECT_TRUE(isExactly(Quaternionf{}, {0, 0, 0, 0}));
    EXPECT_TRUE(isExactly(EulerAngle{}, {0, 0, 0}));
    EXPECT_EQ(name(EulerOrder{}), "xxx");
}

TEST(Rotation, AnglesAndOrdersAreReadAndWrittenByIndex) {
    EulerAngle angle = {10, 20, 30};
    angle[1] = 25;
    EXPECT_TRUE(isExactly(angle, {10, 25, 30}));
    EulerOrder order = {0, 1, 2};
    order[0] = 2;
    order[2] = 0;
    EXPECT_EQ(name(order), "zyx");
}

// --- Products, sums and inverses --------------------------------------------------------------

// Whole numbers, so that every step is exact.
TEST(Rotation, ProductIsTheHamiltonProduct) {
    const Quaternionf a = {1, 2, 3, 4};
    const Quaternionf b = {5, 6, 7, 8};
    EXPECT_TRUE(isExactly(a * b, {24, 48, 48, -6}));
    EXPECT_TRUE(isExactly(b * a, {32, 32, 56, -6}));
}

TEST(Rotation, ProductAppliesItsRightFactorFirst) {
    Numbers numbers;
    const Vector3f v = {0.5F, -0.25F, 0.75F};
    for (int n = 0; n < 100; ++n) {
        const Quaternionf a = randomRotation(numbers);
        const Quaternionf b = randomRotation(numbers);
        EXPECT_TRUE(isNear((a * b) * v, a * (b * v), roundingTolerance));
    }
}

TEST(Rotation, AQuarterTurnAboutZTakesXToY) {
    const float h = std::sqrt(0.5F);
    const Quaternionf quarter = {0, 0, h, h};
    EXPECT_TRUE(isNear(quarter * Vector3f{1, 0, 0}, {0, 1, 0}, roundingTolerance));
    EXPECT_TRUE(isNear(quarter * Vector3f{0, 1, 0}, {-1, 0, 0}, roundingTolerance));
    EXPECT_TRUE(isNear(quarter * Vector3f{0, 0, 1}, {0, 0, 1}, roundingTolerance));
}

// Other formulas for the same turn differ where the length is not 1. Whole numbers again.
TEST(Rotation, TurningAVectorDoesNotNormaliseTheQuaternion) {
    EXPECT_TRUE(isExactly(Quaternionf{1, 2, 3, 4} * Vector3f{5, 6, 7}, {-91, 54, 7}));
    EXPECT_TRUE(isExactly(Quaternionf{0, 0, 0, 3} * Vector3f{5, 6, 7}, {5, 6, 7}));
}

TEST(Rotation, ATurnedVectorIsThatOfTheFormula) {
    Numbers numbers;
    const Vector3f v = {0.5F, -0.25F, 0.7F};
    for (int n = 0; n < 100; ++n) {
        const Quaternionf q = randomRotation(numbers);
        const Vector3f t = cross(q, v) * 2;
        const Vector3f expected = v + t * q.w + cross(q, t);
        EXPECT_TRUE(isNear(q * v, expected, std::min(fusingTolerance, roundingTolerance)));
    }
}

TEST(Rotation, VectorsAreScaledAndAddedByComponent) {
    EXPECT_TRUE(isExactly(Vector3f{1, -2, 3} * 2.5F, {2.5F, -5, 7.5F}));
    EXPECT_TRUE(isExactly(Vector3f{1, 2, 3} + Vector3f{10, -20, 0.5F}, {11, -18, 3.5F}));
}

TEST(Rotation, InverseTurnsBackAndDividesByTheSquaredLength) {
    EXPECT_TRUE(isExactly(inverse({0.5F, -0.5F, 0.5F, 0.5F}), {-0.5F, 0.5F, -0.5F, 0.5F}));
    EXPECT_TRUE(isExactly(inverse({1, 2, 3, 4}), {-1 / 30.0F, -2 / 30.0F, -3 / 30.0F, 4 / 30.0F}));
}

TEST(Rotation, ProductWithTheInverseIsTheIdentity) {
    Numbers numbers;
    for (int n = 0; n < 100; ++n) {
        const Quaternionf q = randomRotation(numbers);
        const Quaternionf longer = {3 * q.x, 3 * q.y, 3 * q.z, 3 * q.w};
        EXPECT_TRUE(isNear(longer * inverse(longer), identity, roundingTolerance));
        EXPECT_TRUE(isNear(inverse(longer) * longer, identity, roundingTolerance));
    }
}

TEST(Rotation, InverseIsZeroWhereTheSquaredLengthIsNotPositive) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(isExactly(inverse({}), {0, 0, 0, 0}));
    EXPECT_TRUE(isExactly(inverse({1e-30F, 0, 0, 1e-30F}), {0, 0, 0, 0}));
    EXPECT_TRUE(isExactly(inverse({notANumber, 0, 0, 1}), {0, 0, 0, 0}));
}

// --- To angles --------------------------------------------------------------------------------

TEST(Rotation, TheIdentityHasZeroAnglesInEveryOrder) {
    for (const EulerOrder& o : allOrders()) {
        EXPECT_TRUE(isExactly(toEulerAngle(identity, o), {0, 0, 0})) << name(o);
        EXPECT_TRUE(isExactly(toEulerAngle({0, 0, 0, -1}, o), {0, 0, 0})) << name(o);
    }
}

TEST(Rotation, GivesBackTheAnglesOfTurnsAboutTheAxesInTheirOrder) {
    for (const EulerOrder& o : twelveOrders()) {
        const EulerAngle angles = {30, 40, 50};
        EXPECT_TRUE(isNear(toEulerAngle(composed(angles, o), o), angles, degreeTolerance))
            << name(o);
    }
}

TEST(Rotation, TheFirstAngleIsNeverNegative) {
    for (const EulerOrder& o : twelveOrders()) {
        const Quaternionf q = composed({-30, 40, 50}, o);
        const EulerAngle angles = {150, threeAxes(o) ? 140.0F : -40.0F, -130};
        EXPECT_TRUE(isNear(toEulerAngle(q, o), angles, degreeTolerance)) << name(o);
    }
}

// Orders that repeat an axis mean nothing, but they have a result.
TEST(Rotation, AnglesAreThoseOfTheFormulaForAnyRotationInEveryOrder) {
    for (const EulerOrder& o : allOrders()) {
        Numbers numbers;
        for (int n = 0; n < 500; ++n) {
            const Quaternionf q = randomRotation(numbers);
            EXPECT_TRUE(isNear(toEulerAngle(q, o), expectedAngles(q, o), fusingTolerance))
                << name(o);
        }
    }
}

TEST(Rotation, AnglesAreThoseOfTheFormulaWhereTheyAreAmbiguous) {
    for (const EulerOrder& o : twelveOrders()) {
        for (const Quaternionf& q : exactRotations()) {
            EXPECT_TRUE(isNear(toEulerAngle(q, o), expectedAngles(q, o), degreeTolerance))
                << name(o) << ' ' << testing::PrintToString(parts(q));
        }
    }
}

TEST(Rotation, TheAnglesMultiplyToTheRotationAndAreInRange) {
    Numbers numbers;
    std::vector<Quaternionf> rotations = ambiguousRotations();
    for (int n = 0; n < 300; ++n) {
        rotations.push_back(randomRotation(numbers));
    }
    for (const EulerOrder& o : twelveOrders()) {
        for (const Quaternionf& q : rotations) {
            const EulerAngle angles = toEulerAngle(q, o);
            EXPECT_TRUE(inRange(angles)) << name(o);
            EXPECT_TRUE(sameRotation(composed(angles, o), q)) << name(o);
        }
    }
}

// A quarter turn about x with twice the squared length; normalised, it would give 90.
TEST(Rotation, TheAnglesAreOfTheQuaternionAsItIs) {
    const EulerAngle angles = toEulerAngle({1, 0, 0, 1}, {0, 1, 2});
    EXPECT_TRUE(isNear(angles, {116.565051F, 0, 0}, degreeTolerance));
}

// --- From angles ------------------------------------------------------------------------------

TEST(Rotation, TheFirstAngleTurnsAboutAllThreeAxes) {
    const float h = std::sqrt(0.5F);
    EXPECT_TRUE(isNear(toQuaternion({90, 0, 0}, {0, 1, 2}), {h, 0, h, 0}, roundingTolerance));
    EXPECT_TRUE(isNear(toQuaternion({180, 0, 0}, {0, 1, 2}), {0, 0, 0, -1}, roundingTolerance));
}

TEST(Rotation, TheTurnsAreMultipliedInTheirOrder) {
    for (const EulerOrder& o : allOrders()) {
        for (const float angle : {0.0F, 30.0F, -75.0F, 123.0F, 180.0F, 300.0F}) {
            EXPECT_TRUE(isNear(toQuaternion({angle, 0, 0}, o), composed({angle, angle, angle}, o),
                               roundingTolerance))
                << name(o) << ' ' << angle;
        }
    }
}

TEST(Rotation, TheSecondAndTheThirdAngleAreNotRead) {
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    for (const EulerOrder& o : allOrders()) {
        const Quaternionf q = toQuaternion({40, 0, 0}, o);
        EXPECT_TRUE(isExactly(toQuaternion({40, 10, -20}, o), q)) << name(o);
        EXPECT_TRUE(isExactly(toQuaternion({40, notANumber, notANumber}, o), q)) << name(o);
    }
}

TEST(Rotation, OnlyThreeEqualAnglesComeBackAsTheRotationTheyWere) {
    for (const EulerOrder& o : twelveOrders()) {
        const Quaternionf equal = composed({40, 40, 40}, o);
        EXPECT_TRUE(sameRotation(toQuaternion(toEulerAngle(equal, o), o), equal)) << name(o);
        const Quaternionf different = composed({40, 30, 20}, o);
        EXPECT_FALSE(sameRotation(toQuaternion(toEulerAngle(different, o), o), different))
            << name(o);
    }
}

// About one axis alone the product has no other terms, so that it shows the bits of the angle.
TEST(Rotation, TheAngleIsConvertedAsStoredRotationsExpectIt) {
    Numbers numbers;
    for (int n = 0; n < 500; ++n) {
        const auto degrees = static_cast<float>(numbers.next() * 1000.0);
        const float turns = degrees / 180.0F;
        const auto radians = static_cast<float>(static_cast<double>(turns) * pi);
        const float s = std::sin(0.5F * radians);
        const float c = std::cos(0.5F * radians);
        const float s2 = c * s + s * c;
        const float c2 = c * c - s * s;
        const Quaternionf expected = {c2 * s + s2 * c, 0, 0, c2 * c - s2 * s};
        EXPECT_TRUE(isNear(toQuaternion({degrees, 0, 0}, {0, 0, 0}), expected,
                           std::min(fusingTolerance, roundingTolerance)))
            << degrees;
    }
}

#ifndef NDEBUG
TEST(RotationDeathTest, AnAxisBeyondZIsCaughtInADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(toEulerAngle(identity, {0, 1, 3}), "namesAxes");
    EXPECT_DEATH(toQuaternion({}, {0, -1, 2}), "namesAxes");
}

TEST(RotationDeathTest, AnIndexBeyondTheThirdIsCaughtInADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const volatile std::size_t index = 3;
    EXPECT_DEATH((EulerAngle{}[index] = 0), "index < degrees.size()");
    EXPECT_DEATH((EulerOrder{}[index] = 0), "index < axes.size()");
}
#endif

// --- Equality ---------------------------------------------------------------------------------

/// Both operators, in both directions.
template <class T>
bool differ(const T& a, const T& b) {
    return !(a == b) && !(b == a) && a != b && b != a;
}

TEST(Equality, TakesEveryComponent) {
    const Vector3f v{1, 2, 3};
    EXPECT_TRUE(v == Vector3f(v));
    EXPECT_TRUE(differ(v, Vector3f{9, 2, 3}));
    EXPECT_TRUE(differ(v, Vector3f{1, 9, 3}));
    EXPECT_TRUE(differ(v, Vector3f{1, 2, 9}));
    const Quaternionf q{1, 2, 3, 4};
    EXPECT_TRUE(q == Quaternionf(q));
    EXPECT_TRUE(differ(q, Quaternionf{9, 2, 3, 4}));
    EXPECT_TRUE(differ(q, Quaternionf{1, 9, 3, 4}));
    EXPECT_TRUE(differ(q, Quaternionf{1, 2, 9, 4}));
    EXPECT_TRUE(differ(q, Quaternionf{1, 2, 3, 9}));
    EXPECT_TRUE(differ(EulerAngle{1, 2, 3}, EulerAngle{9, 2, 3}));
    EXPECT_TRUE(differ(EulerAngle{1, 2, 3}, EulerAngle{1, 9, 3}));
    EXPECT_TRUE(differ(EulerAngle{1, 2, 3}, EulerAngle{1, 2, 9}));
    EXPECT_TRUE(differ(EulerOrder{0, 1, 2}, EulerOrder{2, 1, 2}));
    EXPECT_TRUE(differ(EulerOrder{0, 1, 2}, EulerOrder{0, 2, 2}));
    EXPECT_TRUE(differ(EulerOrder{0, 1, 2}, EulerOrder{0, 1, 0}));
}

TEST(Equality, IsThatOfTheNumbersNotOfTheRotations) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE((Vector3f{0, 0, 0} == Vector3f{-0.0F, 0, 0}));
    EXPECT_TRUE(differ(Vector3f{nan, 0, 0}, Vector3f{nan, 0, 0}));
    EXPECT_TRUE(differ(Quaternionf{0, 0, 0, 1}, Quaternionf{0, 0, 0, -1}));
    EXPECT_TRUE(differ(EulerAngle{0, 0, 0}, EulerAngle{360, 0, 0}));
}

} // namespace
