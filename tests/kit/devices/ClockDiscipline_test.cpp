// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/ClockDiscipline.h>

#include <gtest/gtest.h>

#include <sys/timex.h>

#include <chrono>

namespace tarn::kit {

namespace {

TEST(ClockDiscipline, SaysHowFarUniversalTimeIsFromTheSteadyClock) {
    const auto steadyBefore = std::chrono::steady_clock::now();
    const auto utcBefore = std::chrono::system_clock::now();
    const ClockDiscipline discipline = clockDiscipline();
    const auto utcAfter = std::chrono::system_clock::now();
    const auto steadyAfter = std::chrono::steady_clock::now();
    EXPECT_GE(discipline.toUtc, utcBefore.time_since_epoch() - steadyAfter.time_since_epoch());
    EXPECT_LE(discipline.toUtc, utcAfter.time_since_epoch() - steadyBefore.time_since_epoch());
}

TEST(ClockDiscipline, SaysWhatTheKernelSays) {
    timex state = {};
    const bool isSynchronised = ::adjtimex(&state) != TIME_ERROR;
    const ClockDiscipline discipline = clockDiscipline();
    EXPECT_EQ(discipline.isSynchronised, isSynchronised);
    EXPECT_GE(discipline.maximumError, std::chrono::microseconds(state.maxerror));
}

} // namespace

} // namespace tarn::kit
