// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include "processing/cleaning/MarkerTable.h"

#include <vector>

namespace tarn::kit {

/// Finds markers that jump away and come back, and takes the positions out that are off the way.
/// Precondition: the rate of the options is greater than 0.
std::vector<MarkerChange> removeSpikes(MarkerTable& table, const MarkerRepairOptions& options);

} // namespace tarn::kit
