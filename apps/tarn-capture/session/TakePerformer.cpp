// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakePerformer.h"

#include "session/TakeFile.h"
#include "support/Stopwatch.h"

#include <fmt/format.h>
#include <tarn_kit/devices/ReplayDevice.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

TakeDevice make(const TakeDeviceMaker& maker, const std::string& file, const std::string& name,
                double& seconds) {
    const Stopwatch stopwatch(seconds);
    return maker(file, name);
}

} // namespace

TakeDeviceMaker replays(double speed, std::shared_ptr<kit::Clock> clock, const SpaceChoice& space) {
    return
        [speed, clock = std::move(clock), space](const std::string& file, const std::string& name) {
            auto device = std::make_unique<kit::ReplayDevice>(name, clock);
            kit::BvhTake take = withSpace(readTake(file), space);
            device->open(take);
            device->setSpeed(speed);
            return TakeDevice{std::move(device), std::move(take), clock};
        };
}

TakePerformer::TakePerformer(kit::Session& session, const std::string& file,
                             const std::string& name, const TakeDeviceMaker& maker)
    : file_(file), source_(make(maker, file, name, reading_)), take_(source_.take),
      solver_(name, take_.sharedRig()),
      clock_(name, kit::ReplayDevice::posePort, 100, source_.clock), dimensions_(name) {
    kit::PerformerSetup setup;
    setup.name = name;
    setup.device = source_.device.get();
    setup.port = kit::ReplayDevice::posePort;
    setup.solver = &solver_;
    setup.rate = take_.rate();
    setup.exactRate = take_.exactRate();
    setup.space = take_.space();
    setup.frameCount = take_.frameCount();
    try {
        performer_ = &session.addPerformer(setup);
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(fmt::format("{}: {}", file, error.what()));
    }
    clock_.setDevice(source_.device.get());
    dimensions_.setSolver(&solver_);
    performer_->addCalibrator(clock_, false);
    performer_->addCalibrator(dimensions_, true);
}

void TakePerformer::setCalibrationFrames(int frames) {
    const int used = std::max(1, std::min(frames, frameCount()));
    clock_.setFactor(kit::ClockCalibrator::frameCountFactor, std::max(used, 2));
    dimensions_.setFactor(kit::BodyDimensionCalibrator::frameCountFactor, used);
}

} // namespace tarn::capture
