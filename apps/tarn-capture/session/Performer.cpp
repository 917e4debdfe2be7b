// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/Performer.h"

#include "session/DeviceCommand.h"
#include "support/Stopwatch.h"

#include <tarn/Timeline.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace tarn::capture {

namespace {

constexpr std::size_t queueCapacity = 256;

kit::BvhTake open(Device& device, const std::string& file, double& seconds) {
    const Stopwatch stopwatch(seconds);
    return command(device, "open", file)->dataAs<kit::BvhTake>();
}

/// The take that the session plays: as long as the one the device replays, empty at first.
std::shared_ptr<Tracks> emptyTake(const Take& original, const std::string& name) {
    auto take = std::make_shared<Tracks>();
    take->setTracksName(name);
    take->setFps(original.rate());
    take->setTimeLength(original.frameCount());
    take->setFrameCount(original.frameCount());
    take->setWorkRange(0, std::max(original.frameCount() - 1, 0));
    return take;
}

} // namespace

Performer::Performer(const std::string& file, const std::string& name, int number)
    : file_(file), queue_(queueCapacity), device_(name),
      take_(open(device_, file, statistics_.reading)), solver_(name, take_.sharedRig()),
      clock_(name, kit::ReplayDevice::posePort), dimensions_(name),
      character_(std::to_string(number), name), live_(emptyTake(take_, name)),
      recorder_(kit::bodyDataType, take_.frameCount()) {
    clock_.setDevice(&device_);
    dimensions_.setSolver(&solver_);
    character_.setActor(&actor_);
    character_.setSolver(&solver_);
    character_.addDevice(&device_);
    character_.addCalibrator(&clock_, false);
    character_.addCalibrator(&dimensions_, true);
    character_.setTracks(live_);
    // Connected before any calibration begins, so that its calibrators find the frame solved.
    character_.onFrame().connect(
        [this](const std::shared_ptr<Timeline>& timeline) { solve(*timeline); });
    recorder_.tieToIFramePort(kit::RecorderNode::framePort, solved_);
    device_.oFramePort(kit::ReplayDevice::posePort).connect([this](std::shared_ptr<Frame> frame) {
        queue_.add(std::move(frame));
    });
    device_.onStateChanged().connect([this](Device::DeviceState state) {
        if (state != Device::Busy) {
            queue_.finish();
        }
    });
}

Performer::~Performer() {
    queue_.close(); // the device may be waiting to add a frame
    device_.syncRequest("stop");
    character_.setTracks(nullptr);
}

void Performer::start(bool realtime) {
    arrived_.clear();
    queue_.open();
    command(device_, "rate", realtime ? 1 : 0);
    command(device_, "start");
}

void Performer::stop() {
    queue_.close();
    command(device_, "stop");
}

void Performer::beginCalibrate(int frames) {
    clock_.setFactor(kit::ClockCalibrator::frameCountFactor, std::max(frames, 2));
    dimensions_.setFactor(kit::BodyDimensionCalibrator::frameCountFactor, frames);
    character_.beginCalibrate();
}

void Performer::endCalibrate() { character_.endCalibrate(); }

void Performer::cancelCalibrate() { character_.cancelCalibrate(); }

bool Performer::bring(int index, const Interrupt& interrupt) {
    statistics_.framesExpected += isRecording_ ? 1 : 0;
    auto frame = nextFrame(interrupt);
    if (interrupt.isRequested()) {
        statistics_.framesExpected -= isRecording_ ? 1 : 0; // what was not waited for is not lost
        return false;
    }
    while (frame != nullptr && static_cast<int>(frame->time().frameIndex()) < index) {
        frame = nextFrame(interrupt); // it comes too late to be shown
    }
    if (frame == nullptr) {
        return false;
    }
    if (static_cast<int>(frame->time().frameIndex()) > index) {
        arrived_.push_front(std::move(frame));
        return false;
    }
    statistics_.framesIn += isRecording_ ? 1 : 0;
    live_->setFrame(index, kit::poseDataType, std::move(frame));
    return true;
}

std::shared_ptr<Frame> Performer::nextFrame(const Interrupt& interrupt) {
    constexpr std::chrono::milliseconds patience(50); // how long a request to stop may go unheard
    if (arrived_.empty()) {
        const Stopwatch stopwatch(statistics_.waiting);
        while (arrived_.empty() && !interrupt.isRequested() && !queue_.isOver()) {
            auto frames = queue_.take(patience);
            std::move(frames.begin(), frames.end(), std::back_inserter(arrived_));
        }
    }
    if (arrived_.empty() || interrupt.isRequested()) {
        return nullptr;
    }
    auto frame = std::move(arrived_.front());
    arrived_.pop_front();
    return frame;
}

void Performer::solve(Timeline& timeline) {
    auto pose = timeline.frame(kit::poseDataType);
    if (pose == nullptr) {
        return;
    }
    std::shared_ptr<Frame> body;
    {
        const Stopwatch stopwatch(statistics_.solving);
        // What was put out for the last frame stays for the calibrators until now.
        solver_.clearInput();
        solver_.clearOutput();
        solver_.addInput(std::move(pose));
        if (!solver_.evaluate()) {
            return;
        }
        body = solver_.getOutput(kit::bodyDataType)->getFrame(0);
    }
    const Stopwatch stopwatch(statistics_.recording);
    live_->setFrame(live_->currentTime(), kit::bodyDataType, body);
    if (isRecording_) {
        ++statistics_.framesOut;
        solved_.emit(body);
    }
}

} // namespace tarn::capture
