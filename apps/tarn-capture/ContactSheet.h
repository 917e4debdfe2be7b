#pragma once

#include "Picture.h"
#include "Playback.h"
#include "Take.h"

#include <vector>

namespace tarn::capture {

/// One page about a take: what it is, the body at evenly spaced instants of what was shown, the
/// path of its root, and what had to be guessed. The take must outlive the picture.
Picture contactSheet(const Take& take, const std::vector<Recorder::Shown>& shown);

} // namespace tarn::capture
