// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How near the marker solver comes to bodies that are known: those of BVH takes, with markers put
// on them. Each is calibrated on its whole take (or with --half on its first half) and judged on
// it. With --quick nothing is put wrong but noise and gaps.
//
// usage: solve_truth [--set NAME] [--seeds N] [--variant NAME] [--half] [--quick] TAKE.bvh...

#include "solving/KnownTruth.h"

#include <tarn_kit/session/TakeOf.h>
#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace known_truth;

struct NamedVariant {
    const char* name;
    Variant variant;
};

const std::vector<NamedVariant>& variants() {
    static const std::vector<NamedVariant> all = {
        {"as it is", {}},
        {"skin 7 mm", {1, 1, 1, 1, 0, 0.007}},
        {"small", {0.8, 1, 1, 1, 0.015, 0.005}},
        {"tall", {1.15, 1, 1, 1, 0.015, 0.005}},
        {"other proportions", {1, 1.08, 0.92, 1.06, 0.015, 0.005}},
        {"misplaced 30 mm", {1, 1, 1, 1, 0.03, 0}},
    };
    return all;
}

struct Mean {
    double sum = 0;
    double count = 0;
    void add(double value) {
        sum += value * value;
        ++count;
    }
    double rms() const { return count > 0 ? std::sqrt(sum / count) : 0; }
};

/// What came out of one solved take.
struct Errors {
    std::vector<Mean> ofJoint = std::vector<Mean>(joints.size());
    std::vector<double> ofFrame; ///< root of mean square over the joints, in millimetres
    std::vector<double> times;   ///< in milliseconds
    int swapsReported = 0, swapsLong = 0;
    int wronglyReported = 0; ///< frames with a swap said where there is none

    double rms(std::size_t first, std::size_t last) const {
        Mean all;
        for (std::size_t j = first; j < last; ++j) {
            all.sum += ofJoint[j].sum;
            all.count += ofJoint[j].count;
        }
        return all.rms();
    }
};

std::shared_ptr<Tracks> takeOfRows(const std::vector<std::vector<Marker>>& rows, int rate,
                                   std::size_t first, std::size_t last) {
    std::vector<std::shared_ptr<Frame>> frames;
    for (std::size_t f = first; f < last; ++f) {
        frames.push_back(
            std::make_shared<Frame>(Time(static_cast<unsigned>(f), static_cast<unsigned>(rate)),
                                    markerDataType, MarkerFrame(rows[f])));
    }
    return takeOf(markerDataType, frames, rate);
}

Errors solve(MarkerSolver& solver, const KnownBody& body, const Measured& measured) {
    Errors errors;
    const auto take = takeOfRows(measured.frames, body.rate(), 0, measured.frames.size());
    solver.clearOutput();
    solver.evaluate(take, 0, body.frameCount() - 1);
    const auto bodies = solver.getOutput(bodyDataType);
    const auto fits = solver.getOutput(markerFitDataType);
    const auto& nodes = solver.rig()->nodes();
    std::vector<std::size_t> nodeOfJoint;
    for (const char* joint : joints) {
        const auto node = std::find_if(nodes.begin(), nodes.end(),
                                       [&](const RigNode& n) { return n.name == joint; });
        nodeOfJoint.push_back(static_cast<std::size_t>(node - nodes.begin()));
    }
    for (int f = 0; f < body.frameCount(); ++f) {
        const auto& pose = bodies->getFrame(f)->dataAs<BodyPose>();
        Mean frame;
        for (std::size_t j = 0; j < joints.size(); ++j) {
            const double miss = 1000 * lengthOf(toDouble(pose.segments[nodeOfJoint[j]].position) -
                                                body.jointsAt(f)[j]);
            errors.ofJoint[j].add(miss);
            frame.add(miss);
        }
        errors.ofFrame.push_back(frame.rms());
        errors.times.push_back(1000 * fits->getFrame(f)->dataAs<MarkerFit>().seconds);
    }
    const auto isSaid = [&](int f, std::size_t a, std::size_t b) {
        const auto& fit = fits->getFrame(f)->dataAs<MarkerFit>();
        return fit[a].verdict == MarkerVerdict::Swapped && fit[a].swappedWith == b;
    };
    for (const Swap& swap : measured.swaps) {
        if (swap.last - swap.first + 1 <= 5) {
            continue;
        }
        ++errors.swapsLong;
        bool said = false;
        for (int f = swap.first; f <= swap.last; ++f) {
            said = said || isSaid(f, swap.a, swap.b);
        }
        errors.swapsReported += said ? 1 : 0;
    }
    for (int f = 0; f < body.frameCount(); ++f) {
        const auto& fit = fits->getFrame(f)->dataAs<MarkerFit>();
        for (std::size_t m = 0; m < fit.size(); ++m) {
            const bool isTrue =
                std::any_of(measured.swaps.begin(), measured.swaps.end(), [&](const Swap& swap) {
                    return f >= swap.first && f <= swap.last && (swap.a == m || swap.b == m);
                });
            if (fit[m].verdict == MarkerVerdict::Swapped && !isTrue) {
                ++errors.wronglyReported;
                break;
            }
        }
    }
    return errors;
}

double percentile(std::vector<double> values, double percent) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0
                          : values[static_cast<std::size_t>(
                                percent / 100 * static_cast<double>(values.size() - 1))];
}

/// How many frames after a wrong stretch (every label another's for half a second) it takes until
/// the body is as good as it was without it; the longest of several.
int framesToRecover(MarkerSolver& solver, const KnownBody& body, const Measured& clean,
                    const std::vector<double>& usual) {
    int longest = 0;
    for (const double where : {0.25, 0.5, 0.75}) {
        Measured wrong = clean;
        const auto begin = static_cast<std::size_t>(where * body.frameCount());
        const std::size_t length = 30;
        for (std::size_t f = begin; f < begin + length; ++f) {
            auto& row = wrong.frames[f];
            std::rotate(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(row.size() / 3),
                        row.end());
        }
        const Errors errors = solve(solver, body, wrong);
        int frames = 0;
        for (std::size_t f = begin + length;
             f < std::min(errors.ofFrame.size(), begin + length + 60); ++f) {
            frames = errors.ofFrame[f] > 1.5 * usual[f] + 3
                         ? static_cast<int>(f - begin - length) + 1
                         : frames;
        }
        longest = std::max(longest, frames);
    }
    return longest;
}

struct Options {
    std::string set = "cmu41";
    int seeds = 1;
    std::string variant;
    bool half = false;
    bool quick = false;
};

/// Prints what there is to say of one body.
void judge(const std::string& file, const NamedVariant& named, unsigned seed,
           const Options& options) {
    const MarkerSet set = MarkerSet::load(options.set);
    const KnownBody body(file, set, named.variant, seed);
    const Measured clean = body.measure({}, seed + 1);
    MarkerSolver solver("truth", MarkerBody::generic(set), {body.markerNames(), 0.001});
    MarkerCalibrator calibrator("truth", set);
    calibrator.setSolver(&solver);
    const std::size_t used = options.half ? clean.frames.size() / 2 : clean.frames.size();
    const auto calibrate = [&](const Measured& measured) {
        calibrator.setCalibrationData(takeOfRows(measured.frames, body.rate(), 0, used));
        calibrator.finish();
    };
    const auto begin = std::chrono::steady_clock::now();
    calibrate(clean);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    const CalibrationReport& report = calibrator.report();
    if (!report.isGood()) {
        std::printf("%s: %s\n", file.c_str(), report.error.c_str());
        return;
    }
    const bool legsOnly = set.markerOf("LELB") < 0;
    const std::size_t jointCount = legsOnly ? 6 : wristsFrom;
    const Errors errors = solve(solver, body, clean);
    const double usual = errors.rms(0, jointCount);
    const double wrists = legsOnly ? 0 : errors.rms(wristsFrom, joints.size());
    std::printf("%s, %s, seed %u\n  joints %.1f mm, wrists %.1f mm, markers %.1f mm, calibrated in "
                "%.1f s; ",
                file.substr(file.rfind('/') + 1).c_str(), named.name, seed, usual, wrists,
                1000 * report.markerRms, time.count());
    int outside = 0;
    int lengths = 0;
    std::string details;
    for (const char* joint : {"LeftUpLeg", "RightUpLeg", "LeftLeg", "RightLeg", "LeftArm",
                              "RightArm", "LeftForeArm", "RightForeArm"}) {
        if (legsOnly && std::string(joint).find("Arm") != std::string::npos) {
            continue;
        }
        const double truth = body.lengthOfSegment(joint);
        double found = 0;
        for (const HumanLength& length : report.body.body.lengths()) {
            found = length.name == joint ? length.metres : found;
        }
        double sigma = 0;
        for (const LengthUncertainty& length : report.body.uncertainties) {
            sigma = length.length == joint ? length.metres : sigma;
        }
        ++lengths;
        const double off = found - truth;
        if (std::abs(off) > std::max(0.03 * truth, 2 * sigma)) {
            ++outside;
        }
        std::array<char, 80> text = {};
        std::snprintf(text.data(), text.size(), " %s %+.0f(%.0f)/%.0f", joint, 1000 * off,
                      1000 * sigma, 1000 * truth);
        details += text.data();
    }
    std::printf("lengths %d of %d outside\n   ", outside, lengths);
    for (std::size_t j = 0; j < (legsOnly ? jointCount : joints.size()); ++j) {
        std::printf(" %s %.1f", joints[j], errors.ofJoint[j].rms());
    }
    std::printf("\n   %s\n", details.c_str());
    std::printf("    time median %.3f, 99.9 %% %.2f, most %.2f ms\n", percentile(errors.times, 50),
                percentile(errors.times, 99.9), percentile(errors.times, 100));
    if (options.quick) {
        return;
    }
    for (const Faults& faults : {Faults{0.001, 0.05, 0.01, 0.01}, Faults{0.001, 0.05, 0.2, 0.03}}) {
        const Measured wrong = body.measure(faults, seed + 1);
        const Errors worse = solve(solver, body, wrong);
        calibrate(wrong);
        const Errors worst = solve(solver, body, wrong);
        std::printf(
            "    swaps %.0f %%, ghosts %.0f %%: joints %.1f mm (%.2f), wrists %.1f mm (%.2f), "
            "swaps said %d of %d, wrongly %d; 99.9 %% %.2f ms; calibrated with them: joints %.1f "
            "mm (%.2f), wrists %.1f mm (%.2f), swaps said %d of %d, wrongly %d\n",
            100 * faults.swaps, 100 * faults.ghosts, worse.rms(0, jointCount),
            worse.rms(0, jointCount) / usual, legsOnly ? 0 : worse.rms(wristsFrom, joints.size()),
            legsOnly ? 1 : worse.rms(wristsFrom, joints.size()) / wrists, worse.swapsReported,
            worse.swapsLong, worse.wronglyReported, percentile(worse.times, 99.9),
            worst.rms(0, jointCount), worst.rms(0, jointCount) / usual,
            legsOnly ? 0 : worst.rms(wristsFrom, joints.size()),
            legsOnly ? 1 : worst.rms(wristsFrom, joints.size()) / wrists, worst.swapsReported,
            worst.swapsLong, worst.wronglyReported);
        calibrate(clean);
    }
    std::printf("    recovered after %d frames\n",
                framesToRecover(solver, body, clean, errors.ofFrame));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) try {
    Options options;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--set" && i + 1 < argc) {
            options.set = argv[++i];
        } else if (word == "--seeds" && i + 1 < argc) {
            options.seeds = std::stoi(argv[++i]);
        } else if (word == "--variant" && i + 1 < argc) {
            options.variant = argv[++i];
        } else if (word == "--quick") {
            options.quick = true;
        } else if (word == "--half") {
            options.half = true;
        } else {
            files.push_back(word);
        }
    }
    for (const NamedVariant& variant : variants()) {
        if (!options.variant.empty() && options.variant != variant.name) {
            continue;
        }
        for (const std::string& file : files) {
            for (int seed = 0; seed < options.seeds; ++seed) {
                judge(file, variant, static_cast<unsigned>(10 * seed + 1), options);
            }
        }
    }
    return files.empty() ? 2 : 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "solve_truth: %s\n", error.what());
    return 1;
}
