// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/SolveSummary.h"

#include "support/Terminal.h"
#include "support/Wrapped.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>

namespace tarn::capture {

namespace {

constexpr int fewestDoubts = 6; ///< frames in a row that are worth a line
constexpr int smallestGap = 3;  ///< frames between two runs that make them two

double rmsOf(const std::vector<double>& values, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += values[i] * values[i];
    }
    return count == 0 ? 0 : std::sqrt(sum / static_cast<double>(count));
}

double rmsOf(const std::vector<double>& values) { return rmsOf(values, values.size()); }

/// Precondition: `sorted` is.
double percentileOf(const std::vector<double>& sorted, double percent) {
    if (sorted.empty()) {
        return 0;
    }
    const double place = percent / 100 * static_cast<double>(sorted.size() - 1);
    return sorted[static_cast<std::size_t>(std::lround(place))];
}

/// The runs of frames in which a marker was not believed.
std::vector<Suspicion> suspicionsOf(const MarkerTrial& trial, const SolvedTrial& solved,
                                    std::size_t marker) {
    std::vector<Suspicion> runs;
    for (const SolvedFrame& frame : solved.frames) {
        const kit::FittedMarker& fitted = frame.fit[marker];
        const bool isSwapped = fitted.verdict == kit::MarkerVerdict::Swapped;
        if (!isSwapped && fitted.verdict != kit::MarkerVerdict::Doubted) {
            continue;
        }
        const std::string with =
            isSwapped ? solved.body.markers[fitted.swappedWith].name : std::string();
        const std::int64_t number = trial.numberOf(frame.index);
        const auto open = std::find_if(runs.rbegin(), runs.rend(), [&](const Suspicion& run) {
            return run.swappedWith == with && number - run.last <= smallestGap;
        });
        if (open != runs.rend()) {
            open->last = number;
        } else {
            runs.push_back({solved.body.markers[marker].name, with, number, number});
        }
    }
    runs.erase(std::remove_if(runs.begin(), runs.end(),
                              [](const Suspicion& run) {
                                  return run.swappedWith.empty() &&
                                         run.last - run.first + 1 < fewestDoubts;
                              }),
               runs.end());
    return runs;
}

std::string textOf(const Suspicion& suspicion) {
    const std::string frames = fmt::format("frames {}..{}", suspicion.first, suspicion.last);
    if (suspicion.swappedWith.empty()) {
        return fmt::format("{} is not where the body has it, {}", kit::printable(suspicion.marker),
                           frames);
    }
    return fmt::format("{} carries the label of {}, {}", kit::printable(suspicion.marker),
                       kit::printable(suspicion.swappedWith), frames);
}

} // namespace

SolveSummary summarize(const MarkerTrial& trial, const SolvedTrial& solved) {
    SolveSummary summary;
    const double scale = 1000 * trial.metresPerUnit();
    const std::size_t markers = solved.body.markers.size();
    std::vector<double> all;
    std::vector<double> times;
    std::vector<std::vector<double>> ofMarker(markers);
    double iterations = 0;
    for (const SolvedFrame& frame : solved.frames) {
        std::vector<double> ofFrame;
        for (std::size_t m = 0; m < markers; ++m) {
            const kit::FittedMarker& marker = frame.fit[m];
            if (std::isfinite(marker.residual) && marker.verdict != kit::MarkerVerdict::Left) {
                ofFrame.push_back(scale * marker.residual);
                ofMarker[m].push_back(scale * marker.residual);
            }
        }
        all.insert(all.end(), ofFrame.begin(), ofFrame.end());
        if (rmsOf(ofFrame) > summary.worstFrameRms) {
            summary.worstFrameRms = rmsOf(ofFrame);
            summary.worstFrame = trial.numberOf(frame.index);
        }
        times.push_back(1000 * frame.fit.seconds);
        iterations += frame.fit.iterations;
        summary.notConverged += frame.fit.converged ? 0 : 1;
    }
    for (std::size_t m = 0; m < markers; ++m) {
        if (rmsOf(ofMarker[m]) > summary.worstMarkerRms) {
            summary.worstMarkerRms = rmsOf(ofMarker[m]);
            summary.worstMarker = solved.body.markers[m].name;
        }
        const auto runs = suspicionsOf(trial, solved, m);
        summary.suspicions.insert(summary.suspicions.end(), runs.begin(), runs.end());
    }
    for (std::size_t m = 0; m < markers; ++m) {
        if (solved.columns[m] < 0) {
            summary.missing.push_back(solved.body.markers[m].name);
        }
    }
    std::sort(all.begin(), all.end());
    std::sort(times.begin(), times.end());
    summary.samples = all.size();
    summary.rms = rmsOf(all);
    summary.rmsWithoutWorst = rmsOf(all, all.size() - all.size() / 100);
    summary.median = percentileOf(all, 50);
    summary.percentile75 = percentileOf(all, 75);
    summary.percentile95 = percentileOf(all, 95);
    summary.milliseconds = percentileOf(times, 50);
    summary.millisecondsHighest = percentileOf(times, 99.9);
    summary.iterations =
        solved.frames.empty() ? 0 : iterations / static_cast<double>(solved.frames.size());
    return summary;
}

std::shared_ptr<Settings> reportOf(const MarkerTrial& trial, const SolvedTrial& solved,
                                   const SolveSummary& summary) {
    auto report = std::make_shared<Settings>();
    const auto put = [&](const std::string& key, double value) {
        report->setValue(key, fmt::format("{:.4f}", value));
    };
    const auto count = [&](const std::string& key, auto value) {
        report->setValue(key, std::to_string(value));
    };
    report->setValue("Name", kit::printable(trial.name()));
    report->setValue("Subject", kit::printable(trial.subject()));
    report->setValue("Unit", "mm");
    count("Frames", solved.frames.size());
    if (!solved.frames.empty()) {
        count("FirstFrame", trial.numberOf(solved.frames.front().index));
        count("LastFrame", trial.numberOf(solved.frames.back().index));
    }
    count("Samples", summary.samples);
    put("Rms", summary.rms);
    put("RmsWithoutWorstPercent", summary.rmsWithoutWorst);
    put("Median", summary.median);
    put("Percentile95", summary.percentile95);
    report->setValue("WorstMarker", kit::printable(summary.worstMarker));
    put("WorstMarkerRms", summary.worstMarkerRms);
    count("WorstFrame", summary.worstFrame);
    put("WorstFrameRms", summary.worstFrameRms);
    put("Iterations", summary.iterations);
    put("MillisecondsPerFrame", summary.milliseconds);
    put("MillisecondsPerFrameHighest", summary.millisecondsHighest);
    count("FramesNotConverged", summary.notConverged);
    report->setValue("Fits", summary.fits() ? "yes" : "no");
    for (const std::string& marker : summary.missing) {
        report->addValue("Missing", kit::printable(marker));
    }
    int number = 0;
    for (const Suspicion& suspicion : summary.suspicions) {
        const std::string key = fmt::format("Suspected.Marker{}.", ++number);
        report->setValue(key + "Name", kit::printable(suspicion.marker));
        if (!suspicion.swappedWith.empty()) {
            report->setValue(key + "SwappedWith", kit::printable(suspicion.swappedWith));
        }
        count(key + "FirstFrame", suspicion.first);
        count(key + "LastFrame", suspicion.last);
    }
    return report;
}

std::string textOf(const MarkerTrial& trial, const SolvedTrial& solved,
                   const SolveSummary& summary) {
    constexpr std::size_t mostLines = 8;
    std::string text =
        fmt::format("{}: {}; markers off by {:.1f} mm RMS\n", kit::printable(trial.name()),
                    kit::counted(solved.frames.size(), "frame"), summary.rms);
    text += fmt::format("  {:.1f} mm without the worst 1 %, 95 % below {:.1f} mm\n",
                        summary.rmsWithoutWorst, summary.percentile95);
    text += fmt::format("  worst marker {} ({:.1f} mm), worst frame {} ({:.1f} mm)\n",
                        kit::printable(summary.worstMarker), summary.worstMarkerRms,
                        summary.worstFrame, summary.worstFrameRms);
    text += fmt::format("  {:.3f} ms per frame, {:.1f} iterations; {} not converged\n",
                        summary.milliseconds, summary.iterations,
                        kit::counted(static_cast<std::size_t>(summary.notConverged), "frame"));
    if (!summary.missing.empty()) {
        text += fmt::format("  not in the take: {}\n",
                            kit::printable(fmt::format("{}", fmt::join(summary.missing, ", "))));
    }
    if (!summary.fits()) {
        text += hanging("the body hardly fits: was the actor calibrated with this performer, and "
                        "with the markers where they are now?",
                        2, outputWidth());
    }
    for (std::size_t i = 0; i < std::min(mostLines, summary.suspicions.size()); ++i) {
        text += "  " + textOf(summary.suspicions[i]) + "\n";
    }
    if (summary.suspicions.size() > mostLines) {
        text += fmt::format("  and {} more, in solve.xml\n", summary.suspicions.size() - mostLines);
    }
    return text;
}

} // namespace tarn::capture
