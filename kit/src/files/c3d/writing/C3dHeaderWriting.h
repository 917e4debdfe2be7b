// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dSync.h"
#include "files/c3d/layout/C3dLayout.h"

#include <tarn_kit/files/C3d.h>

#include <string>

namespace tarn::kit {

/// Writes what has changed of a take, or all of it if `anew`, over the header at the start of
/// `head`. Throws `std::invalid_argument` if it has no room for the events.
void putHeader(std::string& head, const C3dTake& take, const C3dLayout& layout,
               const C3dChanges& changes, bool anew);

} // namespace tarn::kit
