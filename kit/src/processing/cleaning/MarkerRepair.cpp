// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include "processing/cleaning/MarkerTable.h"
#include "processing/repair/SpikeFinder.h"
#include "processing/repair/SwapFinder.h"

#include <stdexcept>

namespace tarn::kit {

MarkerRepair repairMarkers(const std::shared_ptr<Tracks>& take,
                           const MarkerRepairOptions& options) {
    MarkerTable table(take);
    MarkerRepairOptions known = options;
    known.rate = options.rate > 0 ? options.rate : take->fps();
    if (!(known.rate > 0)) {
        throw std::invalid_argument("the take has no rate");
    }
    MarkerRepair result;
    if (known.swaps) {
        result.changes = repairSwaps(table, known);
    }
    if (known.spikes) {
        for (MarkerChange& change : removeSpikes(table, known)) {
            result.changes.push_back(std::move(change));
        }
    }
    result.take = table.take();
    return result;
}

} // namespace tarn::kit
