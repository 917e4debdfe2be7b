// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>
#include <tarn_link/stream/LinkPublisher.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tarn::capture {

// How commands offer what they publish.

/// --await N: how many receivers are waited for.
void addAwait(CLI::App& command, int& receivers);

/// For streams of this program.
link::PublisherOptions publisherOptions();

struct Offer {
    std::string name;
    std::uint32_t domain = 0;
    int receivers = 0; ///< that are waited for
    std::size_t tracks = 0;
};

/// Offers a stream, says so, and waits until so many receivers take every frame. False if a stop
/// was requested before.
bool offer(link::LinkPublisher& publisher, const Offer& what,
           const std::function<bool()>& stopRequested);

/// Ends a stream of so many frames, and says how many were sent. Returns why not every receiver
/// surely has all of them; empty if they have.
std::string endStream(link::LinkPublisher& publisher, std::size_t frames);

} // namespace tarn::capture
