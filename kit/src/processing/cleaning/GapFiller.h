// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/processing/cleaning/GapFilling.h>

#include "processing/cleaning/MarkerTable.h"

#include <vector>

namespace tarn::kit {

/// Fills the gaps of a table in place, and says what became of each. Precondition: the rate of the
/// options is greater than 0.
std::vector<MarkerGap> fillGaps(MarkerTable& table, const GapFillingOptions& options);

} // namespace tarn::kit
