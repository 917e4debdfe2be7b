// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>

namespace tarn::capture {

/// Adds the time for which it lives to a sum, in seconds.
class Stopwatch {
public:
    explicit Stopwatch(double& sum) : sum_(sum) {}
    ~Stopwatch() { sum_ += std::chrono::duration<double>(Clock::now() - start_).count(); }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    double& sum_;
    Clock::time_point start_ = Clock::now();
};

} // namespace tarn::capture
