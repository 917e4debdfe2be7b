// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Picture.h"
#include "session/ShownFrames.h"
#include "session/Take.h"

#include <vector>

namespace tarn::capture {

/// One page about a take: what it is, the body at evenly spaced instants of what was shown, the
/// path of its root, and what had to be guessed. The take must outlive the picture.
Picture contactSheet(const Take& take, const std::vector<ShownFrame>& shown);

} // namespace tarn::capture
