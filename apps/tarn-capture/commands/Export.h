// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

namespace tarn::capture {

enum class ExportFormat { csv, json };

struct ExportOptions {
    std::string take;
    ExportFormat format = ExportFormat::csv;
    std::string out;
    std::optional<std::string> frames; ///< "A..B"; all frames if not given
};

/// Writes where every joint and end site is in the world, frame by frame. Returns the exit code;
/// throws `UsageError`, `kit::ReadError`, or `std::runtime_error` when the file cannot be written.
int exportPositions(const ExportOptions& options);

} // namespace tarn::capture
