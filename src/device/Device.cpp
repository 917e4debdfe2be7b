// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Device.h>

#include "core/TypedLinks.h"

#include <atomic>

namespace tarn {

struct Device::PrivateData {
    tsignal::Signal<DeviceState> onStateChanged;
    tsignal::Signal<CommInterface*> onCommInterfaceAvailable;
    tsignal::Signal<CommInterface*> onCommInterfaceUnavailable;
    // Set on the device's thread, polled by hosts. In the single total order, so that who connects
    // and then looks is told of a change or sees it.
    std::atomic<DeviceState> state = Unknown;
};

Device::Device() : d_(std::make_unique<PrivateData>()) {}

Device::Device(const std::string& type, const std::string& id)
    : CommInterface(type, id), d_(std::make_unique<PrivateData>()) {}

Device::~Device() = default;

void Device::init(const std::string& type, const std::string& id) { CommInterface::init(type, id); }

Device::DeviceState Device::state() const { return d_->state; }

void Device::setState(DeviceState state) {
    d_->state = state;
    d_->onStateChanged.emit(state);
}

bool Device::isLost() const { return d_->state == Lost; }

bool Device::isReady() const { return d_->state == Ready; }

bool Device::isBusy() const { return d_->state == Busy; }

void Device::addCommInterface(CommInterface* channel) {
    addChild(channel);
    d_->onCommInterfaceAvailable.emit(channel);
}

void Device::removeCommInterface(CommInterface* channel) {
    removeChild(channel);
    d_->onCommInterfaceUnavailable.emit(channel);
}

std::list<CommInterface*> Device::commInterfaces() const {
    return typedChildren<CommInterface>(*this);
}

std::list<CommInterface*> Device::commInterfaces(const std::string& type) const {
    return typedChildrenWhere<CommInterface>(
        *this, [&type](const CommInterface* channel) { return channel->type() == type; });
}

tsignal::Signal<Device::DeviceState>& Device::onStateChanged() { return d_->onStateChanged; }

tsignal::Signal<CommInterface*>& Device::onCommInterfaceAvailable() {
    return d_->onCommInterfaceAvailable;
}

tsignal::Signal<CommInterface*>& Device::onCommInterfaceUnavailable() {
    return d_->onCommInterfaceUnavailable;
}

} // namespace tarn
