// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace tarn::capture {

/// While it lives, the first Ctrl-C (or SIGTERM) is a request to stop, which the program meets when
/// it can; a second one ends the program at once. At most one lives at a time.
class Interrupt {
public:
    Interrupt();
    /// Gives both signals back their usual meaning.
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    bool isRequested() const;
};

} // namespace tarn::capture
