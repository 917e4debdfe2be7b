// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakePerformer.h"

#include "live/LiveView.h"
#include "recording/Recording.h"

#include <fmt/format.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_link/stream/LinkPublisher.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

TakePerformer::TakePerformer(std::string file, double reading)
    : file_(std::move(file)), reading_(reading) {}

TakePerformer::~TakePerformer() = default;

void TakePerformer::setExtent(kit::PerformerSetup& setup, int frames,
                              const std::optional<LiveExtent>& live) {
    setup.frameCount = live ? live->most : frames;
    setup.isOpenEnded = live.has_value();
    setup.firstFrame = live ? live->first : 0;
}

void TakePerformer::join(kit::Session& session, kit::PerformerSetup setup,
                         std::unique_ptr<Device> device, const std::shared_ptr<kit::Clock>& clock) {
    device_ = std::move(device);
    setup.device = device_.get();
    try {
        performer_ = &session.addPerformer(setup);
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(fmt::format("{}: {}", file_, error.what()));
    }
    clock_ = std::make_unique<kit::ClockCalibrator>(setup.name, setup.port, 100, clock);
    clock_->setDevice(setup.device);
    performer_->addCalibrator(*clock_, false);
}

kit::TrackDescription TakePerformer::bodies() const {
    kit::TrackDescription description;
    description.subject = name();
    description.rate = exactRate();
    description.rig = rig();
    return description;
}

void TakePerformer::record(Recording& recording) {
    const kit::TrackDescription description = bodies();
    recordInput(recording, description);
    recording.add(performer_->onSolved(), kit::bodyDataType, description);
}

void TakePerformer::publish(link::LinkPublisher& publisher) {
    publisher.tieToIFramePort(publisher.addTrack(kit::bodyDataType, bodies()),
                              performer_->onSolved());
}

void TakePerformer::show(LiveView& view) { view.addBodies(performer_->onSolved(), name(), rig()); }

std::uint64_t TakePerformer::recordedBytes() const {
    constexpr std::uint64_t head = 16; // that the file has of each frame
    if (isLive()) {
        return 0;
    }
    const std::size_t segments = rig()->nodes().size() * sizeof(kit::Segment);
    return static_cast<std::uint64_t>(frameCount()) * (segments + head);
}

void TakePerformer::setBodyNames(std::shared_ptr<const kit::BodyNames> /*names*/) {}

void TakePerformer::setCalibrationFrames(int frames) {
    const int used = std::max(2, std::min(frames, frameCount()));
    clock_->setFactor(kit::ClockCalibrator::frameCountFactor, used);
}

void TakePerformer::onFittingStep(std::function<bool()> /*step*/) {}

} // namespace tarn::capture
