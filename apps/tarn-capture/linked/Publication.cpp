// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/Publication.h"

#include "support/Interrupt.h"
#include "support/Output.h"

#include <fmt/format.h>
#include <tarn/Version.h>
#include <tarn_kit/files/Text.h>

namespace tarn::capture {

void addAwait(CLI::App& command, int& receivers) {
    command
        .add_option("--await", receivers,
                    "Begin once so many receivers take every frame; if not given, begin at once")
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
}

link::PublisherOptions publisherOptions() {
    link::PublisherOptions options;
    options.program = std::string("tarn-capture ") + version();
    return options;
}

bool offer(link::LinkPublisher& publisher, const Offer& what,
           const std::function<bool()>& stopRequested) {
    publisher.start();
    announce(fmt::format("'{}' is offered in domain {}: {}", what.name, what.domain,
                         kit::counted(what.tracks, "track")));
    if (what.receivers > 0) {
        announce(fmt::format("waiting for {}",
                             kit::counted(static_cast<std::size_t>(what.receivers), "receiver")));
    }
    return publisher.awaitReceivers(what.receivers, forever, stopRequested);
}

std::string endStream(link::LinkPublisher& publisher, std::size_t frames) {
    const bool isDelivered = publisher.end();
    fmt::print("  sent      {} of {}\n",
               kit::counted(static_cast<std::size_t>(publisher.sentFrames()), "frame"), frames);
    fmt::print("  lost      {}\n", publisher.lostFrames());
    if (publisher.lostFrames() > 0) {
        return publisher.lastProblem();
    }
    return isDelivered ? "" : "not every receiver has confirmed that it has all frames";
}

} // namespace tarn::capture
