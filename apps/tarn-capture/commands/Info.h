// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace tarn::capture {

struct InfoOptions {
    std::vector<std::string> takes;
};

/// Describes takes on standard output. One that cannot be read is reported and does not keep the
/// others from being shown. Returns the exit code.
int info(const InfoOptions& options);

} // namespace tarn::capture
