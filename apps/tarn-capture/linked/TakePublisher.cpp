// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/TakePublisher.h"

#include "linked/Publication.h"
#include "markers/MarkerFrames.h"
#include "recording/Recording.h"
#include "session/TakeFile.h"

#include <tarn_kit/files/TrackDescription.h>

#include <chrono>
#include <utility>

namespace tarn::capture {

TakePublisher::TakePublisher(const std::shared_ptr<link::Link>& link, const std::string& name,
                             const std::vector<std::string>& takes, double speed,
                             const SpaceChoice& space)
    : publisher_(link, name, publisherOptions()) {
    const std::vector<std::string> names = uniqueTakeNames(takes);
    for (std::size_t i = 0; i < takes.size(); ++i) {
        add(takes[i], names[i], speed, space);
    }
}

TakePublisher::~TakePublisher() { devices_.clear(); }

void TakePublisher::add(const std::string& take, const std::string& name, double speed,
                        const SpaceChoice& space) {
    TakeFile file(take);
    auto device = std::make_unique<kit::ReplayDevice>(name);
    int port = kit::ReplayDevice::posePort;
    int track = 0;
    if (file.holdsMarkers()) {
        const kit::C3dTake markers = withSpace(file.readMarkers(), space);
        port = kit::ReplayDevice::markerPort;
        track = publisher_.addTrack(kit::markerDataType, describedMarkers(markers, name));
        frameCount_ += static_cast<std::size_t>(markers.tracks->timeLength());
        device->open(markers);
        for (MarkerBeside& beside : besidesOf(markers, name)) {
            addBeside(std::move(beside), device->oFramePort(port));
        }
    } else {
        const kit::BvhTake body = withSpace(file.read(), space);
        track = publisher_.addTrack(kit::poseDataType, kit::TrackDescription::of(body, name));
        frameCount_ += static_cast<std::size_t>(body.tracks->timeLength());
        device->open(body);
    }
    device->setSpeed(speed);
    ++trackCount_;
    publisher_.tieToIFramePort(track, device->oFramePort(port));
    device->onStateChanged().connect([this](Device::DeviceState state) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (state == Device::Ready) {
            --playing_;
            changed_.notify_all();
        }
    });
    devices_.push_back(std::move(device));
}

/// The port lives until no frame comes any more.
void TakePublisher::addBeside(MarkerBeside beside, Port& markers) {
    const int track = publisher_.addTrack(beside.dataType, beside.description);
    ++trackCount_;
    frameCount_ += static_cast<std::size_t>(beside.take->timeLength());
    const auto out = std::make_shared<Port>();
    publisher_.tieToIFramePort(track, *out);
    markers.connect([out, beside = std::move(beside)](const std::shared_ptr<Frame>& frame) {
        beside.send(*frame, *out);
    });
}

bool TakePublisher::play(const std::function<bool()>& stopRequested) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        playing_ = devices_.size();
    }
    for (const auto& device : devices_) {
        device->start();
    }
    std::unique_lock<std::mutex> lock(mutex_);
    constexpr auto beat = std::chrono::milliseconds(50); // how soon a request to stop is heard
    while (!changed_.wait_for(lock, beat, [this] { return playing_ == 0; })) {
        if (stopRequested()) {
            lock.unlock();
            for (const auto& device : devices_) {
                device->pause();
            }
            return false;
        }
    }
    return true;
}

} // namespace tarn::capture
