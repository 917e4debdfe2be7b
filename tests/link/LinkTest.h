// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/OwnDomain.h"

#include <tarn/Frame.h>
#include <tarn/StreamNode.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_link/stream/LinkDevice.h>
#include <tarn_link/stream/LinkPublisher.h>
#include <tsignal/Signal.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarn::link {

/// In a domain that no other test has.
inline LinkOptions ownDomain() {
    LinkOptions options;
    options.domain = tarn::tests::ownDomain();
    return options;
}

/// Long enough for any machine.
inline constexpr auto longEnough = std::chrono::seconds(60);

/// Waits until `condition()` holds; false if it does not.
template <class Condition>
bool eventually(Condition condition) {
    const auto latest = std::chrono::steady_clock::now() + longEnough;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > latest) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// A source of frames: whoever publishes is tied to its port.
class Source : public StreamNode {
public:
    explicit Source(int ports = 1) {
        for (int port = 0; port < ports; ++port) {
            addOFramePort(port);
        }
    }
    void tieTo(LinkPublisher& publisher) {
        for (const int port : supportOFramePorts()) {
            publisher.tieToIFramePort(port, oFramePort(port));
        }
    }
    void send(const std::shared_ptr<Frame>& frame, int port = 0) { oFramePort(port).emit(frame); }
};

/// What comes out of a port, in order.
class Arrivals {
public:
    using Frames = std::vector<std::shared_ptr<Frame>>;

    explicit Arrivals(tsignal::Signal<std::shared_ptr<Frame>>& port)
        : connection_(port.connect([this](const std::shared_ptr<Frame>& frame) {
              const std::lock_guard<std::mutex> lock(mutex_);
              frames_.push_back(frame);
              came_.notify_all();
          })) {}

    /// Waits for so many, and returns all that have come.
    Frames await(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        came_.wait_for(lock, longEnough, [&] { return frames_.size() >= count; });
        return frames_;
    }
    Frames frames() { return await(0); }

private:
    std::mutex mutex_;
    std::condition_variable came_;
    Frames frames_;
    tsignal::ScopedConnection connection_;
};

/// A rig of a hip with a head on it, which ends there.
inline std::shared_ptr<const kit::Rig> smallRig() {
    using kit::Channel;
    auto rig = std::make_shared<kit::Rig>();
    const int hips = rig->addJoint("Hips", -1, {0, 90, 0},
                                   {Channel::Xposition, Channel::Yposition, Channel::Zposition,
                                    Channel::Zrotation, Channel::Xrotation, Channel::Yrotation});
    const int head = rig->addJoint("Head", hips, {0, 60, 0}, {Channel::Zrotation});
    rig->addEndSite(head, {0, 20, 0.5F});
    kit::Space space;
    space.unit = {"cm", "centimetres", 0.01};
    space.unitOrigin = kit::Origin::Stated;
    space.up = kit::UpAxis::Z;
    rig->setSpace(space);
    rig->setStanding(kit::UpAxis::Y);
    return rig;
}

inline kit::TrackDescription bodyDescription() {
    kit::TrackDescription description;
    description.subject = "Ada";
    description.rate = kit::Rate(120);
    description.rig = smallRig();
    return description;
}

/// A body of `smallRig` that differs from frame to frame.
inline std::shared_ptr<Frame> bodyFrame(unsigned index) {
    kit::BodyPose body;
    for (int segment = 0; segment < 3; ++segment) {
        body.segments.push_back(
            {{static_cast<float>(index), static_cast<float>(segment), 0.25F}, {0, 0, 0, 1}});
    }
    return std::make_shared<Frame>(Time(index, 120), kit::bodyDataType, std::move(body));
}

inline kit::TrackDescription markerDescription() {
    kit::TrackDescription description;
    description.rate = kit::Rate(120);
    description.labels = {{"Ada", "LFHD", "left front head", "mm"}, {"", "*2", "", "mm"}};
    return description;
}

inline std::shared_ptr<Frame> markerFrame(unsigned index) {
    return std::make_shared<Frame>(
        Time(index, 120), kit::markerDataType,
        kit::MarkerFrame({kit::Marker::at({static_cast<float>(index), 1, 2}, 0.5F, 3), {}}));
}

} // namespace tarn::link
