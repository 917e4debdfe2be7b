// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/RateLimit.h"

#include <tarn/Device.h>
#include <tarn_kit/devices/StateAnnouncer.h>
#include <tarn_link/stream/LinkStatus.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

namespace tarn::link {

/// What a device says about its stream: what happens to it, of which the latest is kept, and how
/// the device stands. For the device's thread; who listens may give the device commands.
class StreamNews {
public:
    struct Listeners {
        std::function<void(const LinkEvent&)> event;
        std::function<void(Device::DeviceState)> state;
    };

    /// `clock` lives longer.
    StreamNews(const kit::Clock& clock, Listeners listeners);

    /// Of the stream as a whole.
    void tell(LinkEvent::Kind kind, std::string text);
    /// Of frames of a track: the number of the first, and how many.
    void tell(LinkEvent::Kind kind, std::string text, std::size_t track, std::uint64_t first,
              std::uint64_t count = 1);
    /// Counts what cannot be, and tells why. `track` is -1 for the stream as a whole.
    void refuse(const std::string& why, int track = -1);
    /// Announces a state, if it is another one.
    void enter(Device::DeviceState state) { states_.enter(state); }
    /// Forgets what happened.
    void clear();

    Device::DeviceState state() const { return states_.state(); }
    std::uint64_t refused() const noexcept { return refused_; }
    const std::deque<LinkEvent>& events() const noexcept { return events_; }

private:
    void tell(LinkEvent event);
    /// What a sender can have happen as often as it likes is told only so often.
    void tellNow(LinkEvent event);

    const kit::Clock& clock_;
    const std::function<void(const LinkEvent&)> event_;
    std::deque<LinkEvent> events_;
    RateLimit toldRate_{100, 200};
    std::uint64_t refused_ = 0;
    kit::StateAnnouncer states_;
};

} // namespace tarn::link
