// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/TakeFile.h"
#include "solving/MarkerTrial.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/OutputPath.h"
#include "support/ProgressBar.h"
#include "support/Terminal.h"
#include "support/Wrapped.h"

#include <fmt/format.h>
#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct CalibrateOptions {
    std::string trial;
    std::string markers; ///< a set's name or document
    std::string out;
    std::optional<std::string> subject;
    std::optional<FrameChoice> frames;
    MarkerReading reading;
};

/// Shows the frames to a character that is being calibrated. False if it was told to stop.
bool play(Character& character, kit::MarkerCalibrator& calibrator, const Interrupt& interrupt) {
    constexpr int steps = 100;
    ProgressBar bar(stderr, steps);
    int shown = 0;
    const tsignal::ScopedConnection progress(calibrator.onProgress().connect([&](float part) {
        for (; shown < static_cast<int>(part * steps); ++shown) {
            bar.advance();
        }
        if (interrupt.isRequested()) {
            calibrator.cancel();
        }
    }));
    character.beginCalibrate();
    const auto take = character.tracks();
    for (int i = 0; i < take->timeLength() && !interrupt.isRequested(); ++i) {
        take->setCurrentTime(i);
    }
    if (interrupt.isRequested()) {
        character.cancelCalibrate();
        return false;
    }
    character.endCalibrate();
    return !interrupt.isRequested();
}

/// Begins with nobody's body in particular. Throws `std::runtime_error`, naming the file, if the
/// take has none of the markers.
std::unique_ptr<kit::MarkerSolver> solverFor(const MarkerTrial& trial, const kit::MarkerSet& set) {
    try {
        return std::make_unique<kit::MarkerSolver>(
            "markers", kit::MarkerBody::generic(set),
            kit::MarkerSource{trial.names(), trial.metresPerUnit()});
    } catch (const kit::MarkerBodyError& error) {
        throw std::runtime_error(fmt::format("{}: {}", kit::printable(trial.file()), error.what()));
    }
}

double uncertaintyOf(const kit::MarkerBody& body, const std::string& length) {
    for (const kit::LengthUncertainty& uncertainty : body.uncertainties) {
        if (uncertainty.length == length) {
            return uncertainty.metres;
        }
    }
    return 0;
}

void print(const kit::CalibrationReport& report) {
    constexpr double mm = 1000;
    fmt::print("{} frames, height {:.2f} ± {:.2f} m\n", report.frames, report.body.body.height(),
               uncertaintyOf(report.body, "Height"));
    fmt::print("lengths in millimetres, with one standard deviation\n");
    for (const kit::HumanLength& length : report.body.body.lengths()) {
        fmt::print("  {:<20}{:8.1f} ± {:.1f}\n", length.name, mm * length.metres,
                   mm * uncertaintyOf(report.body, length.name));
    }
    fmt::print("markers off by {:.1f} mm RMS without the worst 1 % of samples; by marker:\n",
               mm * report.markerRms);
    for (std::size_t m = 0; m < report.body.markers.size(); ++m) {
        fmt::print("  {:<8}{:6.1f}{}", kit::printable(report.body.markers[m].name),
                   mm * report.markerErrors[m], m % 4 == 3 ? "\n" : "");
    }
    fmt::print("{}", report.body.markers.size() % 4 == 0 ? "" : "\n");
    for (const std::string& marker : report.missingMarkers) {
        fmt::print("missing: {}\n", kit::printable(marker));
    }
    for (const kit::WeakSpot& spot : report.weakSpots) {
        const std::string text =
            fmt::format("weak: {} {}{}{}", kit::printable(spot.name), spot.reason,
                        spot.advice.empty() ? "" : "; ", spot.advice);
        fmt::print("{}", hanging(text, 0, outputWidth()));
    }
}

int calibrate(const CalibrateOptions& options) {
    const kit::MarkerSet set = kit::MarkerSet::load(options.markers);
    refuseToOverwrite(options.trial, options.out, "--out");
    const MarkerTrial trial(options.trial, options.subject, namesOf(set.markers),
                            takeNameOf(options.trial), options.reading);
    const Interrupt interrupt;

    const auto solver = solverFor(trial, set);
    kit::MarkerCalibrator calibrator("markers", set);
    calibrator.setSolver(solver.get());
    Actor actor;
    std::error_code error;
    if (std::filesystem::exists(options.out, error) && !actor.loadSettingsFromFile(options.out)) {
        throw std::runtime_error(
            fmt::format("{}: is there, and is no actor's document", kit::printable(options.out)));
    }
    if (actor.actorName().empty()) {
        actor.setActorName(trial.subject().empty() ? trial.name() : trial.subject());
    }
    Character character("1", actor.actorName());
    character.setActor(&actor);
    character.setSolver(solver.get());
    character.addCalibrator(&calibrator, true);
    character.setTracks(trial.part(trial.chosen(options.frames)));
    const bool isDone = play(character, calibrator, interrupt);
    character.setTracks(nullptr);
    if (!isDone) {
        return interrupt.exitCode();
    }
    const kit::CalibrationReport& report = calibrator.report();
    if (!report.isGood()) {
        throw std::runtime_error(
            fmt::format("{}: {}", kit::printable(options.trial), report.error));
    }
    if (!actor.saveSettingsToFile(options.out)) {
        throw std::runtime_error(fmt::format("{}: cannot be written", kit::printable(options.out)));
    }
    print(report);
    fmt::print("written to {}\n", kit::printable(options.out));
    return exitSuccess;
}

} // namespace

void addCalibrate(CommandLine& line) {
    auto [command, options] =
        line.add("calibrate",
                 "Find out from a take of markers how long a performer's segments are and where "
                 "the markers sit, and write that into an actor's document",
                 calibrate);
    addTake(command, options.trial, "A C3D file");
    command
        .add_option("--markers", options.markers,
                    "The marker set: a document, or cmu41, cmu53 or gait16")
        ->required()
        ->type_name("SET");
    addOut(command, options.out, "FILE", "The actor's document; what else is in it is kept");
    addFileFrames(command, options.frames);
    addSpace(command, options.reading.space);
    addOrigin(command, options.reading.options);
    command
        .add_option("--subject", options.subject,
                    "The performer, as the file names them; if not given, the one with most of the "
                    "markers")
        ->type_name("NAME");
}

} // namespace tarn::capture
