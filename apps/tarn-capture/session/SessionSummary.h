// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/TakeSession.h"

namespace tarn::capture {

/// Prints what became of each performer: frames, clock, body dimensions and the time of each stage.
/// `paced`: whether the devices kept the rate of their takes, so that their clocks say something.
void printSummary(const TakeSession& session, bool paced);

} // namespace tarn::capture
