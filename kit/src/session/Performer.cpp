// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Performer.h>

#include <tarn/Timeline.h>
#include <tarn_kit/devices/Command.h>
#include <tarn_kit/session/FrameQueue.h>
#include <tarn_kit/session/Stopwatch.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

using FramePtr = std::shared_ptr<Frame>;

constexpr std::size_t queueCapacity = 256;

const PerformerSetup& checked(const PerformerSetup& setup) {
    if (setup.device == nullptr) {
        throw std::invalid_argument("performer '" + setup.name + "' has no device");
    }
    if (setup.exactRate && setup.exactRate->fps() != setup.rate) {
        throw std::invalid_argument("performer '" + setup.name + "' has a rate of " +
                                    std::to_string(setup.rate) + ", which is not that of " +
                                    setup.exactRate->text());
    }
    if (setup.rate <= 0) {
        throw std::invalid_argument("performer '" + setup.name + "' has no frame rate");
    }
    if (setup.frameCount < 0) {
        throw std::invalid_argument("performer '" + setup.name + "' has fewer than 0 frames");
    }
    if (setup.inputType == setup.outputType) {
        throw std::invalid_argument("performer '" + setup.name +
                                    "' has one data type for what goes in and what comes out");
    }
    return setup;
}

/// A device that does not know the command needs none.
void commandIfKnown(Device& device, const std::string& id) {
    try {
        command(device, id);
    } catch (const CommandError& error) {
        if (error.resultCode() != commandUnknown) {
            throw;
        }
    }
}

/// The first `count` frames of a track.
std::vector<FramePtr> framesOf(Track& track, int count) {
    std::vector<FramePtr> frames;
    frames.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        frames.push_back(track.getFrame(i));
    }
    return frames;
}

} // namespace

struct Performer::PrivateData {
    PrivateData(const std::string& id, const PerformerSetup& theSetup);

    // The device's thread.
    void arrive(FramePtr frame);
    void follow(Device::DeviceState state);

    // The host's.
    void link();
    void unlink();
    void clearLive();
    bool hasEnded() const { return setup.isOpenEnded && arrived.empty() && queue.isOver(); }
    FramePtr next(const StopRequested& stopRequested);
    FramePtr nextFrom(int index, const StopRequested& stopRequested);
    /// How far behind the first frame it is; negative for one before it.
    std::int64_t indexOf(const Frame& frame);
    /// What follows a step of the character's take.
    void count();
    void solve(Timeline& timeline);
    void putOut(const FramePtr& frame);
    std::shared_ptr<Tracks> takeOfRecorded() const;

    const PerformerSetup setup;
    FrameQueue queue;
    bool wasBusy = false; ///< for the device's thread
    std::deque<FramePtr> arrived;
    std::optional<unsigned> firstFrame;
    std::shared_ptr<Track> inputs;
    std::shared_ptr<Track> outputs;
    std::shared_ptr<Tracks> live = std::make_shared<Tracks>();
    Actor actor;
    Character character;
    std::vector<Calibrator*> calibrators;
    PerformerStatistics statistics;
    tsignal::Signal<FramePtr> onSolved;
    bool isStreaming = false;
    bool isRecording = false;
    int recorded = 0; ///< how many frame indexes
    /// What the last recording was, once it has ended: the live take is emptied by the next start.
    std::shared_ptr<Tracks> recording;
    tsignal::ScopedConnection arrivals;
    tsignal::ScopedConnection states;
};

Performer::PrivateData::PrivateData(const std::string& id, const PerformerSetup& theSetup)
    : setup(theSetup), queue(queueCapacity), firstFrame(setup.firstFrame),
      inputs(std::make_shared<Track>(setup.inputType)),
      outputs(std::make_shared<Track>(setup.outputType)), character(id, setup.name) {}

void Performer::PrivateData::arrive(FramePtr frame) {
    if (frame != nullptr && frame->dataType() == setup.inputType) {
        queue.add(std::move(frame));
    }
}

/// A device that never is busy says nothing about the end of its stream, unless it is lost.
void Performer::PrivateData::follow(Device::DeviceState state) {
    if (state == Device::Lost || (wasBusy && state != Device::Busy)) {
        queue.finish();
    }
    wasBusy = state == Device::Busy;
}

void Performer::PrivateData::link() {
    live->setFps(setup.rate);
    live->addTrack(inputs, 0);
    live->addTrack(outputs, 0);
    live->setTracksName(setup.name);
    live->setTimeLength(setup.frameCount);
    live->setFrameCount(setup.frameCount);
    live->setWorkRange(0, std::max(setup.frameCount - 1, 0));
    clearLive();
    actor.setActorName(setup.name);
    character.setActor(&actor);
    character.setSolver(setup.solver);
    character.addDevice(setup.device);
    character.setTracks(live);
    // Connected before any calibration begins, so that its calibrators find the frame solved.
    character.onFrame().connect([this](const std::shared_ptr<Timeline>& timeline) {
        count();
        solve(*timeline);
    });
    wasBusy = setup.device->isBusy();
    arrivals = setup.device->oFramePort(setup.port).connect([this](FramePtr frame) {
        arrive(std::move(frame));
    });
    states = setup.device->onStateChanged().connect(
        [this](Device::DeviceState state) { follow(state); });
}

void Performer::PrivateData::unlink() {
    states.disconnect(); // waits for a slot that runs
    arrivals.disconnect();
    character.setTracks(nullptr);
    for (Calibrator* const calibrator : calibrators) {
        character.removeCalibrator(calibrator);
    }
    character.removeDevice(setup.device);
    character.setSolver(nullptr);
    character.setActor(nullptr);
}

void Performer::PrivateData::clearLive() {
    for (const auto& track : {inputs, outputs}) {
        track->setFrameCount(0);
        track->setFrameCount(setup.frameCount);
    }
}

FramePtr Performer::PrivateData::next(const StopRequested& stopRequested) {
    constexpr std::chrono::milliseconds patience(50); // how long a request to stop may go unheard
    const auto isToStop = [&stopRequested] { return stopRequested && stopRequested(); };
    if (arrived.empty()) {
        const Stopwatch stopwatch(statistics.waiting);
        while (arrived.empty() && !queue.isOver() && !isToStop()) {
            auto frames = queue.take(patience);
            std::move(frames.begin(), frames.end(), std::back_inserter(arrived));
        }
    }
    if (arrived.empty() || isToStop()) {
        return nullptr;
    }
    auto frame = std::move(arrived.front());
    arrived.pop_front();
    return frame;
}

/// The next frame that does not come too late for an index.
FramePtr Performer::PrivateData::nextFrom(int index, const StopRequested& stopRequested) {
    auto frame = next(stopRequested);
    while (frame != nullptr && indexOf(*frame) < index) {
        statistics.framesLate += isRecording ? 1 : 0;
        frame = next(stopRequested);
    }
    return frame;
}

std::int64_t Performer::PrivateData::indexOf(const Frame& frame) {
    if (!firstFrame) {
        firstFrame = frame.time().frameIndex();
    }
    return std::int64_t{frame.time().frameIndex()} - std::int64_t{*firstFrame};
}

void Performer::PrivateData::count() {
    const int index = live->currentTime();
    if (!isRecording || index < recorded || index >= setup.frameCount) {
        return;
    }
    const bool isThere = inputs->getFrame(index) != nullptr;
    if (isThere || !hasEnded()) { // what an ended stream does not send is not lost
        recorded = index + 1;
        ++statistics.framesExpected;
        statistics.framesIn += isThere ? 1 : 0;
    }
}

void Performer::PrivateData::solve(Timeline& timeline) {
    Solver* const solver = character.solver();
    auto input = solver == nullptr ? nullptr : timeline.frame(setup.inputType);
    if (input == nullptr) {
        return;
    }
    std::shared_ptr<Sequence> solved;
    {
        const Stopwatch stopwatch(statistics.solving);
        // What was put out for the last frame stays for the calibrators until now.
        solver->clearInput();
        solver->clearOutput();
        solver->addInput(std::move(input));
        solver->evaluate();
        solved = solver->getOutput(setup.outputType);
    }
    for (int i = 0; solved != nullptr && i < solved->frameCount(); ++i) {
        putOut(solved->getFrame(i));
    }
}

void Performer::PrivateData::putOut(const FramePtr& frame) {
    const Stopwatch stopwatch(statistics.recording);
    const std::int64_t index = indexOf(*frame);
    if (index >= 0 && index < setup.frameCount) {
        outputs->setFrame(static_cast<int>(index), frame);
    }
    statistics.framesOut += isRecording ? 1 : 0;
    onSolved.emit(frame);
}

std::shared_ptr<Tracks> Performer::PrivateData::takeOfRecorded() const {
    auto take = takeOf(setup.inputType, framesOf(*inputs, recorded), setup.rate);
    take->addTrack(trackOf(setup.outputType, framesOf(*outputs, recorded)), 0);
    take->setTracksName(setup.name);
    return take;
}

Performer::Performer(const std::string& id, const PerformerSetup& setup)
    : d_(std::make_unique<PrivateData>(id, checked(setup))) {
    d_->link();
}

Performer::~Performer() {
    d_->queue.close(); // the device may be waiting to add a frame
    if (d_->isStreaming) {
        d_->setup.device->syncRequest("stop");
    }
    d_->unlink();
}

const PerformerSetup& Performer::setup() const { return d_->setup; }

Rate Performer::exactRate() const { return d_->setup.exactRate.value_or(Rate(d_->setup.rate)); }

Character& Performer::character() { return d_->character; }

Actor& Performer::actor() { return d_->actor; }

void Performer::addCalibrator(Calibrator& calibrator, bool required) {
    d_->calibrators.push_back(&calibrator);
    d_->character.addCalibrator(&calibrator, required);
}

std::shared_ptr<Tracks> Performer::live() const { return d_->live; }

std::shared_ptr<Tracks> Performer::recording() const {
    return d_->recording != nullptr ? d_->recording : d_->takeOfRecorded();
}

const PerformerStatistics& Performer::statistics() const { return d_->statistics; }

void Performer::start() {
    d_->arrived.clear();
    d_->clearLive();
    d_->firstFrame = d_->setup.firstFrame;
    d_->recorded = 0;
    d_->queue.open();
    d_->isStreaming = true;
    commandIfKnown(*d_->setup.device, "start");
}

void Performer::stop() {
    if (!std::exchange(d_->isStreaming, false)) {
        return;
    }
    d_->queue.close();
    commandIfKnown(*d_->setup.device, "stop");
}

bool Performer::hasEnded() const { return d_->hasEnded(); }

void Performer::beginCalibrate() {
    if (d_->character.solver() == nullptr) {
        throw std::logic_error("performer '" + d_->setup.name +
                               "' has no solver: there is nothing to calibrate");
    }
    d_->character.beginCalibrate();
}

void Performer::endCalibrate() { d_->character.endCalibrate(); }

void Performer::cancelCalibrate() { d_->character.cancelCalibrate(); }

void Performer::beginRecord() {
    d_->statistics.framesExpected = 0;
    d_->statistics.framesIn = 0;
    d_->statistics.framesLate = 0;
    d_->statistics.framesOut = 0;
    d_->recorded = 0;
    d_->recording = nullptr;
    d_->isRecording = true;
}

void Performer::endRecord() {
    if (std::exchange(d_->isRecording, false)) {
        d_->recording = d_->takeOfRecorded();
    }
}

bool Performer::bring(int index, const StopRequested& stopRequested) {
    if (index >= d_->setup.frameCount) {
        return false;
    }
    auto frame = d_->nextFrom(index, stopRequested);
    if (frame == nullptr) {
        return false;
    }
    if (d_->indexOf(*frame) > index) {
        d_->arrived.push_front(std::move(frame));
        return false;
    }
    d_->inputs->setFrame(index, std::move(frame));
    return true;
}

tsignal::Signal<std::shared_ptr<Frame>>& Performer::onSolved() { return d_->onSolved; }

} // namespace tarn::kit
