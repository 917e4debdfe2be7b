// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/Take.h"
#include "session/TakeFile.h"
#include "session/TakePerformer.h"

#include <tarn_kit/processing/ForwardKinematicsSolver.h>

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
    double reading = 0;             ///< how many seconds it took to read the take
    std::optional<LiveExtent> live; ///< if the take, which is empty then, is still being made
};

/// Makes the device of a take of a body, under a name. Throws `std::runtime_error` when the take
/// cannot be read.
using TakeDeviceMaker = std::function<TakeDevice(TakeFile& file, const std::string& name)>;

/// Devices that replay the takes so much faster than they are, by `clock`; 0 for as fast as frames
/// are taken.
TakeDeviceMaker replays(double speed,
                        std::shared_ptr<kit::Clock> clock = std::make_shared<kit::SteadyClock>(),
                        const SpaceChoice& space = {});

/// A performer whose take is a body already: its poses become bodies by forward kinematics, and
/// what it is calibrated for are its lengths.
class BodyPerformer : public TakePerformer {
public:
    /// Adds the performer to the session, which must go before this. Throws as `join`.
    BodyPerformer(kit::Session& session, const std::string& file, const std::string& name,
                  TakeDevice source);

    std::shared_ptr<const kit::Rig> rig() const override { return take_.sharedRig(); }
    Solver& solver() override { return solver_; }
    BodyLengths lengths() const override;
    void setBodyNames(std::shared_ptr<const kit::BodyNames> names) override {
        dimensions_.setBodyNames(std::move(names));
    }
    void setCalibrationFrames(int frames) override;
    std::uint64_t recordedBytes() const override;

protected:
    void recordInput(Recording& recording, const store::TrackDescription& description) override;

private:
    Take take_;
    kit::ForwardKinematicsSolver solver_;
    kit::BodyDimensionCalibrator dimensions_;
};

} // namespace tarn::capture
