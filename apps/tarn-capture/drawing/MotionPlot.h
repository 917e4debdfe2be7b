// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Performance.h"
#include "drawing/Picture.h"

#include <vector>

namespace tarn::capture {

/// How high some joints of each performer are, and how fast, over time. `rate` is in frames per
/// second, at least 1.
Picture motionPlot(const std::vector<Performance>& performances, int rate);

} // namespace tarn::capture
