// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "documents/OlderSession.h"
#include "session/ActorDocument.h"
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
#include <cstdio>
#include <exception>
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
    std::optional<std::string> actor; ///< a settings document that every actor begins with
    std::optional<std::string> names; ///< a document that says what joints are called
    double calibrate = 1;             ///< seconds
    double speed = 0;                 ///< how much faster than the takes; 0 for as fast as it goes
    SpaceChoice space;
    bool dimensions = false; ///< print everything that was measured
    bool force = false;      ///< a session that is there may go
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
    if (!(options.calibrate >= 0 && options.calibrate <= longest)) { // not-a-number included
        throw UsageError(fmt::format("--calibrate must be from 0 to {} seconds", longest));
    }
}

/// Every actor is named after its character, unless there is one performer and a document that
/// names it.
void prepareActors(const TakeSession& session, const std::optional<std::string>& document) {
    for (const auto& performer : session.performers()) {
        Actor& actor = performer->actor();
        if (document) {
            loadActor(actor, *document);
        }
        if (actor.actorName().empty() || session.performers().size() > 1) {
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

/// False if a stop was requested.
bool calibrate(TakeSession& session, const RunOptions& options, const Interrupt& interrupt) {
    const double wanted = std::ceil(options.calibrate * session.rate());
    const int frames = static_cast<int>(std::min<double>(wanted, session.frameCount()));
    if (frames == 0) {
        return true;
    }
    announce(fmt::format("calibrating over {}",
                         kit::counted(static_cast<std::size_t>(frames), "frame")));
    ProgressBar bar(stderr, frames);
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
        : options_(options),
          session_(options.takes,
                   replays(options.speed, std::make_shared<kit::SteadyClock>(), options.space)),
          files_(prepared(), options.out, inputs()) {}

    int run() {
        if (!calibrate(session_, options_, interrupt_)) {
            reportError("interrupted while calibrating; nothing was kept");
            return interrupt_.exitCode();
        }
        const bool complete = play();
        write(complete);
        print(complete);
        if (!complete) {
            reportError(fmt::format("interrupted after {} of {} frames; what was recorded is kept "
                                    "in {}, marked as not complete",
                                    session_.framesShown(), session_.frameCount(), options_.out));
            return interrupt_.exitCode();
        }
        return exitSuccess;
    }

private:
    TakeSession& prepared() {
        prepareActors(session_, options_.actor);
        const auto names = loadBodyNames(options_.names);
        for (const auto& performer : session_.performers()) {
            performer->setBodyNames(names);
        }
        return session_;
    }
    /// The files that must not be written over.
    std::vector<std::string> inputs() const {
        auto files = options_.takes;
        if (options_.actor) {
            files.push_back(*options_.actor);
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
    TakeSession session_;
    SessionFiles files_;
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
                                       "Run a capture session: a character per take in one scene, "
                                       "calibrated, played, solved, recorded, drawn and saved",
                                       run);
    addTakes(command, options.takes, "BVH files of one clock and one space; - is standard input");
    addOut(command, options.out, "DIR", "Directory for what comes out, created if it is not there");
    command
        .add_option("--actor", options.actor,
                    "An actor's settings document that every actor begins with")
        ->type_name("FILE");
    command
        .add_option("--calibrate", options.calibrate, "For how long to calibrate; if not given, 1")
        ->type_name("SECONDS");
    addSpace(command, options.space);
    addNames(command, options.names);
    addSpeed(command, options.speed);
    command.add_flag("--dimensions", options.dimensions,
                     "Print of each performer all lengths that were measured, the clock, and the "
                     "time that each stage took");
    command.add_flag("--force", options.force,
                     "Replace a session that the directory holds, and remove the files that it "
                     "lists");
}

} // namespace tarn::capture
