// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/LinkFlags.h"
#include "linked/TakePublisher.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct PublishOptions {
    std::vector<std::string> takes;
    std::string name;
    int receivers = 0;
    double speed = 1;
    SpaceChoice space;
    link::LinkOptions link;
};

/// Says at once what is going on: others wait for it.
void announce(const std::string& text) {
    fmt::print("{}\n", text);
    std::fflush(stdout);
}

int publish(const PublishOptions& options) {
    checkStreamName("--as", options.name);
    checkInputs(options.takes);
    const Interrupt interrupt;
    const auto stopRequested = [&interrupt] { return interrupt.isRequested(); };
    TakePublisher takes(std::make_shared<link::Link>(options.link), options.name, options.takes,
                        options.speed, options.space);
    link::LinkPublisher& publisher = takes.publisher();
    publisher.start();
    announce(fmt::format("'{}' is offered in domain {}: {}", options.name, options.link.domain,
                         kit::counted(options.takes.size(), "track")));
    if (options.receivers > 0) {
        announce(
            fmt::format("waiting for {}",
                        kit::counted(static_cast<std::size_t>(options.receivers), "receiver")));
    }
    const auto forever = std::chrono::hours(24 * 365);
    bool isComplete = publisher.awaitReceivers(options.receivers, forever, stopRequested);
    if (isComplete) {
        announce(fmt::format("playing {}", kit::counted(takes.frameCount(), "frame")));
        isComplete = takes.play(stopRequested);
    }
    const bool isDelivered = publisher.end();
    fmt::print("  sent      {} of {}\n",
               kit::counted(static_cast<std::size_t>(publisher.sentFrames()), "frame"),
               takes.frameCount());
    fmt::print("  lost      {}\n", publisher.lostFrames());
    if (!isComplete) {
        reportError("interrupted: the stream has ended before its takes");
        return interrupt.exitCode();
    }
    if (publisher.lostFrames() > 0) {
        reportError(publisher.lastProblem());
        return exitFailure;
    }
    if (!isDelivered) {
        reportError("not every receiver has confirmed that it has all frames");
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace

void addPublish(CommandLine& line) {
    auto [command, options] =
        line.add("publish",
                 "Play takes as a stream that other programs and machines receive, one track each; "
                 "'watch', 'record' and 'run --from' do",
                 publish);
    addTakes(command, options.takes);
    command.add_option("--as", options.name, "The name under which the stream is offered")
        ->required()
        ->type_name("NAME");
    command
        .add_option("--await", options.receivers,
                    "Begin once so many receivers take every frame; if not given, begin at once")
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
    addSpeed(command, options.speed);
    addSpace(command, options.space);
    addLink(command, options.link);
}

} // namespace tarn::capture
