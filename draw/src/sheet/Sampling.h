// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>

#include <cstddef>
#include <vector>

namespace tarn::draw {

/// The least finite height of some positions; infinity if there is none.
double lowestPoint(const std::vector<Vector3f>& positions);

/// A value that as many are above as below, which leaves jumps and stray values out; 0 if that
/// value is not finite. Precondition: `values` is not empty.
double median(std::vector<double> values);

/// Positions 0 to `count` - 1 of which at most `wanted` are kept, evenly spaced, both ends
/// included. Precondition: neither is 0.
std::vector<std::size_t> evenlySpaced(std::size_t count, std::size_t wanted);

} // namespace tarn::draw
