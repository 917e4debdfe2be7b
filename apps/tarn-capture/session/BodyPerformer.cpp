// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/BodyPerformer.h"

#include "recording/Recording.h"

#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/session/Stopwatch.h>

#include <algorithm>
#include <utility>

namespace tarn::capture {

TakeDeviceMaker replays(double speed, std::shared_ptr<kit::Clock> clock, const SpaceChoice& space) {
    return [speed, clock = std::move(clock), space](TakeFile& file, const std::string& name) {
        TakeDevice made;
        const kit::Stopwatch stopwatch(made.reading);
        auto device = std::make_unique<kit::ReplayDevice>(name, clock);
        made.take = withSpace(file.read(), space);
        device->open(made.take);
        device->setSpeed(speed);
        made.device = std::move(device);
        made.clock = clock;
        return made;
    };
}

BodyPerformer::BodyPerformer(kit::Session& session, const std::string& file,
                             const std::string& name, TakeDevice source)
    : TakePerformer(file, source.reading), take_(source.take), solver_(name, take_.sharedRig()),
      dimensions_(name) {
    kit::PerformerSetup setup;
    setup.name = name;
    setup.port = kit::ReplayDevice::posePort;
    setup.solver = &solver_;
    setup.rate = take_.rate();
    setup.exactRate = take_.exactRate();
    setup.space = take_.space();
    setExtent(setup, take_.frameCount(), source.live);
    join(session, setup, std::move(source.device), source.clock);
    dimensions_.setSolver(&solver_);
    performer().addCalibrator(dimensions_, true);
}

BodyLengths BodyPerformer::lengths() const {
    BodyLengths known;
    known.frames = dimensions_.collectedFrames();
    if (known.frames > 0) {
        known.lengths = dimensions_.segments();
        known.lengths.insert(known.lengths.begin(), dimensions_.height());
    }
    return known;
}

std::uint64_t BodyPerformer::recordedBytes() const {
    return isLive() ? 0
                    : TakePerformer::recordedBytes() +
                          capture::recordedBytes(take_.tracks(), kit::poseDataType,
                                                 allFrames(frameCount()));
}

void BodyPerformer::recordInput(Recording& recording, const store::TrackDescription& description) {
    recording.add(device().oFramePort(kit::ReplayDevice::posePort), kit::poseDataType, description);
}

void BodyPerformer::setCalibrationFrames(int frames) {
    TakePerformer::setCalibrationFrames(frames);
    dimensions_.setFactor(kit::BodyDimensionCalibrator::frameCountFactor,
                          std::max(1, std::min(frames, frameCount())));
}

} // namespace tarn::capture
