#include "Run.h"

#include "ActorDocument.h"
#include "Errors.h"
#include "Interrupt.h"
#include "ProgressBar.h"
#include "Session.h"
#include "SessionFiles.h"
#include "SessionSummary.h"
#include "Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace tarn::capture {

namespace {

void check(const RunOptions& options) {
    constexpr double longest = 3600;
    if (!(options.calibrate >= 0 && options.calibrate <= longest)) { // not-a-number included
        throw UsageError(fmt::format("--calibrate must be from 0 to {} seconds", longest));
    }
}

/// Every actor is named after its character, unless there is one performer and a document that
/// names it.
void prepareActors(const Session& session, const std::optional<std::string>& document) {
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

/// False if a stop was requested.
bool calibrate(Session& session, const RunOptions& options, const Interrupt& interrupt) {
    const int frames = std::min(static_cast<int>(std::ceil(options.calibrate * session.rate())),
                                session.frameCount());
    if (frames == 0) {
        return true;
    }
    announce(
        fmt::format("calibrating over {}", counted(static_cast<std::size_t>(frames), "frame")));
    ProgressBar bar(stderr, frames);
    return session.calibrate(frames, options.realtime, interrupt, [&bar] { bar.advance(); });
}

/// False if a stop was requested.
bool play(Session& session, const RunOptions& options, const Interrupt& interrupt) {
    announce(fmt::format("playing {}",
                         counted(static_cast<std::size_t>(session.frameCount()), "frame")));
    ProgressBar bar(stderr, std::max(session.frameCount(), 1));
    return session.play(options.realtime, interrupt, [&bar] { bar.advance(); });
}

/// What the directory holds after a failure.
std::string keptText(const SessionFiles& files, const std::string& directory) {
    std::string list;
    for (const std::string& name : files.written()) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list.empty() ? "nothing was kept" : fmt::format("kept in {}: {}", directory, list);
}

void write(SessionFiles& files, bool complete, const std::string& directory) {
    try {
        files.write(complete);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(fmt::format("{}; {}", error.what(), keptText(files, directory)));
    }
}

} // namespace

int run(const RunOptions& options) {
    check(options);
    const Interrupt interrupt;
    Session session(options.takes);
    prepareActors(session, options.actor);
    SessionFiles files(session, options.out);

    if (!calibrate(session, options, interrupt)) {
        reportError("interrupted while calibrating; nothing was kept");
        return exitInterrupted;
    }
    const bool complete = play(session, options, interrupt);
    write(files, complete, options.out);

    printSummary(session, options.realtime);
    fmt::print("{} written to {}\n", counted(files.written().size(), "file"),
               printable(options.out));
    if (!complete) {
        reportError(fmt::format("interrupted after {} of {} frames; what was recorded is kept in "
                                "{}, marked as not complete",
                                session.framesShown(), session.frameCount(), options.out));
        return exitInterrupted;
    }
    return exitSuccess;
}

} // namespace tarn::capture
