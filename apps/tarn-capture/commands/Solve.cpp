// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/ActorDocument.h"
#include "session/EachTake.h"
#include "session/TakeFile.h"
#include "solving/MarkerTrial.h"
#include "solving/SolveFiles.h"
#include "solving/SolvePicture.h"
#include "solving/SolveSummary.h"
#include "solving/SolvedTrial.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/OutputPath.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn/Actor.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_kit/files/Text.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

struct SolveCommand {
    std::vector<std::string> trials;
    std::string actor;
    std::string out;
    std::optional<std::string> subject;
    std::optional<FrameChoice> frames;
    MarkerReading reading;
    SolveOptions how;
    bool noPictures = false;
};

fs::path reportFileIn(const std::string& directory) { return fs::path(directory) / "solve.xml"; }

kit::MarkerBody bodyIn(const std::string& file) {
    Actor actor;
    loadActor(actor, file);
    try {
        return kit::MarkerBody::of(actor);
    } catch (const kit::MarkerBodyError& error) {
        throw std::runtime_error(fmt::format("{}: {}; tarn-capture calibrate makes such a document",
                                             kit::printable(file), error.what()));
    }
}

constexpr std::array endings = {".bvh", ".joints.csv", ".markers.csv", ".png"};

/// Nothing that is read may be written over.
void refuseToOverwriteInputs(const SolveCommand& options, const std::vector<std::string>& names) {
    std::vector<std::string> outputs = {reportFileIn(options.out).string()};
    for (const char* const ending : endings) {
        const auto files = filesIn(options.out, names, ending);
        outputs.insert(outputs.end(), files.begin(), files.end());
    }
    auto inputs = options.trials;
    inputs.push_back(options.actor);
    refuseToOverwrite(inputs, outputs, "--out");
}

/// Solves one trial and writes its files; its part of the report. Empty if it was told to stop.
std::shared_ptr<Settings> solveOne(const SolveCommand& options, const std::string& file,
                                   const std::string& name, const kit::MarkerBody& body,
                                   const Interrupt& interrupt) {
    const MarkerTrial trial(file, options.subject, namesOf(body.markers), name, options.reading);
    const FrameRange range = trial.chosen(options.frames);
    SolvedTrial solved;
    {
        ProgressBar bar(stderr, countOf(range));
        try {
            solved = solveTrial(
                trial, range, body, options.how, [&] { return interrupt.isRequested(); },
                [&] { bar.advance(); });
        } catch (const kit::MarkerBodyError& error) {
            throw std::runtime_error(fmt::format("{}: {}", kit::printable(file), error.what()));
        }
    }
    if (interrupt.isRequested()) {
        return nullptr;
    }
    const auto path = [&](const char* ending) {
        return fs::path(options.out) / (trial.name() + ending);
    };
    const kit::BvhTake take = bvhOf(trial, solved);
    writeBvhFile(take, path(".bvh"));
    writeJointsCsv(trial, solved, path(".joints.csv"));
    writeMarkersCsv(trial, solved, path(".markers.csv"), 1000 * trial.metresPerUnit());
    if (!options.noPictures) {
        draw::savePicture(pictureOf(trial, solved, take), path(".png").string());
    }
    const SolveSummary summary = summarize(trial, solved);
    fmt::print("{}", textOf(trial, solved, summary));
    auto report = reportOf(trial, solved, summary);
    report->setValue("Take", pathFrom(options.out, trial.file()));
    noteSpace(*report, options.reading.space);
    const kit::Quaterniond turn = uprightOf(solved);
    report->setValue("Upright", fmt::format("{} {} {} {}", turn.x, turn.y, turn.z, turn.w));
    return report;
}

int solve(const SolveCommand& options) {
    checkInputs(options.trials);
    refuseStandardOutput(options.out, "--out");
    const auto names = uniqueTakeNames(options.trials);
    refuseToOverwriteInputs(options, names);
    const kit::MarkerBody body = bodyIn(options.actor);
    makeDirectory(options.out);
    const Interrupt interrupt;
    const draw::ScopedFonts fonts;
    Settings report;
    report.setValue("Solve.Actor", kit::printable(options.actor));
    for (const std::string& marker : options.how.without) {
        report.addValue("Solve.Without", kit::printable(marker));
    }
    int number = 0;
    const int exitCode = forEachTake(options.trials, [&](std::size_t i) {
        if (interrupt.isRequested()) {
            return;
        }
        if (const auto part = solveOne(options, options.trials[i], names[i], body, interrupt)) {
            report.addSubSettings(fmt::format("Solve.Trials.Trial{}", ++number), part);
        }
    });
    if (interrupt.isRequested()) {
        return interrupt.exitCode();
    }
    const std::string file = reportFileIn(options.out).string();
    if (number > 0 && !report.saveSettingsToFile(file)) {
        throw std::runtime_error(fmt::format("{}: cannot be written", kit::printable(file)));
    }
    return exitCode;
}

} // namespace

void addSolve(CommandLine& line) {
    auto [command, options] =
        line.add("solve",
                 "Solve takes of markers with a calibrated actor: a body per frame, where it has "
                 "every marker, and how far off each is",
                 solve);
    addTakes(command, options.trials, "C3D files");
    command.add_option("--actor", options.actor, "The actor's document, as calibrate writes it")
        ->required()
        ->type_name("FILE");
    addOut(command, options.out, "DIR",
           "Directory for what is written, created if it is not there");
    addFileFrames(command, options.frames);
    addSpace(command, options.reading.space);
    addOrigin(command, options.reading.options);
    command.add_flag("--live", options.how.live, "At the pace of the take");
    command
        .add_option("--without", options.how.without,
                    "Leave a marker out of the solving; where the body has it is written all the "
                    "same")
        ->type_name("MARKER")
        ->allow_extra_args(false);
    command
        .add_option("--subject", options.subject,
                    "The performer, as the file names them; if not given, the one with most of the "
                    "markers")
        ->type_name("NAME");
    command.add_flag("--no-pictures", options.noPictures, "Draw nothing");
}

} // namespace tarn::capture
