#pragma once

#include "Performance.h"
#include "Picture.h"

#include <vector>

namespace tarn::capture {

/// How high some joints of each performer are, and how fast, over time. `rate` is in frames per
/// second, at least 1.
Picture motionPlot(const std::vector<Performance>& performances, int rate);

} // namespace tarn::capture
