// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How well the marker solver does on takes of 41 markers: each is calibrated on its first half and
// judged on its second: errors of all markers, then of each marker when it is left out, and the
// times.
//
// usage: solve_goals TAKE.c3d...

#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace tarn;
using namespace tarn::kit;

double percentile(std::vector<double> values, double percent) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(percent / 100 * static_cast<double>(values.size() - 1))];
}

double rms(std::vector<double> values, double worstLeftOut) {
    std::sort(values.begin(), values.end());
    const auto kept =
        static_cast<std::size_t>(static_cast<double>(values.size()) * (1 - worstLeftOut));
    double sum = 0;
    for (std::size_t i = 0; i < kept; ++i) {
        sum += values[i] * values[i];
    }
    return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(kept, 1)));
}

/// What is left of each marker's error over a take, in millimetres, and what each frame took: steps
/// and milliseconds of the processor, of which other programs take none.
struct Errors {
    std::vector<std::vector<double>> ofMarker;
    std::vector<double> times;
    std::vector<double> steps;
};

/// Frame by frame, as when it comes from a device.
Errors solve(MarkerSolver& solver, const std::shared_ptr<Tracks>& take, int first, int last) {
    solver.clearInput();
    solver.clearOutput();
    solver.restart();
    Errors errors;
    errors.ofMarker.resize(solver.body().markers.size());
    for (int i = first; i <= last; ++i) {
        solver.addInput(take->getFrame(i, markerDataType));
        const std::clock_t begin = std::clock();
        solver.evaluate();
        errors.times.push_back(1000 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
        const auto fits = solver.getOutput(markerFitDataType);
        const auto& fit = fits->getFrame(i - first)->dataAs<MarkerFit>();
        errors.steps.push_back(fit.iterations);
        for (std::size_t m = 0; m < fit.size(); ++m) {
            if (std::isfinite(fit[m].residual)) {
                errors.ofMarker[m].push_back(1000 * solver.source().metresPerUnit *
                                             fit[m].residual);
            }
        }
    }
    return errors;
}

void judge(const std::string& file) {
    const C3dTake take = readC3d(std::filesystem::path(file));
    MarkerSource source{{}, take.metresPerUnit};
    for (const C3dMarker& marker : take.markers) {
        source.names.push_back(marker.name);
    }
    const MarkerSet set = MarkerSet::load("cmu41");
    MarkerSolver solver("goals", MarkerBody::generic(set), source);
    MarkerCalibrator calibrator("goals", set);
    calibrator.setSolver(&solver);
    const int half = take.frameCount / 2;
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(half));
    for (int i = 0; i < half; ++i) {
        frames.push_back(take.tracks->getFrame(i, markerDataType));
    }
    const auto begin = std::chrono::steady_clock::now();
    calibrator.setCalibrationData(takeOf(markerDataType, frames, take.tracks->fps()));
    calibrator.finish();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    if (!calibrator.report().isGood()) {
        std::printf("%s: %s\n", file.c_str(), calibrator.report().error.c_str());
        return;
    }
    const Errors errors = solve(solver, take.tracks, half, take.frameCount - 1);
    std::vector<double> all;
    for (const std::vector<double>& marker : errors.ofMarker) {
        all.insert(all.end(), marker.begin(), marker.end());
    }
    std::printf("%s\n  calibration of %d frames %.2f s\n", file.c_str(), half, time.count());
    std::printf("  markers RMS %.2f mm without the worst 1 %%, %.2f mm of all\n", rms(all, 0.01),
                rms(all, 0));
    std::printf(
        "  per frame %.3f ms median, %.3f ms 99.9th percentile, %.3f ms most; %.0f, %.0f and "
        "%.0f steps\n",
        percentile(errors.times, 50), percentile(errors.times, 99.9), percentile(errors.times, 100),
        percentile(errors.steps, 50), percentile(errors.steps, 99.9),
        percentile(errors.steps, 100));
    std::vector<double> medians;
    double worst95 = 0;
    for (std::size_t m = 0; m < set.markers.size() && m < solver.body().markers.size(); ++m) {
        const std::string name = solver.body().markers[m].name;
        solver.leaveOut(name);
        const Errors without = solve(solver, take.tracks, half, take.frameCount - 1);
        solver.leaveOut(name, false);
        medians.push_back(percentile(without.ofMarker[m], 50));
        const double high = percentile(without.ofMarker[m], 95);
        worst95 = std::max(worst95, high);
        if (medians.back() > 14 || high > 40) {
            std::printf("    %s left out: median %.1f mm, 95 %% %.1f mm; with it %.1f mm\n",
                        name.c_str(), medians.back(), high, percentile(errors.ofMarker[m], 50));
        }
    }
    std::printf(
        "  left out: median of markers %.1f mm, worst marker %.1f mm, worst 95 %% %.1f mm\n",
        percentile(medians, 50), percentile(medians, 100), worst95);
}

} // namespace

int main(int argc, char** argv) try {
    for (int i = 1; i < argc; ++i) {
        judge(argv[i]);
    }
    return argc > 1 ? 0 : 2;
} catch (const std::exception& error) {
    std::fprintf(stderr, "solve_goals: %s\n", error.what());
    return 1;
}
