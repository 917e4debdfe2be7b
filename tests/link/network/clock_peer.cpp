// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/clock/LinkClock.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <thread>

// One end of a measurement of clocks:
//
//   clock_peer answer DOMAIN PEER                 says the number of its clock, and ends with its
//   input clock_peer ask DOMAIN PEER CLOCK SECONDS      says every half second what it knows of
//   that clock: the offset
//                                                 now, its bound, the round trip (ns), the drift,
//                                                 its bound, and how many exchanges and steps there
//                                                 were

namespace {

using tarn::kit::Clock;
using tarn::kit::ClockRelation;

void answer(const tarn::link::Link& link) {
    std::cout << link.clock() << std::endl;
    std::string line;
    std::getline(std::cin, line);
}

void tell(const tarn::link::LinkClock& clock, const ClockRelation& relation) {
    const Clock::Instant now = tarn::kit::SteadyClock().now();
    const auto counts = clock.counts();
    std::printf("%lld %lld %lld %.12g %.12g %lld %lld\n",
                static_cast<long long>((relation.toRemote(now) - now).count()),
                static_cast<long long>(relation.boundAt(now).count()),
                static_cast<long long>(relation.roundTrip.count()), relation.drift,
                relation.driftBound, static_cast<long long>(counts.exchanges),
                static_cast<long long>(counts.steps));
    std::fflush(stdout);
}

void ask(const tarn::link::Link& link, std::uint64_t number, double seconds) {
    const tarn::link::LinkClock clock(link, number);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const auto relation = clock.relation();
        if (relation) {
            tell(clock, *relation);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        return 2;
    }
    try {
        tarn::link::LinkOptions options;
        options.domain = static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10));
        options.peers = {argv[3]};
        const tarn::link::Link link(options);
        if (std::string(argv[1]) == "answer") {
            answer(link);
        } else if (argc == 6) {
            ask(link, std::strtoull(argv[4], nullptr, 10), std::strtod(argv[5], nullptr));
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
