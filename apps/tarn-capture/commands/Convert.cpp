// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "markers/MarkerFrames.h"
#include "markers/MarkerText.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Output.h"
#include "support/OutputPath.h"
#include "takes/TakeSource.h"

#include <fmt/format.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/Gltf.h>
#include <tarn_kit/files/Text.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct ConvertOptions {
    std::vector<std::string> takes;
    std::string out;
    std::optional<kit::C3dEncoding> encoding;
    bool noMesh = false;
    std::optional<double> tolerance; ///< millimetres
    SpaceChoice space;
    kit::C3dOptions markers;
    std::optional<FrameChoice> frames;
};

bool isGltf(const std::string& ending) { return ending == ".glb" || ending == ".gltf"; }

/// "c3d", "csv", "json", "glb" or "gltf".
std::string formatOf(const std::string& out) {
    const std::string ending = kit::lowered(std::filesystem::path(out).extension().string());
    if (ending != ".c3d" && ending != ".csv" && ending != ".json" && !isGltf(ending)) {
        throw UsageError(fmt::format(
            "'{}': expected a file that ends in .c3d, .csv, .json, .glb or .gltf", out));
    }
    return ending.substr(1);
}

kit::C3dEncoding parseEncoding(const std::string& text) {
    if (const auto encoding = kit::c3dEncodingOf(text)) {
        return *encoding;
    }
    throw UsageError(fmt::format("--encoding '{}': expected intel-real, intel-int, dec-real, "
                                 "dec-int, mips-real or mips-int",
                                 text));
}

void writeC3d(const kit::C3dTake& take, const ConvertOptions& options, Output& file) {
    kit::C3dWriteOptions writing;
    writing.encoding = options.encoding;
    try {
        kit::writeC3d(take, file.stream(), writing);
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(fmt::format("{}: {}", options.out, error.what()));
    }
}

void convertMarkers(const ConvertOptions& options, const std::string& format) {
    if (options.takes.size() > 1) {
        throw UsageError("several takes go into one file that ends in .glb or .gltf only");
    }
    const std::string& name = options.takes.front();
    TakeFile source(name, options.markers);
    if (!source.holdsMarkers()) {
        throw std::runtime_error(
            fmt::format("{}: expected a C3D file; bodies go into .glb and .gltf, and 'export' "
                        "writes what they do as a table or as JSON",
                        name));
    }
    const kit::C3dTake take = withSpace(source.readMarkers(), options.space);
    const FrameRange range = chosenFrames(options.frames, take);
    Output file(options.out);
    const TextSink sink = [&file](std::string_view text) { file.write(text); };
    if (format == "c3d") {
        writeC3d(options.frames ? cut(take, range) : take, options, file);
    } else {
        (format == "csv" ? writeMarkerCsv : writeMarkerJson)(take, range, sink);
    }
    file.commit();
}

void convertBodies(const ConvertOptions& options, const std::string& format) {
    constexpr double millimetresPerMetre = 1000;
    kit::GltfOptions writing;
    writing.form = format == "glb" ? kit::GltfForm::Binary : kit::GltfForm::Text;
    writing.mesh = !options.noMesh;
    writing.tolerance = options.tolerance.value_or(0) / millimetresPerMetre;
    const auto performers = performersOf(options.takes, options.space);
    Output file(options.out);
    kit::GltfReport report;
    try {
        report = kit::writeGltf(performers, file.stream(), writing);
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(fmt::format("{}: {}", options.out, error.what()));
    }
    file.commit();
    if (options.tolerance) {
        fmt::print(stderr, "{}: {}, joints at most {:.4f} mm off\n", options.out,
                   kit::counted(report.keys, "key"), millimetresPerMetre * report.largestError);
    }
}

int convert(const ConvertOptions& given) {
    ConvertOptions options = given;
    if (options.out.empty()) { // the list of takes has taken it
        options.out = options.takes.back();
        options.takes.pop_back();
    }
    if (options.takes.empty()) {
        throw UsageError("OUT is required");
    }
    const std::string format = formatOf(options.out);
    checkInputs(options.takes);
    refuseToOverwrite(options.takes, std::vector{options.out}, "OUT");
    if (options.encoding && format != "c3d") {
        throw UsageError("--encoding is for files that end in .c3d");
    }
    if (isGltf("." + format)) {
        if (options.frames || options.markers.originIsNotSeen) {
            throw UsageError("--frames and --origin are for files that end in .c3d, .csv or .json");
        }
        convertBodies(options, format);
        return exitSuccess;
    }
    if (options.noMesh || options.tolerance) {
        throw UsageError("--no-mesh and --tolerance are for files that end in .glb or .gltf");
    }
    if (format == "c3d" && (options.space.unit || options.space.up || options.space.scale != 1)) {
        throw UsageError("--unit, --up and --scale are for other files: a C3D file also says where "
                         "force plates are");
    }
    convertMarkers(options, format);
    return exitSuccess;
}

} // namespace

void addConvert(CommandLine& line) {
    auto [command, options] =
        line.add("convert",
                 "Write bodies as glTF, several performers in one file; or a C3D file as another "
                 "one, as a table or as JSON. A C3D file that is to have the encoding that it has "
                 "comes out byte for byte as it is",
                 convert);
    addTakes(
        command, options.takes,
        "For .glb and .gltf BVH and take files, sessions and solved trials (by their directory, "
        "session.xml or solve.xml); else one C3D file; - is standard input");
    command
        .add_option("OUT", options.out,
                    "The file to write, whose ending says what: .glb or .gltf, .c3d, .csv or .json")
        ->type_name("");
    command.add_flag("--no-mesh", options.noMesh,
                     "glTF with nodes and animation alone, without a mesh of bones");
    command
        .add_option("--tolerance", options.tolerance,
                    "glTF with fewer keys, such that joints are at most so many millimetres off")
        ->type_name("MM")
        ->check(CLI::Range(0.0, 1000.0));
    addFileFrames(command, options.frames);
    addSpace(command, options.space);
    addOrigin(command, options.markers);
    auto& encoding = options.encoding;
    command
        .add_option_function<std::string>(
            "--encoding", [&encoding](const std::string& text) { encoding = parseEncoding(text); },
            "How a C3D file is to store its numbers: intel-real, intel-int, dec-real, dec-int, "
            "mips-real or mips-int; if not given, as it was")
        ->type_name("NAME");
}

} // namespace tarn::capture
