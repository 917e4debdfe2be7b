// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Database.h"

namespace tarn::store {

// What is left of a damaged file contradicts itself. These take out of it what does.

/// Of tracks and what belongs to them: before frames are added to them.
void mendTracks(Database& database);
/// Of takes and scenes: when all frames are there.
void mendTakes(Database& database);

} // namespace tarn::store
