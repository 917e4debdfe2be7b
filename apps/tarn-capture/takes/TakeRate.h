// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/FrameRange.h"

#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/Rate.h>

namespace tarn::capture {

// Takes at another rate, as "play" shows them: they keep their speed, so that a lower rate leaves
// frames out and a higher one repeats them.

/// Some frames of a take.
kit::BvhTake atRate(kit::BvhTake take, FrameRange range, const kit::Rate& rate);
/// The same of markers, numbered from 1; without analog channels and rigid bodies, whose samples
/// belong to the frames that the take had. Events stay at their moments.
kit::C3dTake atRate(kit::C3dTake take, FrameRange range, const kit::Rate& rate);

} // namespace tarn::capture
