// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Interrupt.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <thread>

namespace tarn::capture {

namespace {

constexpr std::array<int, 3> stopSignals{SIGINT, SIGTERM, SIGHUP};

// All that a signal handler may touch.
std::atomic<int> requested{0}; ///< the number of the first signal
static_assert(std::atomic<int>::is_always_lock_free);

constexpr int exitCodeOf(int number) { return 128 + number; } // as a shell reports it

extern "C" void request(int number) {
    int none = 0;
    if (!requested.compare_exchange_strong(none, number)) {
        ::_exit(exitCodeOf(number));
    }
}

std::array<struct sigaction, stopSignals.size()> before;

} // namespace

Interrupt::Interrupt() {
    requested = 0;
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
bool Interrupt::isRequested() const { return requested != 0; }

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
int Interrupt::exitCode() const { return exitCodeOf(requested); }

bool pause(std::chrono::milliseconds duration, const Interrupt& interrupt) {
    const auto latest = std::chrono::steady_clock::now() + duration;
    while (!interrupt.isRequested() && std::chrono::steady_clock::now() < latest) {
        constexpr auto beat = std::chrono::milliseconds(20);
        std::this_thread::sleep_for(beat);
    }
    return !interrupt.isRequested();
}

} // namespace tarn::capture
