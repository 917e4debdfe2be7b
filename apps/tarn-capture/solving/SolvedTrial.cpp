// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/SolvedTrial.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn/Character.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Playback.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <utility>

namespace tarn::capture {

namespace {

/// A character whose take plays and whose solver solves what it shows.
class Stage {
public:
    Stage(const MarkerTrial& trial, FrameRange range, kit::MarkerSolver& solver,
          SolvedTrial& solved)
        : range_(range), solver_(solver), solved_(solved), character_("solve", trial.name()),
          take_(trial.part(range)), rate_(trial.exactRate()) {
        character_.setSolver(&solver_);
        character_.setTracks(take_);
        connection_ = character_.onFrame().connect(
            &character_, [this](const std::shared_ptr<Timeline>& shown) { solve(*shown); });
    }
    ~Stage() {
        connection_();
        character_.setTracks(nullptr);
        character_.setSolver(nullptr);
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    void play(bool live, const std::function<bool()>& goOn) {
        // At the take's own rate, so that every frame is shown once.
        kit::Playback playback(*take_, rate_, rate_);
        const auto stop = [&] { return !goOn(); };
        if (live) {
            playback.runInRealTime(stop);
        } else {
            playback.run(stop);
        }
    }

private:
    void solve(Timeline& shown) {
        const auto frame = shown.frame(kit::markerDataType);
        const int index = range_.first + take_->currentTime();
        if (frame == nullptr || (!solved_.frames.empty() && solved_.frames.back().index == index)) {
            return;
        }
        solver_.clearInput();
        solver_.clearOutput();
        solver_.addInput(frame);
        if (!solver_.evaluate()) {
            return;
        }
        const auto newest = [&](int type) { return solver_.getOutput(type)->getFrame(0); };
        solved_.frames.push_back({index, kit::payloadOf<kit::BodyPose>(newest(kit::bodyDataType)),
                                  kit::payloadOf<kit::MarkerFit>(newest(kit::markerFitDataType)),
                                  kit::payloadOf<kit::MarkerFrame>(frame)});
    }

    FrameRange range_;
    kit::MarkerSolver& solver_;
    SolvedTrial& solved_;
    Character character_;
    std::shared_ptr<Tracks> take_;
    kit::Rate rate_;
    tsignal::Disconnector connection_;
};

} // namespace

SolvedTrial trialSolvedBy(const kit::MarkerSolver& solver, const MarkerTrial& trial) {
    SolvedTrial solved;
    solved.body = solver.body();
    solved.rig = solver.rig();
    for (const kit::BodyMarker& marker : solved.body.markers) {
        const auto name = std::find(trial.names().begin(), trial.names().end(), marker.name);
        solved.columns.push_back(
            name == trial.names().end() ? -1 : static_cast<int>(name - trial.names().begin()));
    }
    return solved;
}

SolvedTrial solveTrial(const MarkerTrial& trial, FrameRange range, const kit::MarkerBody& body,
                       const SolveOptions& options, const std::function<bool()>& goOn) {
    kit::MarkerSolver solver(trial.name(), body, {trial.names(), trial.metresPerUnit()});
    for (const std::string& marker : options.without) {
        if (!solver.leaveOut(marker)) {
            throw UsageError(
                fmt::format("--without {}: the actor has no such marker", kit::printable(marker)));
        }
    }
    SolvedTrial solved = trialSolvedBy(solver, trial);
    Stage(trial, range, solver, solved).play(options.live, goOn);
    return solved;
}

} // namespace tarn::capture
