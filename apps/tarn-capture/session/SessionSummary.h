// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/TakeSession.h"

#include <string>

namespace tarn::capture {

// `paced`: whether the devices kept the rate of their takes, so that their clocks say something.

/// A line for each performer: frames, clock and height, in columns that fit the terminal; then what
/// each has to report.
std::string summaryOf(const TakeSession& session, bool paced);

/// What a session came to, in a few words: whether it is complete, what was lost, and whose clock
/// is not to be trusted.
std::string verdictOn(const TakeSession& session, bool complete, bool paced);

/// All that was measured of each performer: its clock, the lengths of its body, and the time that
/// each stage took. A length has its spread beside it only if it varied by more than 0.1 mm; of a
/// body whose unit is not known, by as much of a person's height.
std::string detailsOf(const TakeSession& session, bool paced);

} // namespace tarn::capture
