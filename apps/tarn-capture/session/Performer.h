// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/FrameQueue.h"
#include "session/Take.h"
#include "support/Interrupt.h"

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/processing/ClockCalibrator.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/session/RecorderNode.h>

#include <deque>
#include <memory>
#include <string>

namespace tarn::capture {

/// What became of a performer's frames, and how many seconds each stage took.
struct PerformerStatistics {
    int framesExpected = 0; ///< were due while it played
    int framesIn = 0;       ///< came from the device
    int framesOut = 0;      ///< were solved and recorded
    double reading = 0;
    double waiting = 0; ///< for the device
    double solving = 0;
    double recording = 0;
    double writing = 0;
};

/// One character of a session with all that belongs to it: an actor, a device that replays a take,
/// a solver, two calibrators and a recorder of what the solver makes. Frames come from the device's
/// thread; everything here is used from one thread.
class Performer {
public:
    /// Reads the take. `number` tells the performer from others of the session. Throws
    /// `std::runtime_error` when the take cannot be read.
    Performer(const std::string& file, const std::string& name, int number);
    ~Performer();
    Performer(const Performer&) = delete;
    Performer& operator=(const Performer&) = delete;

    const std::string& file() const { return file_; }
    std::string name() { return character_.characterName(); }
    const Take& take() const { return take_; }
    int frameCount() const { return take_.frameCount(); }
    Character& character() { return character_; }
    Actor& actor() { return actor_; }
    kit::ForwardKinematicsSolver& solver() { return solver_; }
    const kit::BodyDimensionCalibrator& dimensions() const { return dimensions_; }
    const kit::ClockCalibrator& clock() const { return clock_; }
    /// What the take has shown and the solver has made of it so far, by frame index.
    std::shared_ptr<Tracks> live() const { return live_; }
    /// What the solver has made while the take played, as it was recorded.
    std::shared_ptr<Tracks> recording() const { return recorder_.take(); }
    PerformerStatistics& statistics() { return statistics_; }

    /// Lets the device stream from its first frame: `realtime`, or as fast as frames are taken.
    void start(bool realtime);
    /// Stops the device; frames on their way are dropped.
    void stop();

    /// The number of frames that the calibration is to use.
    void beginCalibrate(int frames);
    void endCalibrate();
    void cancelCalibrate();

    /// From now on frames are counted and recorded.
    void beginRecord() { isRecording_ = true; }

    /// Waits for a frame and puts it into the take. False if it will not come: it is lost, the
    /// stream has ended, or a stop was requested.
    bool bring(int index, const Interrupt& interrupt);

private:
    std::shared_ptr<Frame> nextFrame(const Interrupt& interrupt);
    /// What follows a step of the character's take.
    void solve(Timeline& timeline);

    std::string file_;
    PerformerStatistics statistics_;
    FrameQueue queue_;
    std::deque<std::shared_ptr<Frame>> arrived_;
    kit::ReplayDevice device_;
    Take take_;
    kit::ForwardKinematicsSolver solver_;
    kit::ClockCalibrator clock_;
    kit::BodyDimensionCalibrator dimensions_;
    Actor actor_;
    Character character_;
    std::shared_ptr<Tracks> live_;
    tsignal::Signal<std::shared_ptr<Frame>> solved_;
    kit::RecorderNode recorder_;
    bool isRecording_ = false;
};

} // namespace tarn::capture
