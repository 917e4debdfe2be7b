// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "documents/StoredCast.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/FrameRange.h"
#include "support/OutputPath.h"

#include <fmt/format.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/files/Text.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>
#include <tarn_store/file/TakeSplice.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct TakeOptions {
    std::string action;
    std::vector<std::string> arguments;
};

using Arguments = std::vector<std::string>;

std::string kindOf(int dataType) {
    switch (dataType) {
    case kit::poseDataType:
        return "poses";
    case kit::bodyDataType:
        return "bodies";
    case kit::markerDataType:
        return "markers";
    case kit::analogDataType:
        return "analog";
    case kit::rigidBodyDataType:
        return "rigid";
    default:
        return fmt::format("type {}", dataType);
    }
}

int listTake(const Arguments& arguments) {
    store::TakeReader reader(arguments[0]);
    const store::TakeFileFacts facts = reader.facts();
    fmt::print("{}\n", kit::printable(arguments[0]));
    fmt::print("  recorded  {}\n", recordedText(facts));
    fmt::print("  {}\n", facts.ended ? "ended     " + kit::printable(facts.endedUtc)
                                     : "not ended: broken off, or still being recorded");
    fmt::print("  frames    {}\n", reader.length());
    fmt::print("  tracks\n");
    for (const store::StoredTrack& track : reader.tracks()) {
        fmt::print("    {:>3}  {:<8}  {:>12}  {:>9}  {:>5} lost  {}\n", track.id,
                   kindOf(track.dataType),
                   track.description.rate ? track.description.rate->text() + "/s" : "",
                   kit::counted(static_cast<std::size_t>(track.frames), "frame"), track.lost,
                   kit::printable(track.description.subject));
    }
    for (const std::string& member : castIn(reader)) {
        fmt::print("  character {}\n", member);
    }
    for (const store::Loss& loss : reader.losses()) {
        fmt::print("  lost      {} of track {}, {} to {}: {}\n", loss.count, loss.track, loss.first,
                   loss.last, kit::printable(loss.reason));
    }
    for (const store::Note& note : reader.notes()) {
        fmt::print("  {:<8}  {}{}{}\n", kit::printable(note.kind),
                   note.frame ? fmt::format("frame {}: ", *note.frame) : std::string(),
                   note.label.empty() ? std::string() : kit::printable(note.label) + " ",
                   kit::printable(note.text));
    }
    return exitSuccess;
}

int checkTake(const Arguments& arguments) {
    const store::TakeVerdict verdict = store::checkTakeFile(arguments[0]);
    fmt::print("{}\n", verdict.line);
    return verdict.isWhole ? exitSuccess : exitFailure;
}

int recoverTake(const Arguments& arguments) {
    refuseToOverwrite(std::filesystem::path(arguments[0]), arguments[1], "OUT");
    const store::TakeRecovery recovery = store::recoverTakeFile(arguments[0], arguments[1]);
    fmt::print("{} recovered\n", kit::counted(static_cast<std::size_t>(recovery.frames), "frame"));
    for (const store::MissingFrames& missing : recovery.missing) {
        std::string place;
        if (missing.first && missing.last) {
            place = fmt::format(", between frames {} and {}", *missing.first, *missing.last);
        }
        if (!missing.timecodes.empty()) {
            place += fmt::format(", {}", missing.timecodes);
        }
        fmt::print("{} missing of track {}{}{}\n",
                   kit::counted(static_cast<std::size_t>(missing.count), "frame"), missing.track,
                   missing.subject.empty() ? ""
                                           : fmt::format(" ({})", kit::printable(missing.subject)),
                   place);
    }
    return exitSuccess;
}

int cutTake(const Arguments& arguments) {
    refuseToOverwrite(std::filesystem::path(arguments[0]), arguments[2], "OUT");
    const FrameChoice choice = parseFrames(arguments[1], "A..B");
    const FrameRange range = chosenFrames(choice, store::TakeReader(arguments[0]).length());
    store::cutTakeFile(arguments[0], range.first, range.last, arguments[2]);
    fmt::print("{} written to {}\n",
               kit::counted(static_cast<std::size_t>(countOf(range)), "frame"),
               kit::printable(arguments[2]));
    return exitSuccess;
}

int joinTakes(const Arguments& arguments) {
    const Arguments inputs(arguments.begin(), arguments.end() - 1);
    refuseToOverwrite(inputs, {arguments.back()}, "OUT");
    store::joinTakeFiles({inputs.begin(), inputs.end()}, arguments.back());
    const int length = store::TakeReader(arguments.back()).length();
    fmt::print("{} written to {}\n", kit::counted(static_cast<std::size_t>(length), "frame"),
               kit::printable(arguments.back()));
    return exitSuccess;
}

int noteInTake(const Arguments& arguments) {
    store::noteInTakeFile(arguments[0], arguments[1]);
    return exitSuccess;
}

struct Action {
    const char* name;
    const char* arguments;
    std::size_t fewest;
    std::size_t most;
    int (*function)(const Arguments&);
};

constexpr std::size_t any = 10'000;
const std::vector<Action> actions = {
    {"ls", "FILE", 1, 1, listTake},
    {"check", "FILE", 1, 1, checkTake},
    {"recover", "FILE OUT", 2, 2, recoverTake},
    {"cut", "FILE A..B OUT", 3, 3, cutTake},
    {"join", "FILE... OUT", 2, any, joinTakes},
    {"note", "FILE TEXT", 2, 2, noteInTake},
};

int take(const TakeOptions& options) {
    for (const Action& action : actions) {
        if (options.action != action.name) {
            continue;
        }
        const std::size_t count = options.arguments.size();
        if (count < action.fewest || count > action.most) {
            throw UsageError(fmt::format("take {}: expected {}", action.name, action.arguments));
        }
        return action.function(options.arguments);
    }
    throw UsageError(
        fmt::format("'{}': expected ls, check, recover, cut, join or note", options.action));
}

} // namespace

void addTake(CommandLine& line) {
    auto [command, options] = line.add(
        "take",
        "Work with take files (.tarn): ls FILE lists what is in one; check FILE proves it "
        "and says whether it is whole, or where it was broken off (exit 1); recover FILE "
        "OUT makes a whole file of a damaged one and says what is missing; cut FILE A..B "
        "OUT and join FILE... OUT are exact by frame, and what several machines recorded together "
        "is joined side by side; note FILE TEXT adds a note",
        take);
    command.add_option("ACTION", options.action, "ls, check, recover, cut, join or note")
        ->required()
        ->type_name("");
    command
        .add_option("ARGUMENTS", options.arguments,
                    "Files, and what else the action takes, as above")
        ->required()
        ->type_name("");
    refuseFlags(command, {"--unit", "--up", "--scale"},
                "take files keep the lengths and axes with which they were recorded");
}

} // namespace tarn::capture
