// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>

namespace tarn::kit {

/// Adds the time for which it lives to a sum, in seconds, as statistics keep them. The sum must
/// outlive it, and belongs to the thread until then.
class Stopwatch {
public:
    explicit Stopwatch(double& sum) noexcept : sum_(sum) {}
    ~Stopwatch() { sum_ += std::chrono::duration<double>(Time::now() - start_).count(); }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    using Time = std::chrono::steady_clock;

    double& sum_;
    const Time::time_point start_ = Time::now();
};

} // namespace tarn::kit
