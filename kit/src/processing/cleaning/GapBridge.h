// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rotations.h>

#include <array>
#include <vector>

namespace tarn::kit {

/// Something known at a frame.
struct Knot {
    int frame;
    Vector3d value;
};

/// The knots on both sides of a gap, each side in the order of time; one side may be empty.
struct Shores {
    std::vector<Knot> before;
    std::vector<Knot> after;
};

/// How to get from one shore to the other.
enum class BridgeKind {
    Spline,    ///< the natural cubic spline through all knots
    Line,      ///< straight
    SlowCurve, ///< off at the speed of the shore, which fades within a tenth of a second
    FastCurve, ///< the same, within a thirtieth
};
inline constexpr std::array bridgeKinds = {BridgeKind::Spline, BridgeKind::Line,
                                           BridgeKind::SlowCurve, BridgeKind::FastCurve};

/// How many knots matter on each side: what is farther away has no weight in a cubic spline.
inline constexpr int mostKnots = 8;

/// What lies between the shores in the frames from `first` on, one value for each of `count`. With
/// one shore alone its last value is held.
/// Precondition: there is a knot.
std::vector<Vector3d> bridge(const Shores& shores, int first, int count, BridgeKind kind,
                             double rate);

} // namespace tarn::kit
