// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Version.h>

namespace tarn {

const char* version() noexcept { return TARN_VERSION; }

} // namespace tarn
