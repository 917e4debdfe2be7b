// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A program of another version: offers a stream 'stage' in that version until its input ends.
//
// usage: tarn_version_peer DOMAIN PEER VERSION

#include "link/Stranger.h"

#include <tarn_link.h>
#include <tarn_link/stream/Link.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <string>

int main(int argc, char** argv) {
    using namespace tarn::link;
    if (argc != 4) {
        return 2;
    }
    try {
        const auto number = [&](int at) {
            return static_cast<std::uint32_t>(std::strtoul(argv[at], nullptr, 10));
        };
        LinkOptions options;
        options.domain = number(1);
        options.peers = {argv[2]};
        const Link link(options); // sets up the network as the options say
        const Stranger offers(options.domain, &tarn_wire_Offer_desc, "tarn_offer", nullptr, true);
        std::string name = "stage";
        std::string host = "elsewhere";
        std::string program = "another";
        tarn_wire_Offer offer{};
        offer.stream = 77;
        offer.name = name.data();
        offer.host = host.data();
        offer.program = program.data();
        offer.version = number(3);
        offers.write(&offer);
        std::cout << "ready" << std::endl;
        std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
