// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ActorDocument.h"
#include "commands/Export.h"
#include "commands/Info.h"
#include "commands/Play.h"
#include "commands/Run.h"
#include "commands/Stream.h"
#include "support/Errors.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>

namespace tarn::capture {

namespace {

/// The command line: one object per run, since the commands' options live in it.
struct CommandLine {
    CLI::App app{"Shows, plays, converts and streams motion-capture takes (BVH files).",
                 "tarn-capture"};
    InfoOptions info;
    PlayOptions play;
    ExportOptions exported;
    StreamOptions stream;
    RunOptions session;
    ActorOptions actor;
    std::string format;       ///< of the export
    std::function<int()> run; ///< the chosen command
};

void addInfo(CommandLine& line) {
    CLI::App& command =
        *line.app.add_subcommand("info", "Describe takes: skeleton, joints, frames, rate, length,\n"
                                         "body height, and what had to be guessed");
    command.add_option("TAKE", line.info.takes, "BVH files")->required()->type_name("");
    command.callback([&line] { line.run = [&line] { return info(line.info); }; });
}

void addPlay(CommandLine& line) {
    CLI::App& command =
        *line.app.add_subcommand("play", "Play a take and draw a contact sheet of it:\n"
                                         "poses.png and poses.svg");
    command.add_option("TAKE", line.play.take, "A BVH file")->required()->type_name("");
    command
        .add_option("--out", line.play.out,
                    "Directory for the pictures, created if it is not there")
        ->required()
        ->type_name("DIR");
    command
        .add_option("--rate", line.play.rate,
                    "Frames shown per second, at most 1000; if not given,\n"
                    "the rate of the take. The take keeps its speed: a\n"
                    "lower rate skips frames, a higher one repeats them")
        ->type_name("R");
    command.add_flag("--realtime", line.play.realtime,
                     "Take as long as the take lasts, instead of playing\n"
                     "as fast as it goes");
    command.callback([&line] { line.run = [&line] { return play(line.play); }; });
}

void addExport(CommandLine& line) {
    CLI::App& command = *line.app.add_subcommand(
        "export", "Write the world positions of all joints and end sites,\n"
                  "frame by frame");
    command.add_option("TAKE", line.exported.take, "A BVH file")->required()->type_name("");
    command.add_option("--format", line.format, "What to write")
        ->required()
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"csv", "json"}));
    command.add_option("--out", line.exported.out, "The file to write")
        ->required()
        ->type_name("FILE");
    command
        .add_option("--frames", line.exported.frames,
                    "First and last frame to write, both included, counted\n"
                    "from 0; if not given, all frames")
        ->type_name("A..B");
    command.callback([&line] {
        line.exported.format = line.format == "json" ? ExportFormat::json : ExportFormat::csv;
        line.run = [&line] { return exportPositions(line.exported); };
    });
}

void addStream(CommandLine& line) {
    CLI::App& command =
        *line.app.add_subcommand("stream", "Stream a take from a replay device to a recorder, and\n"
                                           "compare the recording with the take");
    command.add_option("TAKE", line.stream.take, "A BVH file")->required()->type_name("");
    command
        .add_option("--rate", line.stream.rate,
                    "How much faster than the take to stream; 0 for as fast\n"
                    "as it goes; if not given, 1")
        ->type_name("F");
    command
        .add_option("--frames", line.stream.frames, "How many frames to stream; if not given, all")
        ->type_name("N");
    command.callback([&line] { line.run = [&line] { return stream(line.stream); }; });
}

void addRun(CommandLine& line) {
    CLI::App& command = *line.app.add_subcommand(
        "run", "Run a capture session: a character per take in one scene,\n"
               "calibrated, played, solved, recorded, drawn and saved");
    command.add_option("TAKE", line.session.takes, "BVH files of one clock and one space")
        ->required()
        ->type_name("");
    command
        .add_option("--out", line.session.out,
                    "Directory for what comes out, created if it is not\nthere")
        ->required()
        ->type_name("DIR");
    command
        .add_option("--actor", line.session.actor,
                    "An actor's settings document that every actor begins\nwith")
        ->type_name("FILE");
    command
        .add_option("--calibrate", line.session.calibrate,
                    "For how long to calibrate; if not given, 1")
        ->type_name("SECONDS");
    command.add_flag("--realtime", line.session.realtime,
                     "Take as long as the takes last, instead of running as\n"
                     "fast as it goes");
    command.callback([&line] { line.run = [&line] { return run(line.session); }; });
}

void addActor(CommandLine& line) {
    CLI::App& command = *line.app.add_subcommand(
        "actor", "Show an actor's settings document, set what is in it, or\n"
                 "check it. A document that is not there is made when\n"
                 "something is set");
    command.add_option("FILE", line.actor.file, "An XML file")->required()->type_name("");
    command.add_option("--name", line.actor.name, "Set the actor's name")->type_name("NAME");
    command
        .add_option("--dimension", line.actor.dimensions,
                    "Set a body dimension, such as Height=1.72")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    command
        .add_option("--sensor", line.actor.sensors,
                    "Set an entry of the sensor map, such as Hips=3")
        ->type_name("NAME=NUMBER")
        ->allow_extra_args(false);
    command.add_flag("--check", line.actor.check,
                     "List what is wrong with the document, and fail if\n"
                     "anything is");
    command.callback([&line] { line.run = [&line] { return actor(line.actor); }; });
}

void reportUsage(const CommandLine& line, const std::string& reason) {
    std::string program = line.app.get_name();
    for (const CLI::App* command : line.app.get_subcommands()) {
        program += " " + command->get_name();
    }
    reportError(reason);
    std::fputs(("Try '" + program + " --help'.\n").c_str(), stderr);
}

/// Output that did not arrive, on a full disk for example, is a failure.
void flushOutput() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw std::runtime_error("cannot write to standard output");
    }
}

int runCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    line.app.set_version_flag("--version", "tarn-capture " TARN_CAPTURE_VERSION);
    line.app.require_subcommand(0, 1); // none at all is reported after what is unknown
    addInfo(line);
    addPlay(line);
    addExport(line);
    addStream(line);
    addRun(line);
    addActor(line);
    try {
        line.app.parse(argc, argv);
        if (!line.run) {
            throw UsageError("a command is required");
        }
        const int exitCode = line.run();
        flushOutput();
        return exitCode;
    } catch (const CLI::Success& request) { // help or version
        line.app.exit(request);
        flushOutput();
        return exitSuccess;
    } catch (const CLI::Error& error) {
        reportUsage(line, error.what());
    } catch (const UsageError& error) {
        reportUsage(line, error.what());
    }
    return exitUsage;
}

} // namespace

} // namespace tarn::capture

int main(int argc, char** argv) {
    using namespace tarn::capture;
    try {
        return runCommandLine(argc, argv);
    } catch (const std::exception& error) {
        reportError(error.what());
    } catch (...) {
        reportError("unknown failure");
    }
    return exitFailure;
}
