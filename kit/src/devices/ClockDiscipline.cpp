// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/ClockDiscipline.h>

#include <chrono>

#if defined(__linux__)
#include <sys/timex.h>
#endif

namespace tarn::kit {

namespace {

struct Reading {
    Clock::Duration toUtc;
    Clock::Duration took;
};

/// Both clocks at once, as nearly as it goes: of some readings the one that took the least.
Reading readBoth() {
    Reading best{};
    for (int attempt = 0; attempt < 5; ++attempt) {
        const auto before = std::chrono::steady_clock::now();
        const auto utc = std::chrono::system_clock::now();
        const auto after = std::chrono::steady_clock::now();
        const Clock::Duration took = after - before;
        if (attempt == 0 || took < best.took) {
            const Clock::Duration sinceEpoch = utc.time_since_epoch();
            best = {sinceEpoch - (before.time_since_epoch() + took / 2), took};
        }
    }
    return best;
}

} // namespace

ClockDiscipline clockDiscipline() {
    const Reading reading = readBoth();
    ClockDiscipline discipline;
    discipline.toUtc = reading.toUtc;
#if defined(__linux__)
    timex state = {};
    const int answer = ::adjtimex(&state); // asks only: no mode is set
    discipline.isSynchronised = answer >= 0 && answer != TIME_ERROR;
    discipline.maximumError = std::chrono::microseconds(state.maxerror) + reading.took;
#endif
    return discipline;
}

} // namespace tarn::kit
