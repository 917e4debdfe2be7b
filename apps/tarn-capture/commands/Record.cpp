// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/LinkFlags.h"
#include "linked/ReceivedStreams.h"
#include "recording/Recording.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/Output.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct RecordOptions {
    std::vector<std::string> names;
    std::string out;
    double wait = 10;
    link::LinkOptions link;
};

/// Says what became of the streams, and whether all of them is in the file.
int conclude(const ReceivedStreams& streams, const Recording& recording, const std::string& problem,
             bool isComplete, const Interrupt& interrupt) {
    fmt::print("{}", streams.report());
    if (isComplete) {
        for (const std::string& name : streams.unfinished()) {
            reportError(fmt::format("'{}' has gone before its end", name));
        }
    }
    fmt::print("{}\n", recording.summary());
    if (!problem.empty()) {
        reportError(problem);
    }
    if (!isComplete) {
        reportError("interrupted: what was recorded is kept");
        return interrupt.exitCode();
    }
    return problem.empty() && recording.lostFrames() == 0 && streams.areWhole() ? exitSuccess
                                                                                : exitFailure;
}

int record(const RecordOptions& options) {
    for (const std::string& name : options.names) {
        checkStreamName("--from", name);
    }
    const Interrupt interrupt;
    const auto stopRequested = [&interrupt] { return interrupt.isRequested(); };
    ReceivedStreams streams(options.link, options.names);
    if (!streams.connect(options.wait, stopRequested)) {
        return interrupt.exitCode();
    }
    Recording recording(options.out);
    for (const auto& device : streams.devices()) {
        int port = 0;
        for (const link::LinkTrack& track : device->tracks()) {
            recording.add(device->oFramePort(port++), track.dataType, track.description);
        }
    }
    recording.start();
    streams.start();
    announce(fmt::format("recording {}", kit::counted(options.names.size(), "stream")));
    const bool isComplete = streams.awaitEnd(stopRequested);
    streams.stop();
    const std::string problem = recording.end();
    return conclude(streams, recording, problem, isComplete, interrupt);
}

} // namespace

void addRecordStreams(CommandLine& line) {
    auto [command, options] = line.add(
        "record",
        "Record streams of other programs and machines in a take file, until they end; fails "
        "unless every frame of them that came since is in it",
        record);
    addFrom(command, options.names, "The streams, by the names under which they are offered");
    command.get_option("--from")->required();
    command
        .add_option_function<std::string>(
            "--out",
            [&out = options.out](const std::string& name) {
                checkRecordName(name);
                out = name;
            },
            "The new take file, which ends in .tarn")
        ->required()
        ->type_name("FILE");
    addWait(command, options.wait, "How long to wait for the streams to be offered");
    addLink(command, options.link);
}

} // namespace tarn::capture
