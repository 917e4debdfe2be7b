// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Rotations.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace tarn::kit {

namespace {

/// So close to gimbal lock there is nothing left in double precision, after the rounding of a few
/// products, to tell the first angle from the last one by.
constexpr double nothingLeft = 5e-8;

/// An order that was checked, with what the formulas want to know about it.
struct Axes {
    std::size_t first;
    std::size_t second;
    std::size_t third; ///< neither of the others
    bool isProper;     ///< whether the last turn is about the first axis again
    double sign;       ///< 1 where first, second, third follow each other as x, y, z do, else -1
};

Axes axesOf(const EulerOrder& order) {
    const auto isAxis = [](std::int32_t axis) { return 0 <= axis && axis <= 2; };
    const auto [a, b, c] = order.axes;
    if (!isAxis(a) || !isAxis(b) || !isAxis(c) || a == b || b == c) {
        throw std::invalid_argument(
            "{" + std::to_string(a) + ", " + std::to_string(b) + ", " + std::to_string(c) +
            "} is no order of Euler angles: axes are 0, 1 or 2, and neighbours differ");
    }
    return {static_cast<std::size_t>(a), static_cast<std::size_t>(b),
            static_cast<std::size_t>(3 - a - b), a == c, (a + 1) % 3 == b ? 1.0 : -1.0};
}

double componentOf(const Quaterniond& q, std::size_t axis) {
    return axis == 0 ? q.x : axis == 1 ? q.y : q.z;
}

Quaterniond turn(std::int32_t axis, double radians) {
    Vector3d u;
    u[static_cast<std::size_t>(axis)] = std::sin(radians / 2);
    return {u.x, u.y, u.z, std::cos(radians / 2)};
}

/// Of two components of a unit quaternion, which need none of the care for overflow that
/// `std::hypot` takes, at several times the cost.
double hypotenuse(double a, double b) { return std::sqrt(a * a + b * b); }

/// Within half a turn of 0.
double wrapped(double radians) {
    return std::abs(radians) <= pi ? radians : std::remainder(radians, 2 * pi);
}

/// What is known of three angles: the middle one, and half of the sum and half of the difference of
/// the other two. In gimbal lock one of these two is not known.
struct HalfAngles {
    double middle;
    double sum;
    double difference;
    bool isSumKnown;
    bool isDifferenceKnown;
};

/// With half angles a, b, c and proper axes, the components of a quaternion are
/// cos b cos(a + c), cos b sin(a + c), sin b cos(a - c) and sin b sin(a - c). With three different
/// axes, sums and differences of components are (cos b + sin b) times cosine and sine of a + c and
/// (cos b - sin b) times those of a - c. Either way, the two factors tell b, and each is 0 at one
/// of the two locks and stays accurate beside it.
HalfAngles halfAnglesOf(const Quaterniond& q, const Axes& axes) {
    const double length = lengthOf(q);
    if (length == 0) {
        return {0, 0, 0, true, !axes.isProper};
    }
    const double w = q.w / length;
    const double first = componentOf(q, axes.first) / length;
    const double second = componentOf(q, axes.second) / length;
    const double third = componentOf(q, axes.third) / length;
    if (axes.isProper) {
        const double plus = hypotenuse(w, first);
        const double minus = hypotenuse(second, third);
        return {2 * std::atan2(minus, plus), std::atan2(first, w),
                std::atan2(axes.sign * third, second), !(plus < nothingLeft),
                !(minus < nothingLeft)};
    }
    const double middle = axes.sign * second;
    const double plus = hypotenuse(w + middle, first + third);
    const double minus = hypotenuse(w - middle, first - third);
    return {axes.sign * (2 * std::atan2(plus, minus) - pi / 2),
            std::atan2(first + third, w + middle), std::atan2(first - third, w - middle),
            !(plus < nothingLeft), !(minus < nothingLeft)};
}

/// The whole turns that bring an angle nearest to another one.
double nearTo(double target, double angle) { return target + wrapped(angle - target); }

double distance(const EulerAngles& a, const EulerAngles& b) {
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    }
    return sum;
}

/// In gimbal lock: `known` is the first angle plus `sign` times the last one. What that is off the
/// previous angles is shared out.
EulerAngles shared(double known, double sign, double middle, const EulerAngles& previous) {
    const double off = wrapped(known - (previous[0] + sign * previous[2])) / 2;
    return {previous[0] + off, nearTo(previous[1], middle), previous[2] + sign * off};
}

EulerAngles mapped(const EulerAngles& angles, double (*function)(double)) {
    return {function(angles[0]), function(angles[1]), function(angles[2])};
}

} // namespace

Quaterniond normalized(const Quaterniond& q) {
    const double length = lengthOf(q);
    if (length == 0) {
        return {};
    }
    return {q.x / length, q.y / length, q.z / length, q.w / length};
}

double radiansBetween(const Quaterniond& a, const Quaterniond& b) {
    // Accurate for small angles, which the arc cosine of the dot product is not.
    const Quaterniond way = inverse(normalized(a)) * normalized(b);
    return 2 * std::atan2(lengthOf(Vector3d{way.x, way.y, way.z}), std::abs(way.w));
}

Quaterniond slerp(const Quaterniond& a, const Quaterniond& b, double t) {
    Vector3d way = toRotationVector(inverse(a) * b);
    return normalized(a * fromRotationVector(t * way));
}

float toSingle(double value) {
    using Limits = std::numeric_limits<float>;
    if (std::abs(value) > static_cast<double>(Limits::max())) {
        // A cast would be undefined, and no place is better than a wrong one.
        return value > 0 ? Limits::infinity() : -Limits::infinity();
    }
    return static_cast<float>(value);
}

Vector3f toSingle(const Vector3d& v) { return {toSingle(v.x), toSingle(v.y), toSingle(v.z)}; }

Quaternionf toSingle(const Quaterniond& q) {
    return {toSingle(q.x), toSingle(q.y), toSingle(q.z), toSingle(q.w)};
}

Quaterniond fromEulerRadians(const EulerAngles& angles, const EulerOrder& order) {
    axesOf(order);
    return turn(order[0], angles[0]) * turn(order[1], angles[1]) * turn(order[2], angles[2]);
}

Quaterniond fromEulerDegrees(const EulerAngles& angles, const EulerOrder& order) {
    return fromEulerRadians(mapped(angles, radiansOf), order);
}

EulerAngles toEulerRadians(const Quaterniond& q, const EulerOrder& order) {
    const HalfAngles half = halfAnglesOf(q, axesOf(order));
    if (!half.isDifferenceKnown) {
        return {wrapped(2 * half.sum), half.middle, 0};
    }
    if (!half.isSumKnown) {
        return {wrapped(2 * half.difference), half.middle, 0};
    }
    return {wrapped(half.sum + half.difference), half.middle, wrapped(half.sum - half.difference)};
}

EulerAngles toEulerDegrees(const Quaterniond& q, const EulerOrder& order) {
    return mapped(toEulerRadians(q, order), degreesOf);
}

EulerAngles toEulerRadians(const Quaterniond& q, const EulerOrder& order,
                           const EulerAngles& previous) {
    const Axes axes = axesOf(order);
    const HalfAngles half = halfAnglesOf(q, axes);
    if (!half.isDifferenceKnown) {
        return shared(2 * half.sum, 1, half.middle, previous);
    }
    if (!half.isSumKnown) {
        return shared(2 * half.difference, -1, half.middle, previous);
    }
    const double a = half.sum + half.difference;
    const double c = half.sum - half.difference;
    const double other = axes.isProper ? -half.middle : pi - half.middle;
    const auto near = [&](double first, double middle, double last) {
        return EulerAngles{nearTo(previous[0], first), nearTo(previous[1], middle),
                           nearTo(previous[2], last)};
    };
    const EulerAngles one = near(a, half.middle, c);
    const EulerAngles two = near(a + pi, other, c + pi);
    return distance(one, previous) <= distance(two, previous) ? one : two;
}

EulerAngles toEulerDegrees(const Quaterniond& q, const EulerOrder& order,
                           const EulerAngles& previous) {
    return mapped(toEulerRadians(q, order, mapped(previous, radiansOf)), degreesOf);
}

Quaterniond fromAxisAngle(const Vector3d& axis, double radians) {
    const double length = lengthOf(axis);
    return length == 0 ? Quaterniond{} : fromRotationVector(radians / length * axis);
}

AxisAngle toAxisAngle(const Quaterniond& q) {
    const Vector3d v = toRotationVector(q);
    const double radians = lengthOf(v);
    if (radians == 0) {
        return {{1, 0, 0}, 0};
    }
    return {1 / radians * v, radians};
}

Quaterniond fromRotationVector(const Vector3d& v) {
    const double half = lengthOf(v) / 2;
    // sin(half) / (2 half), which the quotient does not give near 0.
    const double factor = half < 1e-4 ? 0.5 - half * half / 12 : std::sin(half) / (2 * half);
    const Vector3d u = factor * v;
    return {u.x, u.y, u.z, std::cos(half)};
}

Vector3d toRotationVector(const Quaterniond& q) {
    const double sign = q.w < 0 ? -1 : 1;
    const Vector3d u = {sign * q.x, sign * q.y, sign * q.z};
    const double sine = lengthOf(u);
    if (sine == 0) {
        return {};
    }
    return 2 * std::atan2(sine, sign * q.w) / sine * u;
}

Matrix3d toMatrix(const Quaterniond& q) {
    const double x = q.x;
    const double y = q.y;
    const double z = q.z;
    const double w = q.w;
    return {{{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
              {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
              {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}}};
}

Quaterniond fromMatrix(const Matrix3d& m) {
    // Four times the squares of the components; the largest is safe to divide by.
    const double trace = m[0][0] + m[1][1] + m[2][2];
    const std::array<double, 4> squares = {1 + 2 * m[0][0] - trace, 1 + 2 * m[1][1] - trace,
                                           1 + 2 * m[2][2] - trace, 1 + trace};
    std::size_t largest = 3;
    for (std::size_t i = 0; i < 3; ++i) {
        largest = squares[i] > squares[largest] ? i : largest;
    }
    Quaterniond q;
    switch (largest) {
    case 0:
        q = {squares[0], m[0][1] + m[1][0], m[0][2] + m[2][0], m[2][1] - m[1][2]};
        break;
    case 1:
        q = {m[0][1] + m[1][0], squares[1], m[1][2] + m[2][1], m[0][2] - m[2][0]};
        break;
    case 2:
        q = {m[0][2] + m[2][0], m[1][2] + m[2][1], squares[2], m[1][0] - m[0][1]};
        break;
    default:
        q = {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1], squares[3]};
        break;
    }
    q = normalized(q);
    return q.w < 0 ? -q : q;
}

Matrix3d operator*(const Matrix3d& a, const Matrix3d& b) {
    Matrix3d product;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            product[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
        }
    }
    return product;
}

Vector3d operator*(const Matrix3d& m, const Vector3d& v) {
    return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
            m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
            m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
}

Matrix3d transposed(const Matrix3d& m) {
    return {
        {{{m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]}, {m[0][2], m[1][2], m[2][2]}}}};
}

} // namespace tarn::kit
