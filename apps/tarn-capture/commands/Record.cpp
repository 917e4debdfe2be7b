// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/FollowedTake.h"
#include "linked/LinkFlags.h"
#include "linked/ReceivedStreams.h"
#include "recording/Recording.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/Output.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct RecordOptions {
    std::vector<std::string> names;
    std::string out;
    double wait = 10;
    bool follows = false; ///< a take that somebody leads
    link::LinkOptions link;
};

/// Records streams as long as they last.
class StreamRecorder {
public:
    explicit StreamRecorder(const RecordOptions& options)
        : options_(options), streams_(options.link, options.names) {}

    int run() {
        const auto stopRequested = [this] { return interrupt_.isRequested(); };
        if (!streams_.connect(options_.wait, stopRequested)) {
            return interrupt_.exitCode();
        }
        Recording recording(options_.out);
        std::optional<FollowedTake> take; // goes first: it listens
        if (options_.follows) {
            take.emplace(streams_, recording, options_.out);
        } else {
            addAll(recording);
        }
        recording.start();
        streams_.start();
        announce(fmt::format("{} {}", take ? "following a take with" : "recording",
                             kit::counted(options_.names.size(), "stream")));
        const bool isComplete =
            take ? take->follow(stopRequested) : streams_.awaitEnd(stopRequested);
        streams_.stop();
        if (take) {
            take->note();
        }
        const std::string problem = recording.end();
        if (take) {
            take->conclude(whyNotSafe(problem, isComplete));
        }
        return conclude(recording, problem, isComplete);
    }

private:
    void addAll(Recording& recording) const {
        for (const auto& device : streams_.devices()) {
            int port = 0;
            for (const link::LinkTrack& track : device->tracks()) {
                recording.add(device->oFramePort(port++), track.dataType, track.description);
            }
        }
    }

    /// What the leader is told of a take; empty if all of it is in the file.
    std::string whyNotSafe(const std::string& problem, bool isComplete) const {
        if (!problem.empty()) {
            return problem;
        }
        return !isComplete               ? "interrupted before the end"
               : !streams_.areUnbroken() ? "frames were lost on the way"
                                         : "";
    }

    /// Says what became of the streams, and whether all that was to be recorded is in the file.
    int conclude(const Recording& recording, const std::string& problem, bool isComplete) const {
        fmt::print("{}", streams_.report());
        if (isComplete && !options_.follows) {
            for (const std::string& name : streams_.unfinished()) {
                reportError(fmt::format("'{}' has gone before its end", name));
            }
        }
        fmt::print("{}\n", recording.summary());
        if (!problem.empty()) {
            reportError(problem);
        }
        if (!isComplete) {
            reportError("interrupted: what was recorded is kept");
            return interrupt_.exitCode();
        }
        const bool isWhole = options_.follows ? streams_.areUnbroken() : streams_.areWhole();
        return problem.empty() && recording.lostFrames() == 0 && isWhole ? exitSuccess
                                                                         : exitFailure;
    }

    const RecordOptions& options_;
    const Interrupt interrupt_;
    ReceivedStreams streams_;
};

int record(const RecordOptions& options) {
    checkFrom(options.names);
    return StreamRecorder(options).run();
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
    command.add_flag("--follow", options.follows,
                     "Record the next take that somebody on the link leads, from the instant on at "
                     "which it starts to the one at which it ends; 'lead' leads. A recorder that "
                     "joins late has the rest of it");
    addWait(command, options.wait, "How long to wait for the streams to be offered");
    addLink(command, options.link);
}

} // namespace tarn::capture
