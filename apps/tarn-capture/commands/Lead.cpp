// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/LinkFlags.h"
#include "support/Errors.h"
#include "support/Interrupt.h"
#include "support/Output.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>
#include <tarn_link/together/TakeLeader.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tarn::capture {

namespace {

struct LeadOptions {
    std::string name;
    int recorders = 1;
    std::optional<double> seconds;
    link::LinkOptions link;
};

constexpr auto beat = std::chrono::milliseconds(20);

using Reports = std::vector<link::RecorderReport>;

std::size_t ready(const Reports& reports) {
    return static_cast<std::size_t>(
        std::count_if(reports.begin(), reports.end(), [](const link::RecorderReport& report) {
            return report.isThere && report.phase == link::RecorderPhase::Armed;
        }));
}

/// Whether nothing more is to be heard of a recorder.
bool isOver(const link::RecorderReport& report) {
    return !report.isThere || report.phase == link::RecorderPhase::Ended ||
           report.phase == link::RecorderPhase::Failed;
}

bool isSafe(const link::RecorderReport& report) {
    return report.phase == link::RecorderPhase::Ended && report.lost == 0;
}

std::string lineOf(const link::RecorderReport& report, const link::TakeCall& call) {
    std::string line = fmt::format(
        "  {} on {}: {}, {} lost", kit::printable(report.file), kit::printable(report.host),
        kit::counted(static_cast<std::size_t>(report.frames), "frame"), report.lost);
    const double late = std::chrono::duration<double>(report.dataFrom - call.starts).count();
    line += report.hasData ? fmt::format(", from {:.3f} s on", late) : ", no data";
    switch (report.phase) {
    case link::RecorderPhase::Ended:
        return line + ", safe";
    case link::RecorderPhase::Failed:
        return line + ", failed: " + kit::printable(report.text);
    default:
        return line + (report.isThere ? ", not ended" : ", gone");
    }
}

/// What became of the take: success only where all of it is safe everywhere.
int conclude(const Reports& reports, const link::TakeCall& call) {
    bool isWhole = !reports.empty();
    for (const link::RecorderReport& report : reports) {
        fmt::print("{}\n", lineOf(report, call));
        isWhole = isWhole && isSafe(report) && report.hasData;
    }
    if (!isWhole) {
        reportError(fmt::format("'{}' is not safe everywhere", kit::printable(call.name)));
    }
    return isWhole ? exitSuccess : exitFailure;
}

int lead(const LeadOptions& options) {
    checkStreamName("NAME", options.name);
    const Interrupt interrupt;
    const link::Link link(options.link);
    link::TakeLeader leader(link);
    leader.arm(options.name);
    const auto recorders = static_cast<std::size_t>(options.recorders);
    announce(fmt::format("'{}' is armed in domain {}: waiting for {}", options.name,
                         options.link.domain, kit::counted(recorders, "recorder")));
    while (ready(leader.recorders()) < recorders) {
        if (!pause(beat, interrupt)) {
            leader.end();
            reportError("interrupted: the take was taken back");
            return interrupt.exitCode();
        }
    }
    leader.start();
    announce(
        fmt::format("recording '{}'{}", options.name, options.seconds ? "" : ": Ctrl-C ends it"));
    pause(options.seconds ? millisecondsOf(*options.seconds) : forever, interrupt);
    const link::TakeCall call = leader.end();
    constexpr auto patience = std::chrono::seconds(10); // for what is on its way to a disk
    const auto latest = std::chrono::steady_clock::now() + patience;
    Reports reports = leader.recorders();
    while (!std::all_of(reports.begin(), reports.end(), isOver) &&
           std::chrono::steady_clock::now() < latest) {
        std::this_thread::sleep_for(beat);
        reports = leader.recorders();
    }
    return conclude(reports, call);
}

} // namespace

void addLead(CommandLine& line) {
    auto [command, options] = line.add(
        "lead",
        "Lead a take that several machines record: arm it, start it at one instant for all "
        "of them once they are ready, end it likewise, and say what each of them has; "
        "'record --follow' follows. Fails unless all of it is safe everywhere",
        lead);
    command.add_option("NAME", options.name, "What the take is called")->required()->type_name("");
    command
        .add_option("--await", options.recorders,
                    "Start once so many recorders are ready; if not given, 1")
        ->type_name("N")
        ->check(CLI::Range(1, 1000));
    constexpr double longest = 86'400;
    command
        .add_option("--for", options.seconds,
                    "End the take after so long; if not given, Ctrl-C ends it")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, longest));
    addLink(command, options.link);
}

} // namespace tarn::capture
