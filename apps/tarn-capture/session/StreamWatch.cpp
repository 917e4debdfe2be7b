// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/StreamWatch.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tarn::capture {

namespace {

double secondsBetween(kit::Clock::Instant from, kit::Clock::Instant to) {
    return std::chrono::duration<double>(to - from).count();
}

double quantile(const std::vector<double>& ascending, double part) {
    const auto last = static_cast<double>(ascending.size() - 1);
    return ascending[static_cast<std::size_t>(std::lround(part * last))];
}

} // namespace

StreamWatch::StreamWatch(kit::ReplayDevice& device, std::shared_ptr<const kit::Clock> clock,
                         int wanted, std::function<void()> arrived, int port)
    : device_(device), clock_(std::move(clock)), wanted_(wanted), port_(port),
      arrived_(std::move(arrived)) {
    arrivals_.reserve(static_cast<std::size_t>(wanted));
    device.oFramePort(port_).connect(this,
                                     [this](const std::shared_ptr<Frame>&) { frameArrived(); });
    device.onStateChanged().connect(this, [this](Device::DeviceState state) {
        if (state == Device::Ready) {
            end();
        }
    });
}

StreamWatch::~StreamWatch() {
    device_.oFramePort(port_).disconnect(this);
    device_.onStateChanged().disconnect(this);
}

bool StreamWatch::waitForEnd(const std::function<bool()>& stopRequested) {
    constexpr auto beat = std::chrono::milliseconds(50); // how soon a request to stop is heard
    std::unique_lock<std::mutex> lock(mutex_);
    while (!ended_.wait_for(lock, beat, [this] { return hasEnded_; })) {
        if (stopRequested()) {
            return false;
        }
    }
    return true;
}

void StreamWatch::frameArrived() {
    arrivals_.push_back(clock_->now());
    arrived_();
    if (static_cast<int>(arrivals_.size()) == wanted_) {
        device_.pause(); // answered at once, so not one frame more is sent
    }
}

void StreamWatch::end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    hasEnded_ = true;
    ended_.notify_all();
}

Jitter jitterOf(const StreamWatch::Instants& arrivals, double framesPerSecond) {
    std::vector<double> late;
    late.reserve(arrivals.size());
    for (std::size_t i = 0; i < arrivals.size(); ++i) {
        const double due = static_cast<double>(i) / framesPerSecond;
        late.push_back(1000 * std::abs(secondsBetween(arrivals.front(), arrivals[i]) - due));
    }
    std::sort(late.begin(), late.end());
    return {quantile(late, 0.5), quantile(late, 0.99), late.back()};
}

double durationOf(const StreamWatch::Instants& arrivals) {
    return arrivals.empty() ? 0 : secondsBetween(arrivals.front(), arrivals.back());
}

} // namespace tarn::capture
