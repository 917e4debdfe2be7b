// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/calibration/BodyFit.h"

#include <vector>

namespace tarn::kit {

/// Learns how skin takes the body's markers along as the joints next to them turn, by ridge
/// regression of their misses on these turns in frames that were solved without that. A marker's
/// offset becomes that in the usual turns. Markers that are hardly seen are left as they are.
void learnSkinMotion(Articulation& body, const std::vector<FitFrame>& frames);

} // namespace tarn::kit
