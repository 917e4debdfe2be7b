// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

struct RunOptions {
    std::vector<std::string> takes;
    std::string out;
    std::optional<std::string> actor; ///< a settings document that every actor begins with
    double calibrate = 1;             ///< seconds
    bool realtime = false;
};

/// Runs a whole capture session: a character per take in one scene, each with a device that replays
/// its take; calibrates, plays, solves and records them, and writes what came out. Returns the exit
/// code; throws `UsageError`, or `std::runtime_error` that says what was kept.
int run(const RunOptions& options);

} // namespace tarn::capture
