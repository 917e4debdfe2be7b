// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/clock/LinkClock.h>
#include <tarn_link/stream/LinkDevice.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarn::link {

/// Why a device is not connected to the stream of this name, of whose descriptions so many were
/// turned away: a line, whatever it is.
std::string whyNotConnected(const Link& link, const std::string& name, std::uint64_t turnedAway);

/// What others than the device's thread see of its stream.
struct StreamView {
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::string name;
    std::vector<LinkTrack> tracks;
    std::shared_ptr<LinkClock> clock; ///< of the publisher that was connected last
    std::uint64_t turnedAway = 0;     ///< descriptions, since it was opened
    bool isConnected = false;
    bool isOver = false; ///< it has ended, or has gone
};

} // namespace tarn::link
