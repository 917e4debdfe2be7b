// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeFollower.h>
#include <tarn_link/together/TakeLeader.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

// One of those who record a take together:
//
//   together_peer lead DOMAIN PEER NAME RECORDERS
//     arms a take, says "armed" once RECORDERS are ready, and then obeys "start", "end" and
//     "report" on its input: says the instant (ns), or a line per recorder and "."
//   together_peer record DOMAIN PEER FILE RATE
//     has a device that ticks RATE times in a second, and writes of those ticks that belong to the
//     take the instants (ns), and how far the leader's clock may be from where it is taken to be

namespace {

using namespace tarn::link;
using tarn::kit::Clock;

constexpr auto moment = std::chrono::milliseconds(5);
/// Longer than a busy machine needs to hear of it.
constexpr auto notice = std::chrono::seconds(2);

long long count(Clock::Instant instant) { return instant.time_since_epoch().count(); }

bool isArmed(const RecorderReport& report) { return report.phase == RecorderPhase::Armed; }

void say(const RecorderReport& report) {
    std::cout << report.file << ' ' << static_cast<int>(report.phase) << ' ' << report.isThere
              << ' ' << report.frames << ' ' << (report.hasData ? count(report.dataFrom) : 0) << ' '
              << report.clockBound.count() << '\n';
}

void lead(const Link& link, const std::string& name, std::ptrdiff_t recorders) {
    TakeLeader leader(link);
    leader.arm(name);
    for (auto reports = leader.recorders();
         std::count_if(reports.begin(), reports.end(), isArmed) < recorders;
         reports = leader.recorders()) {
        std::this_thread::sleep_for(moment);
    }
    std::cout << "armed" << std::endl;
    for (std::string command; std::getline(std::cin, command);) {
        if (command == "start") {
            std::cout << count(leader.start(notice).starts) << std::endl;
        } else if (command == "end") {
            std::cout << count(leader.end(notice).ends) << std::endl;
        } else {
            for (const RecorderReport& report : leader.recorders()) {
                say(report);
            }
            std::cout << '.' << std::endl;
        }
    }
}

/// How far off the leader's clock may be taken to be at an instant, in nanoseconds.
std::int64_t boundOf(const TakeFollower& follower, Clock::Instant instant) {
    const auto clock = follower.clock();
    return clock ? clock->boundAt(instant).count() : 0;
}

/// Records one take, and ends with it.
void record(const Link& link, const std::string& file, std::int64_t rate) {
    TakeFollower follower(link);
    const tarn::kit::SteadyClock clock;
    std::ofstream out(file);
    RecorderReport report;
    report.file = file;
    std::uint64_t take = 0;
    const Clock::Instant began = clock.now();
    std::int64_t tick = 0;
    bool isReady = false;
    for (;; std::this_thread::sleep_for(moment)) {
        const TakeCall call = follower.call();
        if (take != 0 && call.take != take) {
            break; // somebody leads another one
        }
        if (!isReady && call.phase != TakePhase::Idle && follower.clock()) {
            isReady = true;
            take = call.take;
            follower.report(report);
        }
        bool isOver = false;
        const Clock::Instant now = clock.now();
        for (;; ++tick) {
            const Clock::Instant instant =
                began + std::chrono::nanoseconds(tick * 1'000'000'000 / rate);
            if (instant > now) {
                break;
            }
            const std::int64_t before = boundOf(follower, instant);
            const TakePlace place = follower.placeOf(instant);
            isOver = isOver || place == TakePlace::After;
            if (place == TakePlace::Within) {
                // What is known of the clock may have changed meanwhile.
                out << count(instant) << ' ' << std::max(before, boundOf(follower, instant))
                    << '\n';
                if (!report.hasData) {
                    report.dataFrom = instant;
                }
                report.hasData = true;
                report.phase = RecorderPhase::Recording;
                ++report.frames;
            }
        }
        out.flush();
        if (isOver) {
            break;
        }
        if (report.phase == RecorderPhase::Recording) {
            follower.report(report);
        }
    }
    report.phase = RecorderPhase::Ended;
    follower.report(report);
    std::cout << "ended" << std::endl;
    for (std::string line; std::getline(std::cin, line);) { // so that it can still be heard
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        return 2;
    }
    try {
        LinkOptions options;
        options.domain = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10));
        options.peers = {argv[3]};
        const Link link(options);
        const std::int64_t number = std::strtoll(argv[5], nullptr, 10);
        if (std::string(argv[1]) == "lead") {
            lead(link, argv[4], number);
        } else {
            record(link, argv[4], number);
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
