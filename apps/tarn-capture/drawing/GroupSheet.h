// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Performance.h"
#include "drawing/Picture.h"

#include <vector>

namespace tarn::capture {

/// One page about a session: who was in it, all bodies at evenly spaced instants as they stand in
/// their common space, and the paths of their roots. `rate` is in frames per second, at least 1.
Picture groupSheet(const std::vector<Performance>& performances, int rate);

} // namespace tarn::capture
