// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/MarkerPerformer.h"

#include "recording/Recording.h"
#include "solving/SolveFiles.h"
#include "solving/SolvePicture.h"

#include <tarn_draw/canvas/Picture.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/session/Rate.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <utility>

namespace tarn::capture {

namespace {

constexpr int stepsOfAFit = 100;

kit::MarkerSource sourceOf(const MarkerTrial& trial) {
    return {trial.names(), trial.metresPerUnit(), 1 / trial.metresPerUnit()};
}

} // namespace

MarkerPerformer::MarkerPerformer(kit::Session& session, MarkerTrial trial, const CastMember& member,
                                 MarkerDevice source, const kit::Space& space)
    : TakePerformer(trial.file(), source.reading), trial_(std::move(trial)), takeUp_(source.up),
      recordedAs_(std::move(source.recordedAs)), space_(space),
      solver_(member.who.name, member.body, sourceOf(trial_)) {
    takeRig();
    const kit::Rate rate = trial_.exactRate();
    kit::PerformerSetup setup;
    setup.name = member.who.name;
    setup.port = kit::ReplayDevice::markerPort;
    setup.inputType = kit::markerDataType;
    setup.solver = &solver_;
    setup.rate = rate.fps();
    setup.exactRate = rate;
    setup.space = space_;
    setExtent(setup, trial_.frameCount(), source.live);
    firstFrame_ = *setup.firstFrame;
    join(session, setup, std::move(source.device), source.clock);
    performer().onSolved().connect( // the session goes first
        [this](const std::shared_ptr<Frame>& body) { keepFit(*body); });
    if (member.set) {
        calibrator_ = std::make_unique<kit::MarkerCalibrator>(member.who.name, *member.set);
        calibrator_->setSolver(&solver_);
        performer().addCalibrator(*calibrator_, true);
    }
}

std::uint64_t MarkerPerformer::recordedBytes() const {
    return isLive() ? 0
                    : TakePerformer::recordedBytes() +
                          capture::recordedBytes(*trial_.take().tracks, kit::markerDataType,
                                                 allFrames(frameCount()));
}

void MarkerPerformer::recordInput(Recording& recording,
                                  const store::TrackDescription& /*description*/) {
    if (!recording.has(kit::markerDataType, recordedAs_)) {
        recording.addMarkers(device().oFramePort(kit::ReplayDevice::markerPort), trial_.take(),
                             recordedAs_);
    }
}

void MarkerPerformer::takeRig() {
    const auto rig = solver_.body().body.rig(solver_.source().bodyUnitsPerMetre);
    rig->setSpace(space_);
    rig_ = rig;
}

BodyLengths MarkerPerformer::lengths() const {
    BodyLengths known;
    const kit::MarkerBody& body = solver_.body();
    if (calibrator_ != nullptr && !calibrator_->report().isGood()) {
        return known;
    }
    known.areFitted = true;
    known.frames = calibrator_ == nullptr ? 0 : calibrator_->report().frames;
    const double units = solver_.source().bodyUnitsPerMetre;
    const auto add = [&](const std::string& name, double metres) {
        kit::MeasuredLength entry{name, units * metres, 0};
        for (const kit::LengthUncertainty& uncertainty : body.uncertainties) {
            if (uncertainty.length == name) {
                entry.spread = units * uncertainty.metres;
            }
        }
        known.lengths.push_back(entry);
    };
    add("Height", body.body.height());
    for (const kit::HumanLength& length : body.body.lengths()) {
        add(length.name, length.metres);
    }
    return known;
}

int MarkerPerformer::fittingSteps() const { return calibrator_ == nullptr ? 0 : stepsOfAFit; }

void MarkerPerformer::onFittingStep(std::function<bool()> step) {
    fitting_.disconnect();
    if (calibrator_ == nullptr || step == nullptr) {
        return;
    }
    // The first half of the progress is the frames', which are counted elsewhere.
    fitting_ = calibrator_->onProgress().connect(
        [this, step = std::move(step), done = 0](float part) mutable {
            const auto reached = static_cast<int>((part - 0.5F) * 2 * stepsOfAFit);
            for (; done < std::min(reached, stepsOfAFit); ++done) {
                if (!step()) {
                    calibrator_->cancel();
                }
            }
        });
}

std::string MarkerPerformer::calibrationError() const {
    return calibrator_ == nullptr ? "" : calibrator_->report().error;
}

void MarkerPerformer::beginPlay() {
    takeRig();
    solver_.restart();
    fits_.assign(static_cast<std::size_t>(frameCount()), nullptr);
    solved_.reset();
    summary_.reset();
}

void MarkerPerformer::keepFit(const Frame& body) {
    const std::size_t index = body.time().frameIndex() - firstFrame_;
    const auto fits = solver_.getOutput(kit::markerFitDataType);
    if (fits != nullptr && index < fits_.size()) {
        fits_[index] = fits->getFrame(fits->frameCount() - 1);
    }
}

const SolvedTrial& MarkerPerformer::solved() {
    if (!solved_) {
        solved_ = trialSolvedBy(solver_, trial_);
        const auto recorded = recording();
        for (int i = 0; i < recorded->timeLength(); ++i) {
            const auto measured = recorded->getFrame(i, kit::markerDataType);
            const auto body = recorded->getFrame(i, kit::bodyDataType);
            const auto& fit = fits_[static_cast<std::size_t>(i)];
            if (measured != nullptr && body != nullptr && fit != nullptr) {
                solved_->frames.push_back({i, kit::payloadOf<kit::BodyPose>(body),
                                           kit::payloadOf<kit::MarkerFit>(fit),
                                           kit::payloadOf<kit::MarkerFrame>(measured)});
            }
        }
        for (SolvedFrame& frame : solved_->frames) {
            for (kit::Segment& segment : frame.pose.segments) {
                segment.position =
                    kit::toSingle(trial_.metresPerUnit() * kit::toDouble(segment.position));
            }
        }
    }
    return *solved_;
}

const SolveSummary& MarkerPerformer::summary() {
    if (!summary_) {
        summary_ = summarize(trial_, solved());
    }
    return *summary_;
}

std::vector<PerformerFile> MarkerPerformer::files() {
    return {{".markers.csv",
             [this](const std::filesystem::path& file) {
                 writeMarkersCsv(trial_, solved(), file, 1, space_.unit.symbol);
             }},
            {".markers.png", [this](const std::filesystem::path& file) {
                 const SolvedTrial& shown = solved();
                 draw::savePicture(pictureOf(trial_, shown, bvhOf(trial_, shown)), file.string());
             }}};
}

void MarkerPerformer::describe(Settings& character) {
    character.setValue("TakeUp", kit::axisName(takeUp_));
    character.addSubSettings("Markers", reportOf(trial_, solved(), summary()));
}

std::string MarkerPerformer::report() {
    return solved().frames.empty() ? "" : textOf(trial_, solved(), summary());
}

} // namespace tarn::capture
