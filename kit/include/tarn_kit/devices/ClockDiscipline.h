// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Clock.h>

namespace tarn::kit {

/// How well the clock of a machine is kept at universal time, by NTP, PTP or what else steers it.
struct ClockDiscipline {
    bool isSynchronised = false;    ///< whether anything does
    Clock::Duration toUtc{};        ///< universal time (since 1970) less `SteadyClock`
    Clock::Duration maximumError{}; ///< how far `toUtc` may be off, as what steers it states
};

/// Of this machine, as its kernel has it now. On systems that do not tell, nothing synchronises.
TARN_KIT_EXPORT ClockDiscipline clockDiscipline();

} // namespace tarn::kit
