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
//   clock_peer answer DOMAIN PEER
//     says the number of its clock, and ends with its input
//   clock_peer ask DOMAIN PEER CLOCK
//     says for each line of its input, as soon as it knows anything, what it knows of that clock:
//     the offset now, its bound, the round trip (ns), the drift, its bound, and how many exchanges
//     and steps there were

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

void ask(const tarn::link::Link& link, std::uint64_t number) {
    const tarn::link::LinkClock clock(link, number);
    for (std::string line; std::getline(std::cin, line);) {
        auto relation = clock.relation();
        for (; !relation; relation = clock.relation()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        tell(clock, *relation);
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
        } else if (argc == 5) {
            ask(link, std::strtoull(argv[4], nullptr, 10));
        }
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
