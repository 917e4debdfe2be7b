// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "running/SessionRunner.h"

#include "documents/SessionDocument.h"
#include "linked/Publication.h"
#include "session/BodyNamesDocument.h"
#include "session/SessionSummary.h"
#include "support/Errors.h"
#include "support/Output.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <stdexcept>

namespace tarn::capture {

SessionRunner::SessionRunner(const RunOptions& options, const Interrupt& interrupt,
                             LiveInput* streams)
    : options_(options), interrupt_(interrupt), streams_(streams),
      clock_(std::make_shared<kit::SteadyClock>()),
      stopRequested_([&interrupt] { return interrupt.isRequested(); }), actors_(options.actors),
      session_(makeSession()), files_(prepared(), options.out, inputs()) {}

int SessionRunner::run() {
    for (const std::string& reason : passedOver()) {
        announce("passed over: " + reason);
    }
    if (!calibrate()) {
        reportError("interrupted while calibrating; nothing was kept");
        return interrupt_.exitCode();
    }
    if (!beginPublishing()) {
        reportError("interrupted while waiting for receivers; nothing was kept");
        return interrupt_.exitCode();
    }
    beginRecording();
    beginView();
    const bool isPlayed = play();
    view_.reset(); // files may take a while
    std::vector<std::string> problems = endStreams();
    const bool complete = isPlayed && problems.empty();
    const std::string unpublished = endPublishing();
    const std::string unrecorded = recording_ ? recording_->end() : std::string();
    write(complete);
    print(complete);
    for (const std::string& problem : {unpublished, unrecorded}) {
        if (!problem.empty()) {
            problems.push_back(problem);
        }
    }
    return conclude(isPlayed, problems);
}

// Before it plays.

TakeSession SessionRunner::makeSession() const {
    const MarkerSetup setup = {options_.markers, actors_, options_.speed, clock_, options_.space};
    if (streams_ != nullptr) {
        return {streams_->sources(options_.space), setup};
    }
    return {options_.takes, replays(options_.speed, clock_, options_.space), setup};
}

TakeSession& SessionRunner::prepared() {
    if (session_.needsCalibration() && options_.calibrate == 0) {
        throw UsageError("--calibrate 0: bodies cannot be fitted to markers without a "
                         "calibration; --actor names an actor that was calibrated before");
    }
    prepareActors();
    const auto names = loadBodyNames(options_.names);
    for (const auto& performer : session_.performers()) {
        performer->setBodyNames(names);
    }
    return session_;
}

/// Every actor is named after its character, unless there is a document for it alone that names it.
void SessionRunner::prepareActors() {
    for (const auto& performer : session_.performers()) {
        Actor& actor = performer->actor();
        actors_.load(actor, performer->name());
        const bool isOwn = session_.performers().size() == 1 || actors_.isNamed(performer->name());
        if (actor.actorName().empty() || !isOwn) {
            actor.setActorName(performer->name());
        }
    }
}

std::vector<std::string> SessionRunner::passedOver() const {
    auto reasons = streams_ == nullptr ? std::vector<std::string>() : streams_->passedOver();
    reasons.insert(reasons.end(), session_.passedOver().begin(), session_.passedOver().end());
    return reasons;
}

/// The files that must not be written over.
std::vector<std::string> SessionRunner::inputs() const {
    auto files = options_.takes;
    const auto actors = actors_.files();
    files.insert(files.end(), actors.begin(), actors.end());
    if (options_.markers) {
        files.push_back(*options_.markers);
    }
    return files;
}

/// Clocks are judged by the rate of the takes, which only devices at their speed keep.
bool SessionRunner::isPaced() const { return streams_ == nullptr && options_.speed == 1; }

// While it plays.

/// For how many frames to calibrate. Bodies show how long they are in every frame, markers only in
/// movement.
int SessionRunner::calibrationFrames() const {
    const double seconds = options_.calibrate.value_or(session_.needsCalibration() ? 5 : 1);
    const double wanted = std::ceil(seconds * session_.exactRate().value());
    return static_cast<int>(std::min<double>(wanted, session_.frameCount()));
}

/// False if a stop was requested.
bool SessionRunner::calibrate() {
    const int frames = calibrationFrames();
    if (frames == 0) {
        return true;
    }
    announce(fmt::format("calibrating over {}",
                         kit::counted(static_cast<std::size_t>(frames), "frame")));
    ProgressBar bar(stderr, session_.calibrationSteps(frames));
    try {
        return session_.calibrate(frames, stopRequested_, [&bar] { bar.advance(); });
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}; nothing was kept", error.what()));
    }
}

/// After the calibration, which may replace rigs, as the next two. False if a stop was requested.
bool SessionRunner::beginPublishing() {
    if (!options_.publish) {
        return true;
    }
    publisher_.emplace(std::make_shared<link::Link>(options_.link), *options_.publish,
                       publisherOptions());
    for (const auto& performer : session_.performers()) {
        performer->publish(*publisher_);
    }
    return offer(
        *publisher_,
        {*options_.publish, options_.link.domain, options_.receivers, session_.performers().size()},
        stopRequested_);
}

void SessionRunner::beginRecording() {
    if (!options_.record) {
        return;
    }
    std::uint64_t bytes = 0;
    for (const auto& performer : session_.performers()) {
        bytes += performer->recordedBytes();
    }
    recording_.emplace(*options_.record, bytes);
    for (const auto& performer : session_.performers()) {
        performer->record(*recording_);
    }
    describeCast(session_, std::filesystem::absolute(*options_.record).parent_path());
    recording_->addScene(session_.scene());
    recording_->start();
}

void SessionRunner::beginView() {
    if (!options_.view.port) {
        return;
    }
    std::vector<std::string> names;
    for (const auto& performer : session_.performers()) {
        names.push_back(performer->name());
    }
    view_.emplace(options_.view, fmt::format("{}", fmt::join(names, ", ")), session_.exactRate());
    for (const auto& performer : session_.performers()) {
        performer->show(*view_);
    }
    announce("watch at " + view_->start());
}

/// False if a stop was requested. What is there after a failure is written.
bool SessionRunner::play() {
    try {
        return playOn();
    } catch (const std::exception& error) {
        files_.write(false, isPaced());
        throw std::runtime_error(fmt::format("{}; {}", error.what(), keptText()));
    }
}

bool SessionRunner::playOn() {
    if (session_.isLive()) {
        announce("capturing until the end of the streams");
        return session_.play(stopRequested_, {});
    }
    announce(fmt::format("playing {}",
                         kit::counted(static_cast<std::size_t>(session_.frameCount()), "frame")));
    ProgressBar bar(stderr, std::max(session_.frameCount(), 1));
    return session_.play(stopRequested_, [&bar] { bar.advance(); });
}

// After it has played.

/// Why not all of the streams came.
std::vector<std::string> SessionRunner::endStreams() {
    if (streams_ == nullptr) {
        return {};
    }
    streams_->stop();
    return interrupt_.isRequested() ? std::vector<std::string>() : streams_->problems();
}

/// Why not all was published; empty if it was.
std::string SessionRunner::endPublishing() {
    if (!publisher_) {
        return {};
    }
    std::size_t frames = 0;
    for (const auto& performer : session_.performers()) {
        frames += static_cast<std::size_t>(performer->statistics().framesOut);
    }
    return endStream(*publisher_, frames);
}

void SessionRunner::write(bool complete) {
    const auto problems = files_.write(complete, isPaced());
    if (!problems.empty()) {
        throw std::runtime_error(fmt::format("{}; {}", fmt::join(problems, "; "), keptText()));
    }
}

/// What the directory holds after a failure.
std::string SessionRunner::keptText() const {
    if (files_.written().empty()) {
        return "nothing was kept";
    }
    return fmt::format("kept in {}: {}", options_.out, fmt::join(files_.written(), ", "));
}

void SessionRunner::print(bool complete) {
    fmt::print("{}", summaryOf(session_, isPaced()));
    if (options_.dimensions) {
        fmt::print("{}\npictures drawn in {:.3f} s\n", detailsOf(session_, isPaced()),
                   files_.drawing());
    }
    fmt::print("{}; {} written to {}\n", verdictOn(session_, complete, isPaced()),
               kit::counted(files_.written().size(), "file"), kit::printable(options_.out));
    if (recording_) {
        fmt::print("{}\n", recording_->summary());
    }
    if (streams_ != nullptr) {
        fmt::print("{}", streams_->report());
    }
}

/// The exit code, with what is wrong reported.
int SessionRunner::conclude(bool isPlayed, const std::vector<std::string>& problems) const {
    for (const std::string& problem : problems) {
        reportError(problem);
    }
    if (!isPlayed) {
        reportError(fmt::format(
            "interrupted after {}{} frames; what was recorded is kept in {}, marked as not "
            "complete",
            session_.framesShown(),
            session_.isLive() ? "" : fmt::format(" of {}", session_.frameCount()), options_.out));
        return interrupt_.exitCode();
    }
    const bool isWhole = problems.empty() && (streams_ == nullptr || streams_->isWhole());
    return isWhole ? exitSuccess : exitFailure;
}

} // namespace tarn::capture
