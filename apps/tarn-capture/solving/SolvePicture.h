// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/MarkerTrial.h"
#include "solving/SolvedTrial.h"

#include <tarn_draw/canvas/Picture.h>
#include <tarn_kit/files/Bvh.h>

namespace tarn::capture {

/// A page on a solved trial: the body at evenly spaced instants, with a ring where each marker was
/// measured and a dot where the body has it, and below that how far each marker is off over time.
/// `take` is that of `bvhOf`.
draw::Picture pictureOf(const MarkerTrial& trial, const SolvedTrial& solved,
                        const kit::BvhTake& take);

} // namespace tarn::capture
