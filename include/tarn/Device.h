// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/CommInterface.h>
#include <tarn/Export.h>
#include <tsignal/Signal.h>

#include <list>
#include <memory>
#include <string>

namespace tarn {

/// A piece of capture hardware: itself a channel that takes requests, with a connection state that
/// listeners follow, and with further channels attached to it. A concrete device overrides
/// `doRequest` and drives `setState`.
///
/// Ownership: an attached channel is a child of the device and no more: nothing is owned, and who
/// destroys a channel detaches it first.
///
/// Threads: `setState` may be called from the device's own thread, where its listeners then run,
/// and the state may be read from any: who connects to `onStateChanged` and then reads it is told
/// of a change or reads it. For requests and ports see `CommInterface` and `StreamNode`; channels
/// are attached, detached and listed from one thread at a time.
class TARN_EXPORT Device : public CommInterface {
public:
    enum DeviceState : int { Unknown, Lost, Ready, Busy };

    /// In the state `Unknown`. `type` is the kind of device, `id` tells it from others of its kind.
    Device(const std::string& type, const std::string& id);
    ~Device() override;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    DeviceState state() const;
    /// Stores the state, then announces it, on every call, the same state included. A value that
    /// has no name is stored like the others, and is neither lost nor ready nor busy.
    void setState(DeviceState state);
    bool isLost() const;
    bool isReady() const;
    bool isBusy() const;

    /// Attaches a channel as by `Object::addChild`, which checks nothing, then announces it.
    void addCommInterface(CommInterface* channel);
    /// Detaches a channel as by `Object::removeChild`, then announces it, even if it was not
    /// attached.
    void removeCommInterface(CommInterface* channel);
    /// The children that are channels, devices included, in the order in which they were attached;
    /// a channel attached twice is listed twice.
    std::list<CommInterface*> commInterfaces() const;
    /// Those of the attached channels that are of exactly this type; empty if there are none.
    std::list<CommInterface*> commInterfaces(const std::string& type) const;

    /// After the state was set, with the new state.
    tsignal::Signal<DeviceState>& onStateChanged();
    /// After a channel was attached, with the channel.
    tsignal::Signal<CommInterface*>& onCommInterfaceAvailable();
    /// After a channel was detached, with the channel.
    tsignal::Signal<CommInterface*>& onCommInterfaceUnavailable();

protected:
    /// In the state `Unknown`, of empty type and identifier, for subclasses that call `init` once
    /// before use.
    Device();
    /// Replaces type and identifier.
    void init(const std::string& type, const std::string& id);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
