// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

namespace tarn::capture {

struct PlayOptions {
    std::string take;
    std::string out;            ///< the directory for the pictures
    std::optional<double> rate; ///< frames per second; the take's rate if not given
    bool realtime = false;
};

/// Plays a take and draws what was shown: `poses.png` and `poses.svg`. Returns the exit code;
/// throws `UsageError`, `kit::ReadError`, or `std::runtime_error` when a picture cannot be drawn or
/// written.
int play(const PlayOptions& options);

} // namespace tarn::capture
