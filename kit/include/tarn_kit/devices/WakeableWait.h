// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Clock.h>

#include <memory>
#include <optional>

namespace tarn::kit {

/// For authors of devices: the wait of a `CommandThread` whose work comes at instants, or is told
/// of by `wake`. With it a device needs no lock of its own:
///
/// ```
/// CommandThread thread({..., [this] { wait.until(clock, due()); }, [this] { wait.wake(); }, ...});
/// ```
///
/// A wake counts for the wait that goes on, or for the next one if there is none; several of them
/// count once.
///
/// Threads: `wake` may be called from any thread, and takes no lock but its own; one thread waits.
class TARN_KIT_EXPORT WakeableWait {
public:
    WakeableWait();
    /// Precondition: nobody waits.
    ~WakeableWait();
    WakeableWait(const WakeableWait&) = delete;
    WakeableWait& operator=(const WakeableWait&) = delete;

    /// Blocks until it is woken.
    void untilWoken();
    /// Blocks until `instant` of `clock` has come or it is woken, whichever is first, and returns
    /// whether it was woken. Without an instant it blocks until it is woken.
    bool until(Clock& clock, const std::optional<Clock::Instant>& instant);
    void wake();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
