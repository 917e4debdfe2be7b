// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/StateAnnouncer.h>

#include <cassert>
#include <deque>
#include <mutex>
#include <utility>

namespace tarn::kit {

struct StateAnnouncer::PrivateData {
    PrivateData(Device::DeviceState itsState, Announce itsAnnounce)
        : announce(std::move(itsAnnounce)), state(itsState) {}

    const Announce announce;
    std::mutex mutex; ///< guards what follows
    Device::DeviceState state;
    std::deque<Device::DeviceState> pending; ///< the first one is being announced
};

StateAnnouncer::StateAnnouncer(Device::DeviceState state, Announce announce)
    : d_(std::make_unique<PrivateData>(state, std::move(announce))) {
    assert(d_->announce);
}

StateAnnouncer::~StateAnnouncer() { assert(d_->pending.empty()); }

Device::DeviceState StateAnnouncer::state() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->state;
}

void StateAnnouncer::enter(Device::DeviceState state) {
    std::unique_lock<std::mutex> lock(d_->mutex);
    if (state == d_->state) {
        return;
    }
    d_->state = state;
    d_->pending.push_back(state);
    if (d_->pending.size() > 1) {
        return; // all listeners hear of the change before it first
    }
    while (!d_->pending.empty()) {
        const Device::DeviceState next = d_->pending.front();
        lock.unlock();
        d_->announce(next);
        lock.lock();
        d_->pending.pop_front();
    }
}

} // namespace tarn::kit
