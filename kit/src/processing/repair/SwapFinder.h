// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include "processing/cleaning/MarkerTable.h"

#include <cstddef>
#include <vector>

namespace tarn::kit {

/// Finds the labels that are exchanged in a table, and puts those right of which it is sure enough.
/// Precondition: the rate of the options is greater than 0.
std::vector<MarkerChange> repairSwaps(MarkerTable& table, const MarkerRepairOptions& options);

/// Puts the labels of a ring right, as `MarkerChange::markers` has it: what was labelled as the
/// first of them is the second, and so on. `at` refers to the entry of a label.
template <class At>
void exchangeLabels(const std::vector<int>& ring, At at) {
    const Marker last = at(ring.back());
    for (std::size_t i = ring.size() - 1; i > 0; --i) {
        at(ring[i]) = at(ring[i - 1]);
    }
    at(ring.front()) = last;
}

} // namespace tarn::kit
