// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>

namespace tarn::capture {

/// While it lives, the first Ctrl-C, hang-up of the terminal or SIGTERM is a request to stop, which
/// the program meets when it can; a second one ends the program at once. At most one lives at a
/// time.
class Interrupt {
public:
    Interrupt();
    /// Gives the signals back their usual meaning.
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool isRequested() const;
    /// How a program ends that has met the request: with 128 and the number of the signal, as
    /// shells have it (130 for Ctrl-C, 129 for a hang-up, 143 for SIGTERM). Only after a request.
    int exitCode() const;
};

/// How long is waited for what only a stop ends.
inline constexpr std::chrono::hours forever(24 * 365);

/// Waits for so long. False if a stop was requested before.
bool pause(std::chrono::milliseconds duration, const Interrupt& interrupt);

} // namespace tarn::capture
