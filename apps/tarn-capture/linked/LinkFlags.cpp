// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LinkFlags.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <set>

namespace tarn::capture {

void addLink(CLI::App& command, link::LinkOptions& options) {
    command
        .add_option(
            "--peer", options.peers,
            "Another machine of the link, by name or IPv4 address, besides this one; may be "
            "given several times")
        ->type_name("HOST")
        ->allow_extra_args(false);
    command
        .add_option("--domain", options.domain,
                    "Only programs of one domain see each other; if not given, 0")
        ->type_name("N")
        ->check(CLI::Range(0, 200));
    command.add_flag("--multicast", options.multicast,
                     "Also look for machines that nobody names, and be seen by them");
}

void addFrom(CLI::App& command, std::vector<std::string>& names, const std::string& meaning) {
    command.add_option("--from", names, meaning)->type_name("NAME");
}

void addWait(CLI::App& command, double& seconds, const std::string& meaning) {
    constexpr double longest = 86'400;
    command.add_option("--wait", seconds, fmt::format("{}; if not given, {}", meaning, seconds))
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, longest));
}

std::chrono::milliseconds millisecondsOf(double seconds) {
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

void checkStreamName(const std::string& flag, const std::string& name) {
    if (!link::isStreamName(name)) {
        throw UsageError(fmt::format("{} '{}': expected 1 to 100 printable characters of ASCII, "
                                     "without *?[]",
                                     flag, kit::printable(name)));
    }
}

void checkFrom(const std::vector<std::string>& names) {
    std::set<std::string> seen;
    for (const std::string& name : names) {
        checkStreamName("--from", name);
        if (!seen.insert(name).second) {
            throw UsageError(fmt::format("--from '{}' is given twice", name));
        }
    }
}

} // namespace tarn::capture
