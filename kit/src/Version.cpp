// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/Version.h>

namespace tarn::kit {

const char* version() noexcept { return TARN_VERSION; }

} // namespace tarn::kit
