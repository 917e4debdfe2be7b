// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/LinkFlags.h"
#include "recording/Recording.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>
#include <tarn_link/stream/LinkDevice.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
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

/// Streams on their way into one take file.
class StreamRecorder {
public:
    explicit StreamRecorder(const RecordOptions& options)
        : options_(options), link_(std::make_shared<link::Link>(options.link)) {}

    int run() {
        if (!connect()) {
            return interrupt_.exitCode();
        }
        Recording recording(options_.out);
        for (const auto& device : devices_) {
            int port = 0;
            for (const link::LinkTrack& track : device->tracks()) {
                recording.add(device->oFramePort(port++), track.dataType, track.description);
            }
        }
        recording.start();
        for (const auto& device : devices_) {
            device->start();
        }
        fmt::print("recording {}\n", kit::counted(devices_.size(), "stream"));
        std::fflush(stdout);
        bool isComplete = true;
        for (const auto& device : devices_) {
            const auto forever = std::chrono::hours(24 * 365);
            isComplete = device->awaitEnd(forever, stopRequested_) && isComplete;
        }
        std::vector<link::LinkStatus> found;
        for (const auto& device : devices_) {
            device->stop(); // it has left its slots when it answers
            found.push_back(device->status());
        }
        const std::string problem = recording.end();
        return conclude(found, recording, problem, isComplete);
    }

private:
    /// False if a stop was requested.
    bool connect() {
        for (const std::string& name : options_.names) {
            devices_.push_back(std::make_unique<link::LinkDevice>(link_, name));
            devices_.back()->open(name);
        }
        const auto latest = std::chrono::steady_clock::now() + millisecondsOf(options_.wait);
        for (const auto& device : devices_) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                latest - std::chrono::steady_clock::now());
            if (!device->awaitConnected(left, stopRequested_)) {
                if (interrupt_.isRequested()) {
                    return false;
                }
                throw std::runtime_error(device->whyNotConnected());
            }
        }
        return true;
    }

    /// Says what became of each stream, and whether all of it is in the file.
    int conclude(const std::vector<link::LinkStatus>& found, const Recording& recording,
                 const std::string& problem, bool isComplete) const {
        bool isWhole = problem.empty() && recording.lostFrames() == 0;
        for (const link::LinkStatus& status : found) {
            print(status);
            isWhole = isWhole && status.hasEnded && status.lostFrames() == 0 &&
                      status.refused == 0 && status.reconnects == 0;
            if (!status.hasEnded && isComplete) {
                reportError(fmt::format("'{}' has gone before its end", status.name));
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
        return isWhole ? exitSuccess : exitFailure;
    }

    static void print(const link::LinkStatus& status) {
        fmt::print("{}\n  received  {}\n  lost      {}\n", status.name,
                   kit::counted(static_cast<std::size_t>(status.receivedFrames()), "frame"),
                   status.lostFrames());
        if (status.refused > 0) {
            fmt::print("  refused   {}\n", status.refused);
        }
        for (std::size_t i = 0; i < status.tracks.size(); ++i) {
            if (status.tracks[i].first > 0) {
                fmt::print("  joined    track {} at its frame {}\n", i, status.tracks[i].first);
            }
        }
    }

    const RecordOptions& options_;
    const Interrupt interrupt_;
    const std::function<bool()> stopRequested_ = [this] { return interrupt_.isRequested(); };
    std::shared_ptr<link::Link> link_;
    std::vector<std::unique_ptr<link::LinkDevice>> devices_;
};

int record(const RecordOptions& options) {
    for (const std::string& name : options.names) {
        checkStreamName("--from", name);
    }
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
    addWait(command, options.wait, "How long to wait for the streams to be offered");
    addLink(command, options.link);
}

} // namespace tarn::capture
