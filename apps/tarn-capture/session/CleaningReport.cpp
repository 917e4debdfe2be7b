// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/CleaningReport.h"

#include "markers/MarkerFrames.h"
#include "support/Terminal.h"
#include "support/Wrapped.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarn::capture {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t mostLines = 30; ///< of the changes, and of the gaps

std::string nameOf(const CleaningReport& report, int marker) {
    return kit::printable(report.take.markers[static_cast<std::size_t>(marker)].label());
}

std::string namesOf(const CleaningReport& report, const std::vector<int>& markers) {
    std::string text;
    for (const int marker : markers) {
        text += (text.empty() ? "" : ", ") + nameOf(report, marker);
    }
    return text;
}

/// As the file numbers them.
std::string framesOf(const CleaningReport& report, int first, int last) {
    const std::int64_t number = report.take.firstFrame;
    return first == last ? fmt::format("frame {}", number + first)
                         : fmt::format("frames {}..{}", number + first, number + last);
}

std::string unitOf(const CleaningReport& report) {
    return report.unit ? report.unit->symbol : report.take.unit;
}

/// How far off positions of a gap may be expected to be, in the unit of the report.
double expectedErrorOf(const CleaningReport& report, const kit::MarkerGap& gap) {
    return gap.expectedError * factorTo(report.unit, report.take);
}

std::string counted(std::size_t count, const char* noun) { return kit::counted(count, noun); }

std::string lineOf(const CleaningReport& report, const kit::MarkerChange& change) {
    const bool isSwap = change.fault == kit::MarkerFault::Swap;
    const char* const what = isSwap ? "labels exchanged" : "spike taken out";
    return fmt::format("{}: {}, {}, confidence {:.2f}", namesOf(report, change.markers),
                       framesOf(report, change.first, change.last),
                       change.corrected ? what
                       : isSwap         ? "labels exchanged, perhaps: left as they are"
                                        : "spike, perhaps: left as it is",
                       change.confidence);
}

std::string lineOf(const CleaningReport& report, const kit::MarkerGap& gap) {
    std::string text =
        fmt::format("{}: {}, ", nameOf(report, gap.marker), framesOf(report, gap.first, gap.last));
    if (gap.method == kit::FillMethod::NotFilled) {
        return text + "not filled: " + gap.reason;
    }
    text += gap.neighbours.empty() ? "by a cubic" : "from " + namesOf(report, gap.neighbours);
    if (std::isfinite(gap.expectedError)) {
        const std::string unit = unitOf(report);
        text += fmt::format(", expected error {:.2g}{}{}", expectedErrorOf(report, gap),
                            unit.empty() ? "" : " ", kit::printable(unit));
    }
    if (!gap.reason.empty()) {
        text +=
            fmt::format("; {} of {} frames: {}", gap.filled, gap.last - gap.first + 1, gap.reason);
    }
    return text;
}

template <class Entry>
std::string linesOf(const CleaningReport& report, const std::vector<Entry>& entries) {
    std::string text;
    for (std::size_t i = 0; i < std::min(entries.size(), mostLines); ++i) {
        constexpr std::size_t indent = 2;
        text += hanging(lineOf(report, entries[i]), indent, outputWidth());
    }
    if (entries.size() > mostLines) {
        text += fmt::format("  and {} more: --report lists all\n", entries.size() - mostLines);
    }
    return text;
}

std::string textOfChanges(const CleaningReport& report) {
    const auto& changes = *report.changes;
    const auto count = [&](kit::MarkerFault fault) {
        return static_cast<std::size_t>(
            std::count_if(changes.begin(), changes.end(), [&](const kit::MarkerChange& change) {
                return change.corrected && change.fault == fault;
            }));
    };
    return fmt::format("{} put right, {} taken out\n",
                       counted(count(kit::MarkerFault::Swap), "swap"),
                       counted(count(kit::MarkerFault::Spike), "spike")) +
           linesOf(report, changes);
}

std::string textOfGaps(const CleaningReport& report) {
    const auto& gaps = *report.gaps;
    if (gaps.empty()) {
        return "no gaps\n";
    }
    std::size_t filled = 0;
    std::size_t samples = 0;
    for (const kit::MarkerGap& gap : gaps) {
        filled += gap.filled > 0 ? 1 : 0;
        samples += static_cast<std::size_t>(gap.filled);
    }
    return fmt::format("{} of {} filled, {}\n", filled, counted(gaps.size(), "gap"),
                       counted(samples, "sample")) +
           linesOf(report, gaps);
}

std::string textOfFilter(const CleaningReport& report) {
    std::string text =
        fmt::format("{} low-passed: Butterworth, order {}, {} Hz (-3 dB) over both passes\n",
                    counted(static_cast<std::size_t>(report.filtered->samples), "sample"),
                    report.filter.order, report.filter.cutoff);
    if (report.filtered->tooShort > 0) {
        text += fmt::format(
            "  {} between gaps left as they are\n",
            counted(static_cast<std::size_t>(report.filtered->tooShort), "single sample"));
    }
    return text;
}

Json jsonNames(const CleaningReport& report, const std::vector<int>& markers) {
    Json names = Json::array();
    for (const int marker : markers) {
        names.push_back(
            kit::validUtf8(report.take.markers[static_cast<std::size_t>(marker)].label()));
    }
    return names;
}

Json jsonChanges(const CleaningReport& report) {
    Json changes = Json::array();
    for (const kit::MarkerChange& change : *report.changes) {
        changes.push_back({{"fault", change.fault == kit::MarkerFault::Swap ? "swap" : "spike"},
                           {"first", report.take.firstFrame + change.first},
                           {"last", report.take.firstFrame + change.last},
                           {"markers", jsonNames(report, change.markers)},
                           {"confidence", change.confidence},
                           {"corrected", change.corrected}});
    }
    return changes;
}

Json jsonGaps(const CleaningReport& report) {
    Json gaps = Json::array();
    for (const kit::MarkerGap& gap : *report.gaps) {
        const char* const method = gap.method == kit::FillMethod::NotFilled ? "none"
                                   : gap.method == kit::FillMethod::Cubic   ? "cubic"
                                                                            : "neighbours";
        gaps.push_back(
            {{"marker", jsonNames(report, {gap.marker})[0]},
             {"first", report.take.firstFrame + gap.first},
             {"last", report.take.firstFrame + gap.last},
             {"frames", gap.last - gap.first + 1},
             {"filled", gap.filled},
             {"method", method},
             {"neighbours", jsonNames(report, gap.neighbours)},
             {"expected_error",
              std::isfinite(gap.expectedError) ? Json(expectedErrorOf(report, gap)) : Json()},
             {"reason", gap.reason}});
    }
    return gaps;
}

} // namespace

std::string textOf(const CleaningReport& report) {
    std::string text = fmt::format(
        "{}: {}, {} at {:g} Hz\n", kit::printable(report.take.tracks->tracksName()),
        counted(report.take.markers.size(), "marker"),
        counted(static_cast<std::size_t>(report.take.frameCount), "frame"), report.take.rate);
    if (!report.untouched.empty()) {
        text += fmt::format("{} left as it comes\n",
                            counted(report.untouched.size(), "unlabelled point"));
    }
    if (report.byDefault) {
        text += "without a flag: --swaps and --fill\n";
    }
    if (report.changes) {
        text += textOfChanges(report);
    }
    if (report.gaps) {
        text += textOfGaps(report);
    }
    if (report.filtered) {
        text += textOfFilter(report);
    }
    return text;
}

std::string documentOf(const CleaningReport& report) {
    Json document = {{"take", kit::validUtf8(report.take.tracks->tracksName())},
                     {"markers", report.take.markers.size()},
                     {"frames", report.take.frameCount},
                     {"first_frame", report.take.firstFrame},
                     {"rate", report.take.rate},
                     {"unit", kit::validUtf8(unitOf(report))},
                     {"untouched", jsonNames(report, report.untouched)}};
    if (report.changes) {
        document["changes"] = jsonChanges(report);
    }
    if (report.gaps) {
        document["gaps"] = jsonGaps(report);
    }
    if (report.filtered) {
        document["low_pass"] = {{"order", report.filter.order},
                                {"cutoff", report.filter.cutoff},
                                {"samples", report.filtered->samples},
                                {"too_short", report.filtered->tooShort}};
    }
    return document.dump(2) + "\n";
}

} // namespace tarn::capture
