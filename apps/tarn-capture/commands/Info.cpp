// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "documents/StoredCast.h"
#include "markers/MarkerFrames.h"
#include "markers/MarkerInfo.h"
#include "session/BodyNamesDocument.h"
#include "session/EachTake.h"
#include "session/Take.h"
#include "session/TakeFile.h"
#include "support/BodyTable.h"
#include "support/Flags.h"
#include "support/SkeletonTree.h"
#include "support/Terminal.h"
#include "support/Wrapped.h"

#include <fmt/core.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Timecode.h>
#include <tarn_store/file/TakeReader.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

struct InfoOptions {
    std::vector<std::string> takes;
    std::optional<std::string> names; ///< a document
    SpaceChoice space;
    kit::C3dOptions markers;
    bool brief = false;
};

/// One line of the report: a label and what it labels, in columns.
void printFact(const char* label, const std::string& fact) {
    fmt::print("  {:<12} {}\n", label, fact);
}

/// How long a take is.
std::string timecode(const Take& take) {
    return kit::timecodeText(kit::timecodeOf(take.frameCount(), take.exactRate()));
}

/// "120 frames per second", "29.97 (30000/1001) frames per second"
std::string rateText(const kit::Rate& rate) {
    if (rate.isWhole()) {
        return kit::counted(static_cast<std::size_t>(rate.numerator()), "frame") + " per second";
    }
    return fmt::format("{:.5g} ({}) frames per second", rate.value(), rate.text());
}

void printLength(const Take& take) {
    printFact("length", fmt::format("{} ({:.3f} s)", timecode(take), take.duration()));
}

/// What is only guessed is among the guesses.
void printSpace(const kit::Space& space) {
    if (space.unitOrigin != kit::Origin::Guessed) {
        printFact("unit", space.unit.symbol + ", " + kit::originText(space.unitOrigin));
    }
    if (space.upOrigin != kit::Origin::Guessed) {
        printFact("up", kit::axisName(space.up) + ", " + kit::originText(space.upOrigin));
    }
}

void printGuesses(const Take& take) {
    if (take.guesses().empty()) {
        return;
    }
    fmt::print("  guesses\n");
    constexpr std::size_t indent = 4;
    for (const std::string& guess : take.guesses()) {
        fmt::print("{}", hanging(guess, indent, outputWidth()));
    }
}

void printSkeleton(const kit::Rig& rig) {
    const auto joints = static_cast<std::size_t>(rig.jointCount());
    printFact("skeleton", fmt::format("{}, {}, {}", kit::counted(joints, "joint"),
                                      kit::counted(rig.nodes().size() - joints, "end site"),
                                      kit::counted(rig.skeletons().size(), "root")));
    fmt::print("{}", skeletonTree(rig, "    "));
}

void printBody(const kit::Rig& rig, const kit::BodyNames& names) {
    const kit::BodyMatch match = names.match(rig);
    printFact("body", bodySummary(match));
    if (match.matchedCount() + match.ambiguousCount() > 0) { // else all would say the same
        fmt::print("{}", bodyTable(rig, match, "    "));
    }
}

void printTake(const std::string& file, const Take& take, const kit::BodyNames& names) {
    fmt::print("{}\n", kit::printable(file));
    printFact("frames", std::to_string(take.frameCount()));
    printFact("rate", rateText(take.exactRate()));
    printLength(take);
    printFact("body height", kit::lengthText(take.bodyHeight(), take.unit()));
    printSpace(take.space());
    printGuesses(take);
    printSkeleton(take.rig());
    printBody(take.rig(), names);
}

/// Who recorded it, and with which actor; nothing of what is in no take file.
void printRecording(const std::string& file, const std::string& subject) {
    if (file.empty()) {
        return;
    }
    store::TakeReader reader(file);
    const store::TakeFileFacts facts = reader.facts();
    printFact("recorded", recordedText(facts));
    const std::string member = castMemberIn(reader, subject);
    if (!member.empty()) {
        printFact("character", member);
    }
}

/// The file comes last, since it may be of any length.
void printBrief(const std::string& file, const Take& take) {
    fmt::print("{:>7} frames  {:>4}/s  {}  {:>4} joints  {:>12}  {}\n", take.frameCount(),
               take.rate(), timecode(take), take.rig().jointCount(),
               kit::lengthText(take.bodyHeight(), take.unit()), kit::printable(file));
}

/// One that cannot be read is reported and does not keep the others from being shown.
int info(const InfoOptions& options) {
    checkInputs(options.takes);
    const auto names = loadBodyNames(options.names);
    const char* separator = "";
    return forEachTake(options.takes, [&](std::size_t i) {
        TakeFile source(options.takes[i], options.markers);
        if (source.holdsMarkers() && options.brief) {
            fmt::print("{}", describeBriefly(options.takes[i], source.readMarkersInfo()));
            return;
        }
        if (source.holdsMarkers()) {
            const kit::C3dTake markers = withSpace(source.readMarkers(), options.space);
            const auto [recording, subject] = source.stored();
            fmt::print("{}{}", std::exchange(separator, "\n"),
                       describeMarkers(options.takes[i], markers, !recording.empty()));
            printRecording(recording, subject);
            return;
        }
        const Take take(withSpace(source.read(), options.space));
        if (options.brief) {
            printBrief(options.takes[i], take);
            return;
        }
        fmt::print("{}", std::exchange(separator, "\n"));
        printTake(options.takes[i], take, *names);
        const auto [recording, subject] = source.stored();
        printRecording(recording, subject);
    });
}

} // namespace

void addInfo(CommandLine& line) {
    auto [command, options] = line.add(
        "info",
        "Describe takes: skeleton, joints, frames, rate, length, body "
        "height, what had to be guessed, and which joints are which segments of the body; of "
        "C3D files markers, frames, rate, unit, events, analog channels, how much each "
        "marker was seen, and what contradicts itself",
        info);
    addTakes(command, options.takes);
    addSpace(command, options.space);
    addOrigin(command, options.markers);
    addNames(command, options.names);
    command.add_flag("--brief", options.brief,
                     "One line per take: frames, rate, length, joints and body height; of C3D "
                     "files markers and findings, for which only their heads are read");
}

} // namespace tarn::capture
