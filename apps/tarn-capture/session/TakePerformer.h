// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/Take.h"

#include <tarn/Device.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/processing/ClockCalibrator.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/session/Session.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tarn::capture {

/// A device that is ready to send the poses of a take out of its port
/// `kit::ReplayDevice::posePort`.
struct TakeDevice {
    std::unique_ptr<Device> device;
    kit::BvhTake take;
    /// By which arrivals are measured.
    std::shared_ptr<kit::Clock> clock = std::make_shared<kit::SteadyClock>();
};

/// Makes the device of a take's file, under a name. Throws `std::runtime_error` when the take
/// cannot be read.
using TakeDeviceMaker = std::function<TakeDevice(const std::string& file, const std::string& name)>;

/// Devices that replay the takes so much faster than they are, by `clock`; 0 for as fast as frames
/// are taken.
TakeDeviceMaker replays(double speed,
                        std::shared_ptr<kit::Clock> clock = std::make_shared<kit::SteadyClock>(),
                        const SpaceChoice& space = {});

/// One character of a session with all that belongs to it: a device that sends a take, a solver,
/// two calibrators, and the performer that ties them together.
class TakePerformer {
public:
    /// Adds the performer to the session, which must go before this. Throws `std::runtime_error`
    /// when the take cannot be read, or has another rate than the session.
    TakePerformer(kit::Session& session, const std::string& file, const std::string& name,
                  const TakeDeviceMaker& maker);
    TakePerformer(const TakePerformer&) = delete;
    TakePerformer& operator=(const TakePerformer&) = delete;

    const std::string& file() const { return file_; }
    std::string name() const { return performer_->character().characterName(); }
    const Take& take() const { return take_; }
    int frameCount() const { return take_.frameCount(); }
    Character& character() { return performer_->character(); }
    Actor& actor() { return performer_->actor(); }
    Solver& solver() { return solver_; }
    const kit::BodyDimensionCalibrator& dimensions() const { return dimensions_; }
    const kit::ClockCalibrator& clock() const { return clock_; }
    /// What the solver has made while the take played, by frame index; without what was lost.
    std::shared_ptr<Tracks> recording() const { return performer_->recording(); }
    const kit::PerformerStatistics& statistics() const { return performer_->statistics(); }
    /// How many seconds it took to read the take.
    double reading() const { return reading_; }
    /// How many seconds it took to write what came out; for who writes to add to.
    double& writing() { return writing_; }

    /// How the names of its joints are understood, when it is calibrated.
    void setBodyNames(std::shared_ptr<const kit::BodyNames> names) {
        dimensions_.setBodyNames(std::move(names));
    }
    /// How many frames the calibration is to use.
    void setCalibrationFrames(int frames);

private:
    std::string file_;
    double reading_ = 0;
    double writing_ = 0;
    TakeDevice source_;
    Take take_;
    kit::ForwardKinematicsSolver solver_;
    kit::ClockCalibrator clock_;
    kit::BodyDimensionCalibrator dimensions_;
    kit::Performer* performer_ = nullptr; ///< the session's
};

} // namespace tarn::capture
