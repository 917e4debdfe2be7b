// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/stream/Link.h>

#include <chrono>
#include <cstdint>
#include <thread>
#include <unistd.h>

namespace tarn::link {

/// A domain of this process: tests that run at the same time do not hear each other.
inline LinkOptions ownDomain() {
    LinkOptions options;
    options.domain = 1 + static_cast<std::uint32_t>(getpid()) % 199;
    return options;
}

/// Waits until `condition()` holds; false if it does not within what is long enough for any
/// machine.
template <class Condition>
bool eventually(Condition condition) {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > latest) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace tarn::link
