// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/writing/C3dSamples.h"

#include <tarn_kit/files/C3d.h>

#include <cstddef>

namespace tarn::kit {

/// The scale of the markers: that of the take where it does, else a step, in single precision, of
/// which no more than 32,767 are needed.
double chooseScale(const C3dTake& take, const C3dSamples& samples, bool real);

/// Whether a sample is a whole number of 16 bits as it would be stored.
bool fitsInteger(float sample, const C3dChannel& channel, bool isUnsigned);

/// The channel with a scale by which its largest sample fits.
C3dChannel rescaled(const C3dSamples& samples, std::size_t index, C3dChannel channel);

} // namespace tarn::kit
