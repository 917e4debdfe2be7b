// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "linked/LinkFlags.h"
#include "linked/StreamTable.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/Terminal.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace tarn::capture {

namespace {

struct WatchOptions {
    bool once = false;
    double wait = 2;
    link::LinkOptions link;
};

constexpr auto interval = std::chrono::seconds(1); // rates are measured over it

int watchOnce(const WatchOptions& options, StreamTable& table, const Interrupt& interrupt) {
    const auto latest = std::chrono::steady_clock::now() + millisecondsOf(options.wait);
    while (table.look() == 0) {
        if (interrupt.isRequested()) {
            return interrupt.exitCode();
        }
        if (std::chrono::steady_clock::now() >= latest) {
            reportError(fmt::format("nobody offers anything in domain {}", options.link.domain));
            return exitFailure;
        }
        constexpr auto beat = std::chrono::milliseconds(5);
        std::this_thread::sleep_for(beat);
    }
    if (!pause(interval, interrupt)) {
        return interrupt.exitCode();
    }
    table.look();
    fmt::print("{}", table.text());
    return exitSuccess;
}

int watch(const WatchOptions& options) {
    const Interrupt interrupt;
    StreamTable table(std::make_shared<link::Link>(options.link));
    if (options.once) {
        return watchOnce(options, table, interrupt);
    }
    const bool isTerminal = terminalWidth(stdout) > 0;
    do {
        table.look();
        // Of a terminal the screen is cleared, so that the table stays in its place.
        fmt::print("{}{}{}", isTerminal ? "\x1b[H\x1b[J" : "", table.text(),
                   isTerminal ? "" : "\n");
        std::fflush(stdout);
    } while (pause(interval, interrupt));
    return exitSuccess;
}

} // namespace

void addWatch(CommandLine& line) {
    auto [command, options] =
        line.add("watch",
                 "Show what is offered on the link, as a table that is written anew every second: "
                 "by whom, how many samples come per second, how many frames were lost, how long "
                 "they are on their way, and by how much the clock of who sends them differs",
                 watch);
    command.add_flag("--once", options.once,
                     "Print the table once, a second after something is offered; fail where "
                     "nobody offers anything");
    addWait(command, options.wait, "With --once: how long to wait for somebody to offer something");
    addLink(command, options.link);
}

} // namespace tarn::capture
