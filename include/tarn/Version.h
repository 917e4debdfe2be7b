// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>

// The version of these headers: what a host is compiled with. The build takes the project's version
// from here.

#define TARN_VERSION_MAJOR 0
#define TARN_VERSION_MINOR 1
#define TARN_VERSION_PATCH 0
#define TARN_VERSION "0.1.0"

namespace tarn {

/// The version of the library that the host runs with, as "0.1.0". It differs from `TARN_VERSION`
/// where another library was installed after the host was compiled. Lives as long as the program.
TARN_EXPORT const char* version() noexcept;

} // namespace tarn
