// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/WakeableWait.h>

#include <condition_variable>
#include <mutex>
#include <utility>

namespace tarn::kit {

struct WakeableWait::PrivateData {
    std::mutex mutex;
    std::condition_variable woken;
    bool isWoken = false; ///< guarded by the mutex
};

WakeableWait::WakeableWait() : d_(std::make_unique<PrivateData>()) {}

WakeableWait::~WakeableWait() = default;

void WakeableWait::untilWoken() {
    std::unique_lock<std::mutex> lock(d_->mutex);
    d_->woken.wait(lock, [this] { return d_->isWoken; });
    d_->isWoken = false;
}

bool WakeableWait::until(Clock& clock, const std::optional<Clock::Instant>& instant) {
    if (!instant) {
        untilWoken();
        return true;
    }
    const bool isAhead = clock.now() < *instant; // one that has come costs no call of the system
    std::unique_lock<std::mutex> lock(d_->mutex);
    if (isAhead) {
        clock.waitUntil(lock, d_->woken, *instant, [this] { return d_->isWoken; });
    }
    return std::exchange(d_->isWoken, false);
}

void WakeableWait::wake() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->isWoken = true;
    d_->woken.notify_one();
}

} // namespace tarn::kit
