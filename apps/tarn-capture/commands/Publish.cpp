// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/LinkFlags.h"
#include "linked/Publication.h"
#include "linked/TakePublisher.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/Output.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

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

int publish(const PublishOptions& options) {
    checkStreamName("--as", options.name);
    checkInputs(options.takes);
    const Interrupt interrupt;
    const auto stopRequested = [&interrupt] { return interrupt.isRequested(); };
    TakePublisher takes(std::make_shared<link::Link>(options.link), options.name, options.takes,
                        options.speed, options.space);
    link::LinkPublisher& publisher = takes.publisher();
    bool isComplete =
        offer(publisher, {options.name, options.link.domain, options.receivers, takes.trackCount()},
              stopRequested);
    if (isComplete) {
        announce(fmt::format("playing {}", kit::counted(takes.frameCount(), "frame")));
        isComplete = takes.play(stopRequested);
    }
    const std::string problem = endStream(publisher, takes.frameCount());
    if (!isComplete) {
        reportError("interrupted: the stream has ended before its takes");
        return interrupt.exitCode();
    }
    if (!problem.empty()) {
        reportError(problem);
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace

void addPublish(CommandLine& line) {
    auto [command, options] =
        line.add("publish",
                 "Play takes as a stream that other programs and machines receive, with all that "
                 "they have; 'watch', 'record' and 'run --from' do",
                 publish);
    addTakes(command, options.takes);
    command.add_option("--as", options.name, "The name under which the stream is offered")
        ->required()
        ->type_name("NAME");
    addAwait(command, options.receivers);
    addSpeed(command, options.speed);
    addSpace(command, options.space);
    addLink(command, options.link);
}

} // namespace tarn::capture
