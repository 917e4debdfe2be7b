// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "documents/ActorChoices.h"
#include "documents/OlderSession.h"
#include "documents/SessionDocument.h"
#include "linked/LinkFlags.h"
#include "linked/LiveTracks.h"
#include "linked/Publication.h"
#include "linked/ReceivedStreams.h"
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
#include "support/Output.h"
#include "support/OutputPath.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
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
    std::vector<std::string> from;      ///< streams, in place of takes
    double wait = 10;                   ///< seconds
    double atMost = 60;                 ///< minutes of streams
    std::optional<std::string> publish; ///< the name of a stream of what is solved
    int receivers = 0;
    link::LinkOptions link;
    bool dimensions = false;           ///< print everything that was measured
    std::optional<std::string> record; ///< a take file
    LiveChoice view;
    bool force = false; ///< a session that is there may go
};

void checkSources(const RunOptions& options) {
    if (options.takes.empty() && options.from.empty()) {
        throw UsageError("TAKE is required, or streams with --from");
    }
    checkInputs(options.takes);
    for (const std::string& name : options.from) {
        checkStreamName("--from", name);
    }
    if (options.publish) {
        checkStreamName("--publish", *options.publish);
    } else if (options.from.empty() && (!options.link.peers.empty() || options.link.domain != 0 ||
                                        options.link.multicast)) {
        throw UsageError("--peer, --domain and --multicast are for --from and --publish");
    }
}

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
    checkSources(options);
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
    if (session.isLive()) {
        announce("capturing until the end of the streams");
        return session.play(stopOn(interrupt), {});
    }
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

/// Streams that a session is made of.
class LiveInput {
public:
    explicit LiveInput(const RunOptions& options)
        : options_(options), streams_(options.link, options.from) {}

    /// Waits for the streams and their first frames. False if a stop was requested before.
    bool start(const ReceivedStreams::StopRequested& stopRequested) {
        if (!streams_.connect(options_.wait, stopRequested)) {
            return false;
        }
        tracks_.emplace(streams_, options_.atMost);
        announce(fmt::format("receiving {}", kit::counted(options_.from.size(), "stream")));
        return tracks_->start(stopRequested);
    }
    /// After `start`, as the next.
    std::vector<SessionSource> sources() { return tracks_->sources(options_.space); }
    const std::vector<std::string>& passedOver() const { return tracks_->passedOver(); }
    void stop() { streams_.stop(); }

    // After the stop.

    /// Why not all of the streams is in the session, a sentence each.
    std::vector<std::string> problems() const {
        std::vector<std::string> problems;
        if (tracks_->areFull()) {
            problems.push_back(fmt::format("the streams went on after {} minutes, which is as much "
                                           "as there is room for: --at-most",
                                           options_.atMost));
        } else {
            for (const std::string& name : streams_.unfinished()) {
                problems.push_back(fmt::format("'{}' has gone before its end", name));
            }
        }
        return problems;
    }
    bool isWhole() const { return problems().empty() && streams_.areWhole(); }
    std::string report() const { return streams_.report(); }

private:
    const RunOptions& options_;
    ReceivedStreams streams_;
    std::optional<LiveTracks> tracks_; ///< go first: they listen
};

/// Reads, calibrates and plays; the session is then ready to be written.
class Runner {
public:
    /// Of takes, unless there are streams, which have started.
    Runner(const RunOptions& options, const Interrupt& interrupt, LiveInput* streams)
        : options_(options), interrupt_(interrupt), streams_(streams), actors_(options.actors),
          session_(makeSession()), files_(prepared(), options.out, inputs()) {}

    int run() {
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
        auto problems = endStreams();
        const bool complete = isPlayed && problems.empty();
        const std::string unpublished = endPublishing();
        const std::string unrecorded = recording_ ? recording_->end() : std::string();
        write(complete);
        print(complete);
        problems.push_back(unpublished);
        problems.push_back(unrecorded);
        return conclude(isPlayed, problems);
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
    TakeSession makeSession() {
        const MarkerSetup setup = {options_.markers, actors_, options_.speed, clock_,
                                   options_.space};
        if (streams_ != nullptr) {
            return {streams_->sources(), setup};
        }
        return {options_.takes, replays(options_.speed, clock_, options_.space), setup};
    }
    std::vector<std::string> passedOver() const {
        auto reasons = streams_ == nullptr ? std::vector<std::string>() : streams_->passedOver();
        reasons.insert(reasons.end(), session_.passedOver().begin(), session_.passedOver().end());
        return reasons;
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
    bool isPaced() const { return streams_ == nullptr && options_.speed == 1; }

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
        if (streams_ != nullptr) {
            fmt::print("{}", streams_->report());
        }
    }

    /// The exit code, with what is wrong reported.
    int conclude(bool isPlayed, const std::vector<std::string>& problems) const {
        bool isWhole = streams_ == nullptr || streams_->isWhole();
        for (const std::string& problem : problems) {
            if (!problem.empty()) {
                reportError(problem);
                isWhole = false;
            }
        }
        if (!isPlayed) {
            reportError(
                fmt::format("interrupted after {}{} frames; what was recorded is kept "
                            "in {}, marked as not complete",
                            session_.framesShown(),
                            session_.isLive() ? "" : fmt::format(" of {}", session_.frameCount()),
                            options_.out));
            return interrupt_.exitCode();
        }
        return isWhole ? exitSuccess : exitFailure;
    }

    /// After the calibration, which may replace rigs. False if a stop was requested.
    bool beginPublishing() {
        if (!options_.publish) {
            return true;
        }
        publisher_.emplace(std::make_shared<link::Link>(options_.link), *options_.publish,
                           publisherOptions());
        for (const auto& performer : session_.performers()) {
            performer->publish(*publisher_);
        }
        return offer(*publisher_,
                     {*options_.publish, options_.link.domain, options_.receivers,
                      session_.performers().size()},
                     stopOn(interrupt_));
    }
    /// Why not all was published; empty if it was.
    std::string endPublishing() {
        if (!publisher_) {
            return {};
        }
        std::size_t frames = 0;
        for (const auto& performer : session_.performers()) {
            frames += static_cast<std::size_t>(performer->statistics().framesOut);
        }
        return endStream(*publisher_, frames);
    }
    /// Why not all of the streams came.
    std::vector<std::string> endStreams() {
        if (streams_ == nullptr) {
            return {};
        }
        streams_->stop();
        return interrupt_.isRequested() ? std::vector<std::string>() : streams_->problems();
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
    const Interrupt& interrupt_;
    LiveInput* const streams_; ///< null for takes
    const std::shared_ptr<kit::Clock> clock_ = std::make_shared<kit::SteadyClock>();
    const ActorChoices actors_;
    TakeSession session_;
    SessionFiles files_;
    std::optional<link::LinkPublisher> publisher_; ///< goes before what it publishes
    std::optional<Recording> recording_;           ///< goes before what it records
    std::optional<LiveView> view_;                 ///< so does this
};

/// A failure says what was kept.
int run(const RunOptions& options) {
    check(options);
    const Interrupt interrupt;
    std::optional<LiveInput> streams;
    const auto runner = [&]() -> std::unique_ptr<Runner> {
        try {
            if (!options.from.empty() && !streams.emplace(options).start(stopOn(interrupt))) {
                return nullptr;
            }
            return std::make_unique<Runner>(options, interrupt, streams ? &*streams : nullptr);
        } catch (const UsageError&) {
            throw;
        } catch (const std::exception& error) {
            throw std::runtime_error(fmt::format("{}; nothing was kept", error.what()));
        }
    }();
    if (runner == nullptr) {
        reportError("interrupted before the first frames; nothing was kept");
        return interrupt.exitCode();
    }
    return runner->run();
}

/// --from, --publish and what belongs to them.
void addStreams(CLI::App& command, RunOptions& options) {
    addFrom(command, options.from,
            "Streams of other programs and machines, by their names, in place of takes; the "
            "session ends with them, and fails unless every frame that was sent since is in it");
    CLI::Option* const from = command.get_option("--from");
    for (const char* const other : {"TAKE", "--speed", "--realtime", "--scale"}) {
        from->excludes(command.get_option(other));
    }
    addWait(command, options.wait, "How long to wait for the streams to be offered");
    command.get_option("--wait")->needs(from);
    constexpr double longest = 1440;
    command
        .add_option(
            "--at-most", options.atMost,
            fmt::format("How long streams there is room for; if not given, {}", options.atMost))
        ->type_name("MINUTES")
        ->check(CLI::Range(0.01, longest))
        ->needs(from);
    CLI::Option* const publish =
        command
            .add_option("--publish", options.publish,
                        "Offer the solved bodies as a stream of that name while they are made")
            ->type_name("NAME");
    addAwait(command, options.receivers);
    command.get_option("--await")->needs(publish);
    addLink(command, options.link);
}

} // namespace

void addRun(CommandLine& line) {
    auto [command, options] =
        line.add("run",
                 "Run a capture session: a character in one scene for each "
                 "BVH file, for each body whose markers a C3D file has, and "
                 "for those of streams, calibrated, played, solved, recorded, drawn and saved",
                 run);
    addTakes(command, options.takes,
             "BVH and C3D files of one clock and one space; - is standard input");
    command.get_option("TAKE")->required(false); // or streams
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
    addStreams(command, options);
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
