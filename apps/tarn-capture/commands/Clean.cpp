// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/CleaningReport.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Output.h"
#include "support/OutputPath.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/processing/cleaning/UnlabelledMarkers.h>

#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

namespace tarn::capture {

namespace {

struct CleanOptions {
    std::string in;
    std::string out;
    bool fill = false;
    bool swaps = false;
    std::optional<double> lowPass; ///< Hz
    std::optional<std::string> report;
    std::optional<kit::LengthUnit> unit; ///< of lengths that the report tells
    kit::C3dOptions markers;
};

double parseCutoff(const std::string& text) {
    const auto cutoff = kit::numberIn<double>(text);
    if (!cutoff || !(*cutoff > 0 && *cutoff < 1e6)) {
        throw UsageError(
            fmt::format("--lowpass '{}': expected a frequency in Hz, greater than 0", text));
    }
    return *cutoff;
}

void repair(kit::C3dTake& take, CleaningReport& report) {
    kit::MarkerRepairOptions options;
    options.rate = take.rate;
    options.untouched = report.untouched;
    kit::MarkerRepair repaired = kit::repairMarkers(take.tracks, options);
    take.tracks = repaired.take;
    report.changes = std::move(repaired.changes);
}

void fill(kit::C3dTake& take, CleaningReport& report) {
    kit::GapFillingOptions options;
    options.rate = take.rate;
    options.untouched = report.untouched;
    kit::GapFilling filled = kit::fillGaps(take.tracks, options);
    take.tracks = filled.take;
    report.gaps = std::move(filled.gaps);
}

void filter(kit::C3dTake& take, double cutoff, CleaningReport& report) {
    if (cutoff >= take.rate / 2) {
        throw UsageError(fmt::format("--lowpass {}: the take has {:g} frames per second, so that "
                                     "only less than {:g} Hz can be asked for",
                                     cutoff, take.rate, take.rate / 2));
    }
    report.filter.rate = take.rate;
    report.filter.cutoff = cutoff;
    report.filter.untouched = report.untouched;
    report.filtered = kit::lowPass(take.tracks, report.filter);
    take.tracks = report.filtered->take;
}

/// Swaps first: a marker that is somebody else's tells its neighbours nothing. The filter last, so
/// that it runs over what was filled.
CleaningReport clean(kit::C3dTake& take, const CleanOptions& options) {
    CleaningReport report;
    report.take = take;
    report.unit = options.unit;
    report.untouched = kit::unlabelledMarkers(take.markers);
    report.byDefault = !options.fill && !options.swaps && !options.lowPass;
    if (options.swaps || report.byDefault) {
        repair(take, report);
    }
    if (options.fill || report.byDefault) {
        fill(take, report);
    }
    if (options.lowPass) {
        filter(take, *options.lowPass, report);
    }
    return report;
}

int cleanTake(const CleanOptions& options) {
    refuseToOverwrite(options.in, options.out, "OUT");
    if (options.report) {
        refuseToOverwrite(options.in, *options.report, "--report");
        refuseToOverwrite(options.out, *options.report, "--report");
    }
    kit::C3dTake take = TakeFile(options.in, options.markers).readMarkers();
    const CleaningReport report = clean(take, options);
    std::ostringstream bytes;
    kit::writeC3d(take, bytes);
    Output file(options.out);
    file.write(bytes.str());
    std::optional<Output> document;
    if (options.report) {
        document.emplace(*options.report);
        document->write(documentOf(report));
    }
    file.commit();
    if (document) {
        document->commit();
    }
    fmt::print(isStandardStream(options.out) ? stderr : stdout, "{}", textOf(report));
    return exitSuccess;
}

} // namespace

void addClean(CommandLine& line) {
    auto [command, options] = line.add(
        "clean",
        "Repair a take of markers: put exchanged labels right, close gaps, filter. Says what "
        "was changed; without a flag, does --swaps and --fill",
        cleanTake);
    command.add_option("IN", options.in, "A C3D file; - is standard input")
        ->required()
        ->type_name("");
    command
        .add_option("OUT", options.out,
                    "The C3D file to write, the same but for the samples that were changed; - is "
                    "standard output, and what was changed is then told on standard error")
        ->required()
        ->type_name("");
    command.add_flag("--swaps", options.swaps,
                     "Put labels right that are exchanged for a while, and take spikes out");
    command.add_flag(
        "--fill", options.fill,
        "Close gaps: long ones from the markers that move along, short ones by a cubic "
        "where that does better");
    command
        .add_option_function<std::string>(
            "--lowpass",
            [&options = options](const std::string& text) { options.lowPass = parseCutoff(text); },
            "Filter without a lag: a Butterworth low-pass of fourth order, forwards and backwards, "
            "with this cut-off; 6 is usual for walking")
        ->type_name("HZ");
    addOrigin(command, options.markers);
    addUnit(command, options.unit,
            "What lengths that are told are to be in: m, cm, mm, in or ft; if not given, the unit "
            "of the file. OUT keeps that in any case");
    refuseFlags(command, {"--up", "--scale"},
                "OUT is the same file with repaired samples, which keeps its lengths and axes");
    command
        .add_option("--report", options.report, "Also write what was changed as a JSON document")
        ->type_name("FILE");
}

} // namespace tarn::capture
