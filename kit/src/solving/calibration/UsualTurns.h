// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/Articulation.h"

#include <vector>

namespace tarn::kit {

/// Learns from stances how each joint is commonly turned: in the middle, and along with the joints
/// above it. `body` comes with the spreads of people, which count for more the fewer stances there
/// are; it goes with the performer's own.
void learnUsualTurns(Articulation& body, const std::vector<Stance>& stances);

} // namespace tarn::kit
