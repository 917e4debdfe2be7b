// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/devices/ReplayDevice.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tarn::capture {

/// Watches a device stream: notes when each frame comes, pauses the device after the last one that
/// is wanted, and lets another thread wait for the end.
class StreamWatch {
public:
    using Instants = std::vector<kit::Clock::Instant>;

    /// `arrived` is called for each frame of a port, on the device's thread. The device must
    /// outlive the watch and not stream yet. Precondition: `wanted` is greater than 0.
    StreamWatch(kit::ReplayDevice& device, std::shared_ptr<const kit::Clock> clock, int wanted,
                std::function<void()> arrived, int port = kit::ReplayDevice::posePort);
    ~StreamWatch();
    StreamWatch(const StreamWatch&) = delete;
    StreamWatch& operator=(const StreamWatch&) = delete;

    /// False if a stop was requested before; the device streams on then.
    bool waitForEnd(const std::function<bool()>& stopRequested = [] { return false; });
    /// When each frame came. For after the end, once the device has been stopped.
    const Instants& arrivals() const { return arrivals_; }

private:
    void frameArrived();
    void end();

    kit::ReplayDevice& device_;
    const std::shared_ptr<const kit::Clock> clock_;
    const int wanted_;
    const int port_;
    const std::function<void()> arrived_;
    Instants arrivals_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool hasEnded_ = false;
};

/// How far frames were off an even beat that starts with the first, in milliseconds.
struct Jitter {
    double median;
    double nearly; ///< 99 of 100 frames are within it
    double largest;
};

/// Precondition: there are arrivals, and `framesPerSecond` is greater than 0.
Jitter jitterOf(const StreamWatch::Instants& arrivals, double framesPerSecond);

/// From the first arrival to the last, in seconds.
double durationOf(const StreamWatch::Instants& arrivals);

} // namespace tarn::capture
