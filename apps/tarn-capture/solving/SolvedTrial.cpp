// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/SolvedTrial.h"

#include "solving/MarkerPerformer.h"
#include "support/Errors.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Session.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace tarn::capture {

namespace {

/// The body's own names of markers, which may be asked for by names that are written otherwise.
std::vector<std::string> leftOut(const std::vector<std::string>& asked,
                                 const kit::MarkerBody& body) {
    const std::vector<std::string> names = namesOf(body.markers);
    std::vector<std::string> left;
    for (const std::string& name : asked) {
        const int marker = kit::markerNamed(name, names);
        if (marker < 0) {
            throw UsageError(fmt::format(
                "--without {}: the actor has no such marker, but {}", kit::printable(name),
                kit::printable(fmt::format("{}", fmt::join(names, ", ")))));
        }
        left.push_back(names[static_cast<std::size_t>(marker)]);
    }
    return left;
}

/// Solving would put a body somewhere all the same.
void refuseWhatIsNoBody(const std::vector<std::shared_ptr<Frame>>& frames,
                        const kit::MarkerSolver& solver, const std::vector<std::string>& left) {
    std::vector<std::string> wanted;
    for (const kit::BodyMarker& marker : solver.body().markers) {
        if (std::find(left.begin(), left.end(), marker.name) == left.end()) {
            wanted.push_back(marker.name);
        }
    }
    const std::string problem = kit::problemOfMarkers(solver.source(), wanted, frames);
    if (!problem.empty()) {
        throw kit::MarkerBodyError(problem);
    }
}

} // namespace

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
    const std::vector<std::string> left = leftOut(options.without, body);
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
    for (const std::string& marker : left) {
        performer->solver().leaveOut(marker);
    }
    refuseWhatIsNoBody(trial.frames(range), performer->solver(), left);
    performer->beginPlay();
    session.play(stopRequested, advanced);
    SolvedTrial solved = performer->solved();
    for (SolvedFrame& frame : solved.frames) {
        frame.index += range.first;
    }
    return solved;
}

} // namespace tarn::capture
