// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace tarn::link {

/// So many in a second, and as many as would have been possible meanwhile, up to a burst, at once.
class RateLimit {
public:
    using Steady = std::chrono::steady_clock;

    RateLimit(double perSecond, double burst)
        : perSecond_(perSecond), burst_(burst), left_(burst) {}

    /// Whether one more is possible; it counts if it is.
    bool takes(Steady::time_point now) {
        const std::chrono::duration<double> since =
            now - std::exchange(last_, std::max(last_, now));
        left_ = std::min(burst_, left_ + perSecond_ * std::max(since.count(), 0.0));
        const bool isPossible = left_ >= 1;
        left_ -= isPossible ? 1 : 0;
        return isPossible;
    }
    /// From now on.
    void set(double perSecond, double burst) {
        left_ += std::max(burst - burst_, 0.0);
        perSecond_ = perSecond;
        burst_ = burst;
    }

private:
    double perSecond_;
    double burst_;
    double left_;
    Steady::time_point last_ = Steady::now();
};

} // namespace tarn::link
