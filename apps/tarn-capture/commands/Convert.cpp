// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "markers/MarkerText.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Output.h"
#include "support/OutputPath.h"

#include <fmt/format.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/Text.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

struct ConvertOptions {
    std::string take;
    std::string out;
    std::optional<kit::C3dEncoding> encoding;
};

/// "c3d", "csv" or "json".
std::string formatOf(const std::string& out) {
    const std::string ending = kit::lowered(std::filesystem::path(out).extension().string());
    if (ending != ".c3d" && ending != ".csv" && ending != ".json") {
        throw UsageError(
            fmt::format("'{}': expected a file that ends in .c3d, .csv or .json", out));
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

int convert(const ConvertOptions& options) {
    const std::string format = formatOf(options.out);
    if (options.encoding && format != "c3d") {
        throw UsageError("--encoding is for files that end in .c3d");
    }
    refuseToOverwrite(std::vector{options.take}, std::vector{options.out}, "OUT");
    TakeFile source(options.take);
    if (!source.holdsMarkers()) {
        throw std::runtime_error(
            fmt::format("{}: expected a C3D file; 'export' writes what bodies do", options.take));
    }
    const kit::C3dTake take = source.readMarkers();
    const FrameRange range = allFrames(take.frameCount);
    Output file(options.out);
    const TextSink sink = [&file](std::string_view text) { file.write(text); };
    if (format == "c3d") {
        writeC3d(take, options, file);
    } else {
        (format == "csv" ? writeMarkerCsv : writeMarkerJson)(take, range, sink);
    }
    file.commit();
    return exitSuccess;
}

} // namespace

void addConvert(CommandLine& line) {
    auto [command, options] =
        line.add("convert",
                 "Write a C3D file as another one, as a table or as JSON. A C3D file that is to "
                 "have the encoding that it has comes out byte for byte as it is",
                 convert);
    command.add_option("IN", options.take, "A C3D file; - is standard input")
        ->required()
        ->type_name("");
    command
        .add_option("OUT", options.out,
                    "The file to write, whose ending says what: .c3d, .csv or "
                    ".json")
        ->required()
        ->type_name("");
    auto& encoding = options.encoding;
    command
        .add_option_function<std::string>(
            "--encoding", [&encoding](const std::string& text) { encoding = parseEncoding(text); },
            "How a C3D file is to store its numbers: intel-real, intel-int, dec-real, dec-int, "
            "mips-real or mips-int; if not given, as it was")
        ->type_name("NAME");
}

} // namespace tarn::capture
