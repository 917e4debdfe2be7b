// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

namespace tarn::capture {

struct StreamOptions {
    std::string take;
    double rate = 1;           ///< how much faster than the take; 0 for as fast as it goes
    std::optional<int> frames; ///< how many to stream; all if not given
};

/// Streams a take from a replay device to a recorder and compares what was recorded with the take.
/// Returns the exit code; throws `UsageError`, `kit::ReadError`, or `std::runtime_error` when the
/// device refuses a command or the recording differs.
int stream(const StreamOptions& options);

} // namespace tarn::capture
