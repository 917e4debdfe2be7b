// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "settings/OpenFile.h"

namespace tarn {

/// Gives `file`, which will replace `old` and is open to nobody but its owner so far, the owner,
/// group, permissions and access list of `old` as far as the user may set them. Who could not open
/// `old` cannot open `file`, but for the user who owns it now. False, with `errno` set, if the file
/// system refuses permissions that it should know.
bool takeAccess(const OpenFile& file, const OpenFile& old);

} // namespace tarn
