// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Stopwatch.h>

#include <gtest/gtest.h>

#include <chrono>
#include <type_traits>

namespace tarn::kit {
namespace {

using SteadyTime = std::chrono::steady_clock;

static_assert(!std::is_copy_constructible_v<Stopwatch>);

double secondsSince(SteadyTime::time_point start) {
    return std::chrono::duration<double>(SteadyTime::now() - start).count();
}

TEST(Stopwatch, AddsTheTimeForWhichItLives) {
    constexpr double before = 1000;
    constexpr double rounding = 1e-9;
    double sum = before;
    double least = 0;
    const auto start = SteadyTime::now();
    for (int i = 0; i < 2; ++i) {
        const Stopwatch stopwatch(sum);
        const auto begun = SteadyTime::now();
        while (SteadyTime::now() - begun < std::chrono::milliseconds(1)) {
        }
        least += secondsSince(begun);
    }
    EXPECT_GE(sum, before + least - rounding);
    EXPECT_LE(sum, before + secondsSince(start) + rounding);
}

} // namespace
} // namespace tarn::kit
