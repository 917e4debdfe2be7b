#pragma once

#include "Performance.h"
#include "Picture.h"

#include <vector>

namespace tarn::capture {

/// One page about a session: who was in it, all bodies at evenly spaced instants as they stand in
/// their common space, and the paths of their roots. `rate` is in frames per second, at least 1.
Picture groupSheet(const std::vector<Performance>& performances, int rate);

} // namespace tarn::capture
