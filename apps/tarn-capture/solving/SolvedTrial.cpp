// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/SolvedTrial.h"

#include "solving/MarkerPerformer.h"
#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Session.h>

#include <memory>
#include <utility>

namespace tarn::capture {

SolvedTrial trialSolvedBy(const kit::MarkerSolver& solver, const MarkerTrial& trial) {
    SolvedTrial solved;
    solved.body = solver.body();
    solved.rig = solver.rig();
    for (const kit::BodyMarker& marker : solved.body.markers) {
        solved.columns.push_back(kit::markerNamed(marker.name, trial.names()));
    }
    return solved;
}

SolvedTrial solveTrial(const MarkerTrial& trial, FrameRange range, const kit::MarkerBody& body,
                       const SolveOptions& options, const std::function<bool()>& stopRequested,
                       const std::function<void()>& advanced) {
    const auto clock = std::make_shared<kit::SteadyClock>();
    auto device = std::make_unique<kit::ReplayDevice>(trial.name(), clock);
    MarkerTrial part = trial.trialOf(range);
    device->open(part.take());
    device->setSpeed(options.live ? 1 : 0);
    const CastMember member{{trial.subject(), trial.name()}, body, std::nullopt};
    std::unique_ptr<MarkerPerformer> performer;
    kit::Session session; // goes first
    performer = std::make_unique<MarkerPerformer>(
        session, std::move(part), member,
        MarkerDevice{std::move(device), clock, 0, kit::UpAxis::Z, {}, {}}, kit::Space());
    for (const std::string& marker : options.without) {
        if (!performer->solver().leaveOut(marker)) {
            throw UsageError(
                fmt::format("--without {}: the actor has no such marker", kit::printable(marker)));
        }
    }
    performer->beginPlay();
    session.play(stopRequested, advanced);
    SolvedTrial solved = performer->solved();
    for (SolvedFrame& frame : solved.frames) {
        frame.index += range.first;
    }
    return solved;
}

} // namespace tarn::capture
