// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "devices/ReplayPlayer.h"

#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/devices/WakeableWait.h>

#include <cassert>
#include <utility>

namespace tarn::kit {

struct ReplayDevice::PrivateData {
    PrivateData(ReplayDevice& device, std::shared_ptr<Clock> itsClock)
        : clock(std::move(itsClock)),
          player(*clock, device.addOFramePort(posePort), device.addOFramePort(markerPort),
                 [&device](DeviceState state) { device.setState(state); }),
          thread({[this](const Request& request, Reply& reply) {
                      return player.handle(request, reply);
                  },
                  [this] { wait.until(*clock, player.due()); }, [this] { wait.wake(); },
                  [this] {
                      if (isFrameDue()) {
                          player.sendNext();
                      }
                  },
                  Closing}) {}

    bool isFrameDue() const;

    const std::shared_ptr<Clock> clock;
    ReplayPlayer player; ///< for the device's own thread
    WakeableWait wait;
    CommandThread thread; ///< goes before all that it works with
};

bool ReplayDevice::PrivateData::isFrameDue() const {
    const std::optional<Clock::Instant> due = player.due();
    return due && clock->now() >= *due;
}

ReplayDevice::ReplayDevice(const std::string& id, std::shared_ptr<Clock> clock)
    : Device("replay", id) {
    assert(clock != nullptr);
    setState(Lost);
    d_ = std::make_unique<PrivateData>(*this, std::move(clock));
    d_->thread.start();
}

ReplayDevice::~ReplayDevice() { d_->thread.close(); }

BvhTake ReplayDevice::open(const std::filesystem::path& file) {
    return command(*this, "open", file)->dataAs<BvhTake>();
}

void ReplayDevice::open(const BvhTake& take) { command(*this, "open", take); }

void ReplayDevice::open(const C3dTake& take) { command(*this, "open", take); }

void ReplayDevice::start() { command(*this, "start"); }

void ReplayDevice::pause() { command(*this, "pause"); }

void ReplayDevice::stop() { command(*this, "stop"); }

void ReplayDevice::seek(int frameIndex) { command(*this, "seek", frameIndex); }

void ReplayDevice::setSpeed(double factor) { command(*this, "rate", factor); }

ReplayStatus ReplayDevice::status() { return command(*this, "status")->dataAs<ReplayStatus>(); }

void ReplayDevice::doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) {
    d_->thread.request(std::move(request), std::move(reply));
}

} // namespace tarn::kit
