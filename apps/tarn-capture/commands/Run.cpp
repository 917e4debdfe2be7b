// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "documents/ActorChoices.h"
#include "documents/OlderSession.h"
#include "documents/SessionDocument.h"
#include "live/LiveView.h"
#include "recording/Recording.h"
#include "session/BodyNamesDocument.h"
#include "session/SessionFiles.h"
#include "session/SessionSummary.h"
#include "session/TakeFile.h"
#include "session/TakeSession.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/OutputPath.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct RunOptions {
    std::vector<std::string> takes;
    std::string out;
    std::vector<std::string> actors;    ///< settings documents that actors begin with
    std::optional<std::string> markers; ///< the set that is worn
    std::optional<std::string> names;   ///< a document that says what joints are called
    std::optional<double> calibrate;    ///< seconds
    double speed = 0; ///< how much faster than the takes; 0 for as fast as it goes
    SpaceChoice space;
    bool dimensions = false;           ///< print everything that was measured
    std::optional<std::string> record; ///< a take file
    LiveChoice view;
    bool force = false; ///< a session that is there may go
};

void check(const RunOptions& options) {
    if (options.out.empty()) {
        throw UsageError("--out must name a directory");
    }
    if (holdsSession(options.out) && !options.force) {
        throw UsageError(
            fmt::format("--out: '{}' holds a session; --force replaces it, and removes "
                        "the files that it lists",
                        options.out));
    }
    checkInputs(options.takes);
    refuseStandardOutput(options.out, "--out");
    constexpr double longest = 3600;
    if (options.calibrate &&
        !(*options.calibrate >= 0 && *options.calibrate <= longest)) { // not-a-number included
        throw UsageError(fmt::format("--calibrate must be from 0 to {} seconds", longest));
    }
}

/// Every actor is named after its character, unless there is a document for it alone that names it.
void prepareActors(const TakeSession& session, const ActorChoices& documents) {
    for (const auto& performer : session.performers()) {
        Actor& actor = performer->actor();
        documents.load(actor, performer->name());
        const bool isOwn = session.performers().size() == 1 || documents.isNamed(performer->name());
        if (actor.actorName().empty() || !isOwn) {
            actor.setActorName(performer->name());
        }
    }
}

/// Says at once what is going on: what follows may take as long as the takes last.
void announce(const std::string& text) {
    fmt::print("{}\n", text);
    std::fflush(stdout);
}

kit::Session::StopRequested stopOn(const Interrupt& interrupt) {
    return [&interrupt] { return interrupt.isRequested(); };
}

/// For how many frames to calibrate. Bodies show how long they are in every frame, markers only in
/// movement.
int calibrationFrames(const TakeSession& session, const RunOptions& options) {
    const double seconds = options.calibrate.value_or(session.needsCalibration() ? 5 : 1);
    const double wanted = std::ceil(seconds * session.exactRate().value());
    return static_cast<int>(std::min<double>(wanted, session.frameCount()));
}

/// False if a stop was requested.
bool calibrate(TakeSession& session, const RunOptions& options, const Interrupt& interrupt) {
    const int frames = calibrationFrames(session, options);
    if (frames == 0) {
        return true;
    }
    announce(fmt::format("calibrating over {}",
                         kit::counted(static_cast<std::size_t>(frames), "frame")));
    ProgressBar bar(stderr, session.calibrationSteps(frames));
    return session.calibrate(frames, stopOn(interrupt), [&bar] { bar.advance(); });
}

/// False if a stop was requested.
bool play(TakeSession& session, const Interrupt& interrupt) {
    announce(fmt::format("playing {}",
                         kit::counted(static_cast<std::size_t>(session.frameCount()), "frame")));
    ProgressBar bar(stderr, std::max(session.frameCount(), 1));
    return session.play(stopOn(interrupt), [&bar] { bar.advance(); });
}

/// What the directory holds after a failure.
std::string keptText(const SessionFiles& files, const std::string& directory) {
    if (files.written().empty()) {
        return "nothing was kept";
    }
    return fmt::format("kept in {}: {}", directory, fmt::join(files.written(), ", "));
}

/// Reads, calibrates and plays; the session is then ready to be written.
class Runner {
public:
    explicit Runner(const RunOptions& options)
        : options_(options), actors_(options.actors),
          session_(options.takes, replays(options.speed, clock_, options.space),
                   {options.markers, actors_, options.speed, clock_, options.space}),
          files_(prepared(), options.out, inputs()) {}

    int run() {
        for (const std::string& reason : session_.passedOver()) {
            announce("passed over: " + reason);
        }
        if (!calibrate()) {
            reportError("interrupted while calibrating; nothing was kept");
            return interrupt_.exitCode();
        }
        beginRecording();
        beginView();
        const bool complete = play();
        view_.reset(); // files may take a while
        const std::string unrecorded = recording_ ? recording_->end() : std::string();
        write(complete);
        print(complete);
        if (!unrecorded.empty()) {
            reportError(unrecorded);
        }
        if (!complete) {
            reportError(fmt::format("interrupted after {} of {} frames; what was recorded is kept "
                                    "in {}, marked as not complete",
                                    session_.framesShown(), session_.frameCount(), options_.out));
            return interrupt_.exitCode();
        }
        return unrecorded.empty() ? exitSuccess : exitFailure;
    }

private:
    TakeSession& prepared() {
        if (session_.needsCalibration() && options_.calibrate == 0) {
            throw UsageError("--calibrate 0: bodies cannot be fitted to markers without a "
                             "calibration; --actor names an actor that was calibrated before");
        }
        prepareActors(session_, actors_);
        const auto names = loadBodyNames(options_.names);
        for (const auto& performer : session_.performers()) {
            performer->setBodyNames(names);
        }
        return session_;
    }
    /// The files that must not be written over.
    std::vector<std::string> inputs() const {
        auto files = options_.takes;
        const auto actors = actors_.files();
        files.insert(files.end(), actors.begin(), actors.end());
        if (options_.markers) {
            files.push_back(*options_.markers);
        }
        return files;
    }

    /// Clocks are judged by the rate of the takes, which only devices at their speed keep.
    bool isPaced() const { return options_.speed == 1; }

    void print(bool complete) {
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
    }

    bool calibrate() {
        try {
            return capture::calibrate(session_, options_, interrupt_);
        } catch (const std::exception& error) {
            throw std::runtime_error(fmt::format("{}; nothing was kept", error.what()));
        }
    }

    /// After the calibration, which may replace rigs.
    void beginRecording() {
        if (options_.record) {
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
    }

    /// After the calibration, too.
    void beginView() {
        if (options_.view.port) {
            std::vector<std::string> names;
            for (const auto& performer : session_.performers()) {
                names.push_back(performer->name());
            }
            view_.emplace(options_.view, fmt::format("{}", fmt::join(names, ", ")),
                          session_.exactRate());
            for (const auto& performer : session_.performers()) {
                performer->show(*view_);
            }
            announce("watch at " + view_->start());
        }
    }

    bool play() {
        try {
            return capture::play(session_, interrupt_);
        } catch (const std::exception& error) {
            files_.write(false, isPaced());
            throw std::runtime_error(
                fmt::format("{}; {}", error.what(), keptText(files_, options_.out)));
        }
    }

    void write(bool complete) {
        const auto problems = files_.write(complete, isPaced());
        if (!problems.empty()) {
            throw std::runtime_error(
                fmt::format("{}; {}", fmt::join(problems, "; "), keptText(files_, options_.out)));
        }
    }

    const RunOptions& options_;
    const Interrupt interrupt_;
    const std::shared_ptr<kit::Clock> clock_ = std::make_shared<kit::SteadyClock>();
    const ActorChoices actors_;
    TakeSession session_;
    SessionFiles files_;
    std::optional<Recording> recording_; ///< goes before what it records
    std::optional<LiveView> view_;       ///< so does this
};

/// A failure says what was kept.
int run(const RunOptions& options) {
    check(options);
    const auto runner = [&options] {
        try {
            return std::make_unique<Runner>(options);
        } catch (const UsageError&) {
            throw;
        } catch (const std::exception& error) {
            throw std::runtime_error(fmt::format("{}; nothing was kept", error.what()));
        }
    }();
    return runner->run();
}

} // namespace

void addRun(CommandLine& line) {
    auto [command, options] = line.add("run",
                                       "Run a capture session: a character in one scene for each "
                                       "BVH file, and for each body whose markers a C3D file has, "
                                       "calibrated, played, solved, recorded, drawn and saved",
                                       run);
    addTakes(command, options.takes,
             "BVH and C3D files of one clock and one space; - is standard input");
    addOut(command, options.out, "DIR", "Directory for what comes out, created if it is not there");
    command
        .add_option("--actor", options.actors,
                    "An actor's settings document that every actor begins with; NAME=FILE for the "
                    "performer of that name. A body that was calibrated with markers is not "
                    "calibrated again")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command
        .add_option("--markers", options.markers,
                    "The marker set of C3D files: a document, or cmu41, cmu53 or gait16; if not "
                    "given, it is told from the labels")
        ->type_name("SET");
    command
        .add_option("--calibrate", options.calibrate,
                    "For how long to calibrate; if not given, 1, or 5 where bodies are fitted to "
                    "markers")
        ->type_name("SECONDS");
    addSpace(command, options.space);
    addNames(command, options.names);
    addSpeed(command, options.speed);
    addRecord(command, options.record);
    addLiveView(command, options.view);
    command.add_flag("--dimensions", options.dimensions,
                     "Print of each performer all lengths that were measured, the clock, and the "
                     "time that each stage took");
    command.add_flag("--force", options.force,
                     "Replace a session that the directory holds, and remove the files that it "
                     "lists");
}

} // namespace tarn::capture
