// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/TakePerformer.h"
#include "solving/MarkerCast.h"
#include "solving/MarkerTrial.h"
#include "solving/SolveSummary.h"
#include "solving/SolvedTrial.h"

#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerFit.h>
#include <tarn_kit/solving/MarkerSolver.h>
#include <tsignal/Signal.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// A device that is ready to send the markers of a take out of its port
/// `kit::ReplayDevice::markerPort`.
struct MarkerDevice {
    std::unique_ptr<Device> device;
    std::shared_ptr<kit::Clock> clock;
    double reading = 0;              ///< how many seconds it took to read the take
    kit::UpAxis up = kit::UpAxis::Z; ///< which axis of the take as it was read is up
    std::optional<LiveExtent> live;  ///< if the take, of which only a part is there, is being made
    std::string recordedAs;          ///< as whose the markers of the take are recorded
};

/// A performer whose take is markers: a body is fitted to each frame. It begins with the body of
/// its actor, or is calibrated in the first seconds.
class MarkerPerformer : public TakePerformer {
public:
    /// The trial is what the device sends, and bodies are put out in its unit and axes, which are
    /// those of `space`. Adds the performer to the session, which must go before this. Throws as
    /// `join`, and `kit::MarkerBodyError` if the trial has none of the body's markers.
    MarkerPerformer(kit::Session& session, MarkerTrial trial, const CastMember& member,
                    MarkerDevice source, const kit::Space& space);

    std::int64_t numberOf(int frame) const override { return trial_.numberOf(frame); }
    std::shared_ptr<const kit::Rig> rig() const override { return rig_; }
    kit::MarkerSolver& solver() override { return solver_; }
    BodyLengths lengths() const override;
    bool needsCalibration() const override { return calibrator_ != nullptr; }
    int fittingSteps() const override;
    void onFittingStep(std::function<bool()> step) override;
    std::string calibrationError() const override;
    void beginPlay() override;
    std::vector<PerformerFile> files() override;
    void describe(Settings& character) override;
    std::string report() override;

    /// What was recorded, with its fits, with bodies in metres; made when it is first asked for
    /// after the take has played.
    const SolvedTrial& solved();

    std::uint64_t recordedBytes() const override;

protected:
    /// The whole take, which several performers may send, once.
    void recordInput(Recording& recording, const store::TrackDescription& description) override;

private:
    /// The rig of the solver's body, in the session's space.
    void takeRig();
    void keepFit(const Frame& body);
    const SolveSummary& summary();

    MarkerTrial trial_;
    kit::UpAxis takeUp_;
    std::string recordedAs_;
    unsigned firstFrame_ = 0; ///< the index of the frame that counts as the first
    kit::Space space_;
    kit::MarkerSolver solver_;
    std::unique_ptr<kit::MarkerCalibrator> calibrator_; ///< none for a calibrated actor
    std::shared_ptr<const kit::Rig> rig_;
    std::vector<std::shared_ptr<Frame>> fits_; ///< by frame index, counted from the first
    std::optional<SolvedTrial> solved_;
    std::optional<SolveSummary> summary_;
    tsignal::ScopedConnection fitting_;
};

} // namespace tarn::capture
