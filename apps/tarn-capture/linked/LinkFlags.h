// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>
#include <tarn_link/stream/Link.h>

#include <chrono>
#include <string>
#include <vector>

namespace tarn::capture {

/// --peer HOST, --domain N and --multicast: with whom a command is linked.
void addLink(CLI::App& command, link::LinkOptions& options);
/// --from NAME...
void addFrom(CLI::App& command, std::vector<std::string>& names, const std::string& meaning);
/// --wait S: what `seconds` is now is used if it is not given.
void addWait(CLI::App& command, double& seconds, const std::string& meaning);

std::chrono::milliseconds millisecondsOf(double seconds);

/// Throws `UsageError` unless a stream can have the name that `flag` gives.
void checkStreamName(const std::string& flag, const std::string& name);
/// The same of all that --from gives, each of which is a stream of its own.
void checkFrom(const std::vector<std::string>& names);

} // namespace tarn::capture
