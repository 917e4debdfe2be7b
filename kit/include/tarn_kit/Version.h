// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Version.h>
#include <tarn_kit/Export.h>

namespace tarn::kit {

/// The version of the kit that the host runs with, as "0.1.0": that of the SDK it was built with.
/// Lives as long as the program.
TARN_KIT_EXPORT const char* version() noexcept;

} // namespace tarn::kit
