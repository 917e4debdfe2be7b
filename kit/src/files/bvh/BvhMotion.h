// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/TextScanner.h"

#include <tarn_kit/files/Bvh.h>

namespace tarn::kit {

/// Reads the second half of a BVH file, what follows the word MOTION, into `take`, which has its
/// rig: everything but the name of the tracks.
void readMotion(TextScanner& scanner, BvhTake& take);

} // namespace tarn::kit
