// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/cleaning/GapBridge.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

namespace {

/// The second derivatives, at the knots, of the natural cubic spline through them.
std::vector<Vector3d> curvatures(const std::vector<Knot>& knots) {
    const std::size_t n = knots.size();
    std::vector<Vector3d> m(n);
    std::vector<double> upper(n);
    for (std::size_t i = 1; i + 1 < n; ++i) { // forward elimination of the tridiagonal system
        const double h0 = knots[i].frame - knots[i - 1].frame;
        const double h1 = knots[i + 1].frame - knots[i].frame;
        const Vector3d right = (6 / h1) * (knots[i + 1].value - knots[i].value) -
                               (6 / h0) * (knots[i].value - knots[i - 1].value);
        const double pivot = 2 * (h0 + h1) - h0 * upper[i - 1];
        upper[i] = h1 / pivot;
        m[i] = (1 / pivot) * (right - h0 * m[i - 1]);
    }
    for (std::size_t i = n - 1; i-- > 1;) {
        m[i] = m[i] - upper[i] * m[i + 1];
    }
    return m;
}

std::vector<Vector3d> spline(const Shores& shores, int first, int count) {
    std::vector<Knot> knots = shores.before;
    knots.insert(knots.end(), shores.after.begin(), shores.after.end());
    const std::vector<Vector3d> m = curvatures(knots);
    const std::size_t left = shores.before.size() - 1;
    const Knot& a = knots[left];
    const Knot& b = knots[left + 1];
    const double h = b.frame - a.frame;
    std::vector<Vector3d> values;
    values.reserve(static_cast<std::size_t>(count));
    for (int frame = first; frame < first + count; ++frame) {
        const double u = (frame - a.frame) / h;
        const double v = 1 - u;
        values.push_back(v * a.value + u * b.value + (h * h / 6) * (v * v * v - v) * m[left] +
                         (h * h / 6) * (u * u * u - u) * m[left + 1]);
    }
    return values;
}

/// Change per frame between the knots `a` and `b`.
Vector3d slope(const Knot& a, const Knot& b) {
    return (1.0 / (b.frame - a.frame)) * (b.value - a.value);
}

/// Straight, and beside that what the speeds at the shores add, which fades within `fade` frames;
/// without fading for 0.
std::vector<Vector3d> curve(const Shores& shores, int first, int count, double fade) {
    constexpr std::size_t reach = 3; // knots from the shore, for a speed that noise spares
    const Knot& a = shores.before.back();
    const Knot& b = shores.after.front();
    const Vector3d line = slope(a, b);
    const std::size_t back = std::min(reach, shores.before.size() - 1);
    const std::size_t ahead = std::min(reach, shores.after.size() - 1);
    const Vector3d off = back == 0
                             ? Vector3d{}
                             : slope(*(shores.before.end() - 1 - static_cast<int>(back)), a) - line;
    const Vector3d in = ahead == 0 ? Vector3d{} : slope(b, shores.after[ahead]) - line;
    const double span = b.frame - a.frame;
    std::vector<Vector3d> values;
    values.reserve(static_cast<std::size_t>(count));
    for (int frame = first; frame < first + count; ++frame) {
        const double u = frame - a.frame;
        const double v = b.frame - frame;
        Vector3d value = a.value + u * line;
        if (fade > 0) {
            value = value + (u * std::exp(-u / fade) * (v / span) * (v / span)) * off -
                    (v * std::exp(-v / fade) * (u / span) * (u / span)) * in;
        }
        values.push_back(value);
    }
    return values;
}

} // namespace

std::vector<Vector3d> bridge(const Shores& shores, int first, int count, BridgeKind kind,
                             double rate) {
    assert(!shores.before.empty() || !shores.after.empty());
    if (shores.before.empty() || shores.after.empty()) {
        const Vector3d held =
            shores.before.empty() ? shores.after.front().value : shores.before.back().value;
        std::vector<Vector3d> values(static_cast<std::size_t>(count), held);
        return values;
    }
    switch (kind) {
    case BridgeKind::Spline:
        return spline(shores, first, count);
    case BridgeKind::SlowCurve:
        return curve(shores, first, count, rate / 10);
    case BridgeKind::FastCurve:
        return curve(shores, first, count, rate / 30);
    case BridgeKind::Line:
        break;
    }
    return curve(shores, first, count, 0);
}

} // namespace tarn::kit
