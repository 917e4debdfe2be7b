// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Interrupt.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>

namespace tarn::capture {

namespace {

constexpr std::array<int, 2> stopSignals{SIGINT, SIGTERM};

// All that a signal handler may touch.
std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void request(int number) {
    if (requested.exchange(true)) {
        ::_exit(128 + number); // as a shell reports it
    }
}

std::array<struct sigaction, stopSignals.size()> before;

} // namespace

Interrupt::Interrupt() {
    requested = false;
    struct sigaction action {}; // without SA_RESTART: nothing that waits outlasts the request
    action.sa_handler = request;
    for (std::size_t i = 0; i < stopSignals.size(); ++i) {
        ::sigaction(stopSignals.at(i), nullptr, &before.at(i));
        if (before.at(i).sa_handler != SIG_IGN) { // who ignores them means it
            ::sigaction(stopSignals.at(i), &action, nullptr);
        }
    }
}

Interrupt::~Interrupt() {
    for (std::size_t i = 0; i < stopSignals.size(); ++i) {
        ::sigaction(stopSignals.at(i), &before.at(i), nullptr);
    }
}

// Asked of one that lives, though the answer is not in it: signal handlers have no object.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
bool Interrupt::isRequested() const { return requested; }

} // namespace tarn::capture
