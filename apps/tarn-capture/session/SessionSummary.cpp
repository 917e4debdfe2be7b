// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SessionSummary.h"

#include "support/Terminal.h"
#include "support/Wrapped.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::capture {

namespace {

/// One line of the details: a label and what it labels, broken where it would leave the terminal.
std::string fact(const char* label, const std::string& text) {
    constexpr std::size_t column = 14;
    std::string lines;
    for (const std::string& line : wrapped(text, outputWidth() - column)) {
        lines += fmt::format("  {:<10}  {}\n", lines.empty() ? label : "", line);
    }
    return lines;
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, columnsOf(text)), ' ');
}

std::int64_t lostBy(TakePerformer& performer) {
    const kit::PerformerStatistics& statistics = performer.statistics();
    return statistics.framesExpected - statistics.framesIn;
}

/// In a word or two.
std::string clockVerdict(const kit::ClockCalibrator& clock, bool paced) {
    if (clock.quality().frames == 0) {
        return "not measured";
    }
    return !paced ? "not paced" : clock.isTrusted() ? "trusted" : "not trusted";
}

std::string clockText(const kit::ClockCalibrator& clock, bool paced) {
    const kit::StreamQuality quality = clock.quality();
    if (quality.frames == 0) {
        return "not measured";
    }
    if (!paced) {
        return fmt::format("{} missing; rate and jitter not measured: frames did not come at the "
                           "rate of the take",
                           quality.missing);
    }
    return fmt::format("{:.3f} per second measured, {} stated; jitter {:.3f} ms, {} missing: {}",
                       quality.measuredRate, quality.statedRate, 1000 * quality.jitter,
                       quality.missing, clockVerdict(clock, paced));
}

std::string heightText(TakePerformer& performer) {
    const BodyLengths known = performer.lengths();
    return known.lengths.empty()
               ? "not measured"
               : kit::lengthText(known.lengths.front().mean, performer.space().unit);
}

/// 0.1 mm in the performer's unit; of a body whose unit is not known, as much of its height.
double visibleSpread(const TakePerformer& performer, double height) {
    if (performer.space().unit.known()) {
        constexpr double metres = 0.0001;
        return metres / performer.space().unit.metres;
    }
    constexpr double personInTenthsOfAMillimetre = 17'000;
    return height / personInTenthsOfAMillimetre;
}

std::string lengthWithSpread(const kit::MeasuredLength& length, const kit::LengthUnit& unit,
                             double visible) {
    const std::string text = kit::lengthText(length.mean, unit);
    return length.spread > visible ? fmt::format("{} ± {:.2g}", text, length.spread) : text;
}

std::string dimensionsNote(const BodyLengths& known) {
    const std::string frames = kit::counted(static_cast<std::size_t>(known.frames), "frame");
    if (!known.areFitted) {
        return fmt::format("mean over {}; ± spread where it exceeds 0.1 mm", frames);
    }
    return fmt::format("{}; ± one standard deviation where it exceeds 0.1 mm",
                       known.frames > 0 ? "fitted to " + frames : "those of the actor");
}

std::string dimensionsText(TakePerformer& performer) {
    BodyLengths known = performer.lengths();
    if (known.lengths.empty()) {
        return fact("dimensions", "not measured");
    }
    constexpr std::size_t longestName = 26; // "RightHand-RightHandMiddle1"
    std::size_t width = 0;
    for (kit::MeasuredLength& length : known.lengths) {
        length.name = kit::shortened(kit::printable(length.name), longestName);
        width = std::max(width, columnsOf(length.name));
    }
    const double visible = visibleSpread(performer, known.lengths.front().mean);
    std::vector<std::string> items;
    items.reserve(known.lengths.size());
    for (const kit::MeasuredLength& length : known.lengths) {
        items.push_back(padded(length.name, width) + " " +
                        lengthWithSpread(length, performer.space().unit, visible));
    }
    constexpr std::size_t indent = 4;
    return fact("dimensions", dimensionsNote(known)) + inColumns(items, indent, outputWidth());
}

std::string timeText(TakePerformer& performer) {
    const kit::PerformerStatistics& statistics = performer.statistics();
    return fmt::format(
        "{:.3f} s to read, {:.3f} to wait, {:.3f} to solve, {:.3f} to record, {:.3f} to write",
        performer.reading(), statistics.waiting, statistics.solving, statistics.recording,
        performer.writing());
}

} // namespace

std::string summaryOf(const TakeSession& session, bool paced) {
    constexpr std::size_t columns = 52; // what stands behind the name
    const std::size_t room = outputWidth() - columns;
    std::size_t width = std::string("performer").size();
    for (const auto& performer : session.performers()) {
        width = std::max(width, std::min(columnsOf(performer->name()), room));
    }
    const auto line = [width](const std::string& name, auto in, auto out, auto lost,
                              const std::string& clock, const std::string& height) {
        return fmt::format("{}  {:>7}  {:>7}  {:>7}  {:<12}  {}\n", padded(name, width), in, out,
                           lost, clock, height);
    };
    std::string text = line("performer", "in", "out", "lost", "clock", "height");
    for (const auto& performer : session.performers()) {
        const kit::PerformerStatistics& statistics = performer->statistics();
        text += line(kit::shortened(performer->name(), width), statistics.framesIn,
                     statistics.framesOut, lostBy(*performer),
                     clockVerdict(performer->clock(), paced), heightText(*performer));
    }
    for (const auto& performer : session.performers()) {
        text += performer->report();
    }
    return text;
}

std::string verdictOn(const TakeSession& session, bool complete, bool paced) {
    std::int64_t lost = 0;
    std::int64_t expected = 0;
    std::string distrusted;
    for (const auto& performer : session.performers()) {
        lost += lostBy(*performer);
        expected += performer->statistics().framesExpected;
        const bool measured = performer->clock().quality().frames > 0;
        if (paced && measured && !performer->clock().isTrusted()) {
            distrusted += (distrusted.empty() ? "" : ", ") + performer->name();
        }
    }
    return fmt::format("{}, {}{}", complete ? "complete" : "not complete",
                       lost == 0 ? "nothing lost"
                                 : fmt::format("{} of {} frames lost", lost, expected),
                       distrusted.empty() ? "" : "; clock not trusted: " + distrusted);
}

std::string detailsOf(const TakeSession& session, bool paced) {
    std::string text;
    for (const auto& performer : session.performers()) {
        text += fmt::format("\n{}\n", performer->name());
        text += fact("clock", clockText(performer->clock(), paced));
        text += dimensionsText(*performer);
        text += fact("time", timeText(*performer));
    }
    return text;
}

} // namespace tarn::capture
