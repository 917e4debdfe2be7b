// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SessionSummary.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

constexpr std::size_t columns = 3;

void printFact(const char* label, const std::string& fact) {
    fmt::print("  {:<12} {}\n", label, fact);
}

std::string clockText(const kit::ClockCalibrator& clock, bool paced) {
    const kit::StreamQuality quality = clock.quality();
    if (quality.frames == 0) {
        return "not measured";
    }
    if (!paced) {
        return fmt::format("{} missing; rate and jitter not measured: frames were not paced",
                           quality.missing);
    }
    return fmt::format("{:.3f} per second measured, {} stated; jitter {:.3f} ms, {} missing: {}",
                       quality.measuredRate, quality.statedRate, 1000 * quality.jitter,
                       quality.missing, clock.isTrusted() ? "trusted" : "not trusted");
}

std::string lengthWithSpread(const kit::MeasuredLength& length, const kit::LengthUnit& unit) {
    return fmt::format("{} ± {:.2g}", kit::lengthText(length.mean, unit), length.spread);
}

/// Without the blanks that fill its last column.
void printLine(const std::string& line) {
    fmt::print("  {}\n", line.substr(0, line.find_last_not_of(' ') + 1));
}

void printDimensions(const kit::BodyDimensionCalibrator& dimensions, const kit::LengthUnit& unit) {
    if (dimensions.collectedFrames() == 0) {
        printFact("dimensions", "not measured");
        return;
    }
    printFact("height", lengthWithSpread(dimensions.height(), unit));
    printFact(
        "dimensions",
        fmt::format("mean ± spread over {}",
                    kit::counted(static_cast<std::size_t>(dimensions.collectedFrames()), "frame")));
    std::string line;
    std::size_t column = 0;
    for (const kit::MeasuredLength& length : dimensions.segments()) {
        line += fmt::format("  {:<16} {:<22}", kit::shortened(kit::printable(length.name), 16),
                            lengthWithSpread(length, unit));
        if (++column % columns == 0) {
            printLine(std::exchange(line, {}));
        }
    }
    if (!line.empty()) {
        printLine(line);
    }
}

void printPerformer(TakePerformer& performer, bool paced) {
    const kit::PerformerStatistics& statistics = performer.statistics();
    fmt::print("{}\n", performer.name());
    printFact("frames",
              fmt::format("{} in, {} out, {} lost", statistics.framesIn, statistics.framesOut,
                          statistics.framesExpected - statistics.framesIn));
    printFact("clock", clockText(performer.clock(), paced));
    printDimensions(performer.dimensions(), performer.take().unit());
    printFact("time", fmt::format("read {:.3f} s, wait {:.3f} s, solve {:.3f} s, record {:.3f} s, "
                                  "write {:.3f} s",
                                  performer.reading(), statistics.waiting, statistics.solving,
                                  statistics.recording, performer.writing()));
}

} // namespace

void printSummary(const TakeSession& session, bool paced) {
    for (const auto& performer : session.performers()) {
        printPerformer(*performer, paced);
    }
}

} // namespace tarn::capture
