// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "documents/OlderSession.h"
#include "linked/LinkFlags.h"
#include "linked/Publication.h"
#include "live/LiveView.h"
#include "running/SessionRunner.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/OutputPath.h"

#include <fmt/format.h>

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace tarn::capture {

namespace {

void checkSources(const RunOptions& options) {
    if (options.takes.empty() && options.streams.from.empty()) {
        throw UsageError("TAKE is required, or streams with --from");
    }
    checkInputs(options.takes);
    checkFrom(options.streams.from);
    if (options.publish) {
        checkStreamName("--publish", *options.publish);
    } else if (options.streams.from.empty() &&
               (!options.link.peers.empty() || options.link.domain != 0 ||
                options.link.multicast)) {
        throw UsageError("--peer, --domain and --multicast are for --from and --publish");
    }
}

void check(const RunOptions& options) {
    if (options.out.empty()) {
        throw UsageError("--out must name a directory");
    }
    if (holdsSession(options.out) && !options.force) {
        throw UsageError(
            fmt::format("--out: '{}' holds a session; --force replaces it, and removes "
                        "the files that it lists",
                        options.out));
    }
    checkSources(options);
    refuseStandardOutput(options.out, "--out");
    constexpr double longest = 3600;
    if (options.calibrate &&
        !(*options.calibrate >= 0 && *options.calibrate <= longest)) { // not-a-number included
        throw UsageError(fmt::format("--calibrate must be from 0 to {} seconds", longest));
    }
}

/// Null if a stop was requested before there was anything. A failure says that nothing was kept.
std::unique_ptr<SessionRunner> runnerFor(const RunOptions& options, const Interrupt& interrupt,
                                         std::optional<LiveInput>& streams) {
    try {
        const auto stopRequested = [&interrupt] { return interrupt.isRequested(); };
        if (!options.streams.from.empty() &&
            !streams.emplace(options.link, options.streams).start(stopRequested)) {
            return nullptr;
        }
        return std::make_unique<SessionRunner>(options, interrupt, streams ? &*streams : nullptr);
    } catch (const UsageError&) {
        throw;
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}; nothing was kept", error.what()));
    }
}

int run(const RunOptions& options) {
    check(options);
    const Interrupt interrupt;
    std::optional<LiveInput> streams;
    const auto runner = runnerFor(options, interrupt, streams);
    if (runner == nullptr) {
        reportError("interrupted before the first frames; nothing was kept");
        return interrupt.exitCode();
    }
    return runner->run();
}

/// --from, --publish and what belongs to them.
void addStreams(CLI::App& command, RunOptions& options) {
    addFrom(command, options.streams.from,
            "Streams of other programs and machines, by their names, in place of takes; the "
            "session ends with them, and fails unless every frame that was sent since is in it");
    CLI::Option* const from = command.get_option("--from");
    for (const char* const other : {"TAKE", "--speed", "--realtime", "--scale"}) {
        from->excludes(command.get_option(other));
    }
    addWait(command, options.streams.wait, "How long to wait for the streams to be offered");
    command.get_option("--wait")->needs(from);
    constexpr double longest = 1440;
    command
        .add_option("--at-most", options.streams.atMost,
                    fmt::format("How long streams there is room for; if not given, {}",
                                options.streams.atMost))
        ->type_name("MINUTES")
        ->check(CLI::Range(0.01, longest))
        ->needs(from);
    CLI::Option* const publish =
        command
            .add_option("--publish", options.publish,
                        "Offer the solved bodies as a stream of that name while they are made")
            ->type_name("NAME");
    addAwait(command, options.receivers);
    command.get_option("--await")->needs(publish);
    addLink(command, options.link);
}

} // namespace

void addRun(CommandLine& line) {
    auto [command, options] =
        line.add("run",
                 "Run a capture session: a character in one scene for each "
                 "BVH file, for each body whose markers a C3D file has, and "
                 "for those of streams, calibrated, played, solved, recorded, drawn and saved",
                 run);
    addTakes(command, options.takes,
             "BVH, C3D and take files of one clock and one space; - is standard input");
    command.get_option("TAKE")->required(false); // or streams
    addOut(command, options.out, "DIR", "Directory for what comes out, created if it is not there");
    command
        .add_option("--actor", options.actors,
                    "An actor's settings document that every actor begins with; NAME=FILE for the "
                    "performer of that name. A body that was calibrated with markers is not "
                    "calibrated again")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command
        .add_option("--markers", options.markers,
                    "The marker set of C3D files: a document, or cmu41, cmu53 or gait16; if not "
                    "given, it is told from the labels")
        ->type_name("SET");
    command
        .add_option("--calibrate", options.calibrate,
                    "For how long to calibrate; if not given, 1, or 5 where bodies are fitted to "
                    "markers")
        ->type_name("SECONDS");
    addSpace(command, options.space);
    addNames(command, options.names);
    addSpeed(command, options.speed);
    addStreams(command, options);
    addRecord(command, options.record);
    addLiveView(command, options.view);
    command.add_flag("--dimensions", options.dimensions,
                     "Print of each performer all lengths that were measured, the clock, and the "
                     "time that each stage took");
    command.add_flag("--force", options.force,
                     "Replace a session that the directory holds, and remove the files that it "
                     "lists");
}

} // namespace tarn::capture
