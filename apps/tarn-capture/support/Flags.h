// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"
#include "support/FrameRange.h"

#include <CLI/CLI.hpp>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/Rate.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

// Arguments and flags that several commands have. Each is added here and nowhere else, so that it
// means the same everywhere. What cannot be is a `UsageError` while the command line is read,
// before any file is opened. `meaning` is what the flag does in a command, for the help.

/// TAKE...: the files to read; "-" is standard input.
void addTakes(CLI::App& command, std::vector<std::string>& takes,
              const std::string& meaning =
                  "BVH, C3D and take files, FILE#NAME for one of the takes in a "
                  "take file; - is standard input");
/// One TAKE.
void addTake(CLI::App& command, std::string& take,
             const std::string& meaning =
                 "A BVH, C3D or take file, FILE#NAME for one of the takes in a "
                 "take file; - is standard input");
/// --out, required.
void addOut(CLI::App& command, std::string& out, const std::string& type,
            const std::string& meaning);

/// --unit U, --up AXIS and --scale F: what the lengths and axes of takes mean.
void addSpace(CLI::App& command, SpaceChoice& space);
/// --unit U
void addUnit(CLI::App& command, std::optional<kit::LengthUnit>& unit, const std::string& meaning);
/// --origin seen or --origin gaps: what markers at the origin of C3D files are.
void addOrigin(CLI::App& command, kit::C3dOptions& options);
/// --names FILE: a document that says what joints are called.
void addNames(CLI::App& command, std::optional<std::string>& document);
/// --frames A..B, A.. or N
void addFrames(CLI::App& command, std::optional<FrameChoice>& frames);
/// The same, by the numbers that a file gives its frames.
void addFileFrames(CLI::App& command, std::optional<FrameChoice>& frames);
/// --rate R: frames per second of what comes out.
void addRate(CLI::App& command, std::optional<kit::Rate>& rate, const std::string& meaning);
/// --speed F: how much faster than the take itself time goes by; 0 for as fast as it can. And
/// --realtime for 1, where that is not the default. What `speed` is now is used if neither is
/// given.
void addSpeed(CLI::App& command, double& speed);

/// Flags of other commands that mean nothing in this one: no help tells of them, and who gives one
/// gets a `UsageError` with the reason.
void refuseFlags(CLI::App& command, const std::vector<std::string>& flags,
                 const std::string& reason);

/// --record FILE: a take file of what streams.
void addRecord(CLI::App& command, std::optional<std::string>& file);

} // namespace tarn::capture
