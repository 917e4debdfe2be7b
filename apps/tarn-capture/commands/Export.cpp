// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "export/MotionCsv.h"
#include "export/MotionJson.h"
#include "export/MotionSample.h"
#include "markers/MarkerFrames.h"
#include "markers/MarkerText.h"
#include "session/EachTake.h"
#include "session/Take.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Output.h"
#include "support/OutputPath.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

struct ExportOptions {
    std::vector<std::string> takes;
    std::string format; ///< "csv" or "json"
    std::string out;
    std::optional<FrameChoice> frames;
    SpaceChoice space;
    kit::C3dOptions markers;
    MotionKinds kinds = {true};
};

// Both formats are written frame by frame, so that the length of a take costs time and no memory.

void writeCsv(Output& file, const Take& take, FrameRange range, const MotionKinds& kinds) {
    MotionSampler sampler(take, kinds);
    file.write(csvHeader(take.rig(), kinds));
    for (int frame = range.first; frame <= range.last; ++frame) {
        file.write(csvLine(take.rig(), frame, take.secondsAt(frame), sampler.at(frame)));
    }
}

void writeJson(Output& file, const Take& take, FrameRange range, const MotionKinds& kinds) {
    MotionSampler sampler(take, kinds);
    file.write(jsonBegin(take, kinds));
    const char* separator = "\n";
    for (int frame = range.first; frame <= range.last; ++frame) {
        file.write(std::exchange(separator, ",\n"));
        file.write(jsonPose(take.rig(), frame, take.secondsAt(frame), sampler.at(frame)));
    }
    file.write(jsonEnd);
}

void exportMarkers(const kit::C3dTake& take, const std::string& out, const ExportOptions& options) {
    if (options.kinds.rotations || options.kinds.angles || options.kinds.velocities) {
        throw UsageError("--what: markers have positions only");
    }
    const FrameRange range = chosenFrames(options.frames, take);
    Output file(out);
    (options.format == "csv" ? writeMarkerCsv : writeMarkerJson)(
        take, range, [&file](std::string_view text) { file.write(text); });
    file.commit();
}

void exportTake(const std::string& name, const std::string& out, const ExportOptions& options) {
    TakeFile source(name, options.markers);
    if (source.holdsMarkers()) {
        exportMarkers(withSpace(source.readMarkers(), options.space), out, options);
        return;
    }
    const Take take(withSpace(source.read(), options.space));
    const FrameRange range = chosenFrames(options.frames, take.frameCount());
    Output file(out);
    (options.format == "csv" ? writeCsv : writeJson)(file, take, range, options.kinds);
    file.commit();
}

/// Where each take goes.
std::vector<std::string> outputsOf(const ExportOptions& options) {
    if (options.takes.size() == 1 && !isDirectory(options.out)) {
        return {options.out};
    }
    refuseStandardOutput(options.out, "--out");
    return filesIn(options.out, uniqueTakeNames(options.takes), "." + options.format);
}

int exportTakes(const ExportOptions& options) {
    checkInputs(options.takes);
    const auto outputs = outputsOf(options);
    refuseToOverwrite(options.takes, outputs, "--out");
    return forEachTake(options.takes,
                       [&](std::size_t i) { exportTake(options.takes[i], outputs[i], options); });
}

} // namespace

void addExport(CommandLine& line) {
    auto [command, options] = line.add("export",
                                       "Write what the joints and end sites of takes do, or where "
                                       "their markers are, frame by frame, as a table or as JSON",
                                       exportTakes);
    addTakes(command, options.takes);
    command.add_option("--format", options.format, "What to write: csv or json")
        ->required()
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"csv", "json"}));
    addOut(command, options.out, "PATH",
           "The file to write, - for standard output; a directory, which gets a file of its name "
           "for each take, where that is there, ends with a /, or there are several takes");
    auto& kinds = options.kinds;
    command
        .add_option_function<std::string>(
            "--what", [&kinds](const std::string& text) { kinds = parseMotionKinds(text); },
            "One or more of positions, rotations (quaternions in the world), angles (of a joint, "
            "relative to its parent) and velocities, with commas between them; if not given, "
            "positions")
        ->type_name("LIST");
    addFrames(command, options.frames);
    addSpace(command, options.space);
    addOrigin(command, options.markers);
}

} // namespace tarn::capture
