// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/Sampling.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::draw {

double lowestPoint(const std::vector<Vector3f>& positions) {
    double lowest = std::numeric_limits<double>::infinity();
    for (const Vector3f& at : positions) {
        lowest = std::isfinite(at.y) ? std::min(lowest, static_cast<double>(at.y)) : lowest;
    }
    return lowest;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return std::isfinite(*middle) ? *middle : 0;
}

std::vector<std::size_t> evenlySpaced(std::size_t count, std::size_t wanted) {
    std::vector<std::size_t> kept;
    const std::size_t last = std::min(count, wanted) - 1;
    for (std::size_t i = 0; i <= last; ++i) {
        kept.push_back(last == 0 ? 0 : (i * (count - 1) + last / 2) / last);
    }
    return kept;
}

} // namespace tarn::draw
