// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Samples.h"

namespace tarn::testing {

// The one source that knows a path of this machine, so that clones share all other objects.
std::filesystem::path sampleDirectory() { return TARN_EXAMPLE_DATA; }

std::filesystem::path samplePath(const std::string& file) { return sampleDirectory() / file; }

} // namespace tarn::testing
