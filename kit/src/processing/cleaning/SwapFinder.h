// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include "processing/cleaning/MarkerTable.h"

#include <vector>

namespace tarn::kit {

/// Finds the labels that are exchanged in a table, and puts those right of which it is sure enough.
/// Precondition: the rate of the options is greater than 0.
std::vector<MarkerChange> repairSwaps(MarkerTable& table, const MarkerRepairOptions& options);

} // namespace tarn::kit
