// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "linked/LiveFrames.h"

#include <tarn/Device.h>
#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/devices/WakeableWait.h>
#include <tsignal/Signal.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace tarn::capture {

/// A device that sends a take while it is being made. "start" begins with its first frame, however
/// much has come since, so that a session can be calibrated with the beginning and then record all;
/// "stop" ends that. It is busy from "start" until it has sent the last frame.
class LiveDevice final : public Device {
public:
    using FramePtr = std::shared_ptr<Frame>;
    /// Makes what is sent of a frame that came; `before` is what was sent last, or null after
    /// "start". One of which it makes nothing is left out. It runs on the device's thread and must
    /// not throw.
    using Convert = std::function<FramePtr(const FramePtr& frame, const FramePtr& before)>;

    /// Sends out of `port`. Without `convert`, frames are sent as they are.
    LiveDevice(const std::string& id, int port, std::shared_ptr<LiveFrames> frames,
               Convert convert = {});
    ~LiveDevice() override;
    LiveDevice(const LiveDevice&) = delete;
    LiveDevice& operator=(const LiveDevice&) = delete;

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override;

private:
    bool handle(const Request& request, Reply& reply);
    void sendNext();

    const std::shared_ptr<LiveFrames> frames_;
    const Convert convert_;
    tsignal::Signal<FramePtr>& output_;
    std::size_t next_ = 0; ///< for the device's own thread, as is the next
    FramePtr before_;
    kit::WakeableWait wait_;
    kit::CommandThread thread_;
    tsignal::ScopedConnection changes_;
};

} // namespace tarn::capture
