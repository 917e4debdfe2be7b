// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/PositionsCsv.h"
#include "session/Take.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/OutputPath.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tarn/OutputFile.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

using Json = nlohmann::ordered_json;
using Positions = std::vector<Vector3f>;

struct ExportOptions {
    std::string take;
    std::string format; ///< "csv" or "json"
    std::string out;
    std::optional<FrameChoice> frames;
};

// Numbers are written with the fewest digits that read back to the same value. Both formats are
// written frame by frame, so that the length of a take costs time and no memory.

void writeCsv(OutputFile& file, const Take& take, FrameRange range) {
    file.write(csvHeader(take.rig(), take.unit()));
    for (int frame = range.first; frame <= range.last; ++frame) {
        CsvRow row(frame, take.secondsAt(frame));
        for (const Vector3f& at : kit::worldPositions(take.rig(), take.pose(frame))) {
            row.add(at);
        }
        file.write(row.finished());
    }
}

Json jsonNodes(const kit::Rig& rig) {
    Json nodes = Json::array();
    for (const kit::RigNode& node : rig.nodes()) {
        nodes.push_back({{"name", kit::validUtf8(node.name)},
                         {"parent", node.parent < 0 ? Json() : Json(node.parent)},
                         {"end_site", node.isEndSite()}});
    }
    return nodes;
}

/// JSON has no number for what does not fit a float.
std::string jsonNumber(float value) {
    return std::isfinite(value) ? fmt::to_string(value) : "null";
}

std::string jsonPose(int frame, double time, const Positions& positions) {
    std::string text = fmt::format(R"({{"frame": {}, "time": {}, "positions": [)", frame, time);
    const char* separator = "";
    for (const Vector3f& at : positions) {
        fmt::format_to(std::back_inserter(text), "{}[{}, {}, {}]", std::exchange(separator, ", "),
                       jsonNumber(at.x), jsonNumber(at.y), jsonNumber(at.z));
    }
    return text + "]}";
}

void writeJson(OutputFile& file, const Take& take, FrameRange range) {
    file.write(fmt::format("{{\"rate\": {},\n\"unit\": {},\n\"nodes\": {},\n\"poses\": [",
                           take.rate(), Json(take.unit().symbol).dump(),
                           jsonNodes(take.rig()).dump()));
    const char* separator = "\n";
    for (int frame = range.first; frame <= range.last; ++frame) {
        file.write(std::exchange(separator, ",\n"));
        file.write(jsonPose(frame, take.secondsAt(frame),
                            kit::worldPositions(take.rig(), take.pose(frame))));
    }
    file.write("\n]}\n");
}

int exportPositions(const ExportOptions& options) {
    refuseToOverwrite(options.take, options.out, "--out");
    const Take take(options.take);
    const FrameRange range = chosenFrames(options.frames, take.frameCount());
    OutputFile file(options.out);
    if (options.format == "csv") {
        writeCsv(file, take, range);
    } else {
        writeJson(file, take, range);
    }
    file.commit();
    return exitSuccess;
}

} // namespace

void addExport(CommandLine& line) {
    auto [command, options] = line.add("export",
                                       "Write the world positions of all joints and end sites, "
                                       "frame by frame",
                                       exportPositions);
    addTake(command, options.take);
    command.add_option("--format", options.format, "What to write: csv or json")
        ->required()
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"csv", "json"}));
    addOut(command, options.out, "FILE", "The file to write");
    addFrames(command, options.frames);
}

} // namespace tarn::capture
