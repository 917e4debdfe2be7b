// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/TakeFile.h"
#include "solving/MarkerTrial.h"
#include "support/Errors.h"
#include "support/Flags.h"

#include <fmt/format.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/files/Text.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct MarkersOptions {
    std::string action; ///< "check"
    std::string set;
    std::optional<std::string> trial;
    std::optional<std::string> subject;
};

void print(const char* what, const std::vector<std::string>& names) {
    if (!names.empty()) {
        fmt::print("{}:", what);
        for (const std::string& name : names) {
            fmt::print(" {}", kit::printable(name));
        }
        fmt::print("\n");
    }
}

/// Whether a trial has the markers of a set, and which it has besides.
bool checkTrial(const kit::MarkerSet& set, const MarkersOptions& options) {
    const std::vector<std::string> wanted = namesOf(set.markers);
    std::vector<std::string> missing;
    std::vector<std::string> others;
    const MarkerTrial trial(*options.trial, options.subject, wanted, takeNameOf(*options.trial));
    std::vector<bool> isWorn(trial.names().size());
    for (const std::string& name : wanted) {
        const int column = kit::markerNamed(name, trial.names());
        if (column >= 0) {
            isWorn[static_cast<std::size_t>(column)] = true;
        } else {
            missing.push_back(name);
        }
    }
    for (std::size_t i = 0; i < isWorn.size(); ++i) {
        if (!isWorn[i] && !trial.names()[i].empty()) {
            others.push_back(trial.names()[i]);
        }
    }
    fmt::print("{}{}{}: has {} of {} markers\n", kit::printable(trial.file()),
               trial.subject().empty() ? "" : ", ", kit::printable(trial.subject()),
               wanted.size() - missing.size(), wanted.size());
    print("missing", missing);
    print("not in the set", others);
    return missing.empty();
}

int markers(const MarkersOptions& options) {
    const kit::MarkerSet set = kit::MarkerSet::load(options.set);
    fmt::print("{}: {}{}{}\n", kit::printable(options.set),
               kit::counted(set.markers.size(), "marker"), set.description.empty() ? "" : "; ",
               kit::printable(set.description));
    for (const kit::MarkerPlace& marker : set.markers) {
        fmt::print("  {:<8}{:<16}{}\n", kit::printable(marker.name), marker.segment,
                   kit::printable(marker.description));
    }
    return options.trial && !checkTrial(set, options) ? exitFailure : exitSuccess;
}

} // namespace

void addMarkers(CommandLine& line) {
    auto [command, options] =
        line.add("markers", "Check a marker set, alone or against a take of markers", markers);
    command.add_option("ACTION", options.action, "check")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember({"check"}));
    command.add_option("SET", options.set, "A document, or cmu41, cmu53 or gait16")
        ->required()
        ->type_name("");
    command.add_option("TRIAL", options.trial, "A C3D file: fails unless it has all markers")
        ->type_name("");
    command
        .add_option("--subject", options.subject,
                    "The performer, as the file names them; if not given, the one with most of the "
                    "markers")
        ->type_name("NAME");
    refuseFlags(command, {"--unit", "--up", "--scale"},
                "names of markers are compared, which have no lengths and axes");
}

} // namespace tarn::capture
