// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Device.h>
#include <tarn_kit/Export.h>

#include <functional>
#include <memory>

namespace tarn::kit {

/// For authors of devices: the state of a device, of which every change is announced, one after the
/// other:
///
/// ```
/// kit::StateAnnouncer states{Lost, [this](DeviceState state) { setState(state); }};
/// ```
///
/// A listener may give a command that changes the state again. Everyone else hears of the change
/// that is being announced before anyone hears of the next, so all hear the same changes in the
/// same order, and the last one they hear of is the state that the device is in.
///
/// Threads: everything may be called from any thread but construction and destruction. No lock is
/// held while something is announced.
class TARN_KIT_EXPORT StateAnnouncer {
public:
    using Announce = std::function<void(Device::DeviceState)>;

    /// Begins in a state that is not announced. `announce` must not throw.
    /// Precondition: `announce` is there.
    StateAnnouncer(Device::DeviceState state, Announce announce);
    /// Precondition: nothing is being announced, so a listener must not destroy it, nor the device:
    /// one that wants to has another thread do so.
    ~StateAnnouncer();
    StateAnnouncer(const StateAnnouncer&) = delete;
    StateAnnouncer& operator=(const StateAnnouncer&) = delete;

    /// The state that was entered last, which may still wait to be announced.
    Device::DeviceState state() const;
    /// Enters a state, and returns once it has been announced; does nothing if it is in that state.
    /// Called by a listener, or while another thread announces, it returns at once: the change is
    /// announced by the call that is at it.
    void enter(Device::DeviceState state);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
