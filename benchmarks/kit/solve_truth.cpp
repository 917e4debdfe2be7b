// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How near the marker solver comes to bodies that are known: those of BVH takes, with markers put
// on them. Each is calibrated on its whole take (or with --half on its first half) and judged on
// it. With --quick nothing is put wrong but noise and gaps. Fails if a goal is missed: goals are of
// bodies "as it is", with 1 mm of noise; what skin does is shown beside them.
//
// usage: solve_truth [--set NAME] [--seeds N] [--first-seed N] [--variant NAME] [--half] [--quick]
//                    TAKE.bvh...

#include "GoalTally.h"

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
#include <memory>
#include <stdexcept>
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
    void add(const Mean& other) {
        sum += other.sum;
        count += other.count;
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

    Mean mean(std::size_t first, std::size_t last) const {
        Mean all;
        for (std::size_t j = first; j < last; ++j) {
            all.add(ofJoint[j]);
        }
        return all;
    }
    double rms(std::size_t first, std::size_t last) const { return mean(first, last).rms(); }
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
    int firstSeed = 0;
    std::string variant;
    bool half = false;
    bool quick = false;
};

/// What a fit found of the limbs' lengths.
struct Lengths {
    int outside = 0; ///< of 3 % and of twice the stated uncertainty
    int count = 0;
    std::string details; ///< each with its error (its uncertainty)/its truth in millimetres
};

Lengths lengthsOf(const MarkerBody& found, const KnownBody& body, bool legsOnly) {
    Lengths result;
    for (const char* joint : {"LeftUpLeg", "RightUpLeg", "LeftLeg", "RightLeg", "LeftArm",
                              "RightArm", "LeftForeArm", "RightForeArm"}) {
        if (legsOnly && std::string(joint).find("Arm") != std::string::npos) {
            continue;
        }
        const double truth = body.lengthOfSegment(joint);
        double metres = 0;
        for (const HumanLength& length : found.body.lengths()) {
            metres = length.name == joint ? length.metres : metres;
        }
        double sigma = 0;
        for (const LengthUncertainty& length : found.uncertainties) {
            sigma = length.length == joint ? length.metres : sigma;
        }
        ++result.count;
        const double off = metres - truth;
        result.outside += std::abs(off) > std::max(0.03 * truth, 2 * sigma) ? 1 : 0;
        std::array<char, 80> text = {};
        std::snprintf(text.data(), text.size(), " %s %+.0f(%.0f)/%.0f", joint, 1000 * off,
                      1000 * sigma, 1000 * truth);
        result.details += text.data();
    }
    return result;
}

/// The goals, and the errors of all bodies that there are goals for. What faults cost is judged of
/// all together: where a wrist is along its forearm is known to some millimetres only, and which of
/// them it is, is as much a matter of the noise as of faults.
class Judge {
public:
    void hold(const std::string& what, double value, double most, const char* unit) {
        goals_.judge(what, value, most, unit);
    }
    /// `most`: how many times the errors without faults there may be.
    void add(const std::string& faults, double most, const Mean& joints, const Mean& wrists) {
        auto entry = std::find_if(pools_.begin(), pools_.end(),
                                  [&](const Pool& pool) { return pool.faults == faults; });
        if (entry == pools_.end()) {
            entry = pools_.insert(pools_.end(), {faults, most, {}, {}});
        }
        entry->joints.add(joints);
        entry->wrists.add(wrists);
    }
    int finish(const std::string& set) {
        for (std::size_t i = 1; i < pools_.size(); ++i) { // the first is without faults
            const Pool& pool = pools_[i];
            const std::string name = "all, " + set + ", " + pool.faults;
            const char* const unit = "times those without";
            hold(name + ", joints", pool.joints.rms() / pools_.front().joints.rms(), pool.most,
                 unit);
            if (pool.wrists.count > 0) {
                hold(name + ", wrists", pool.wrists.rms() / pools_.front().wrists.rms(), pool.most,
                     unit);
            }
        }
        return goals_.finish();
    }

private:
    struct Pool {
        std::string faults;
        double most;
        Mean joints, wrists;
    };

    tarn_benchmark::GoalTally goals_;
    std::vector<Pool> pools_;
};

/// One body, and what is made of it.
class Trial {
public:
    Trial(const std::string& file, const NamedVariant& named, unsigned seed, const Options& options)
        : options_(options), seed_(seed), set_(MarkerSet::load(options.set)),
          body_(file, set_, named.variant, seed),
          solver_("truth", MarkerBody::generic(set_), {body_.markerNames(), 0.001}),
          calibrator_("truth", set_), legsOnly_(set_.markerOf("LELB") < 0),
          jointCount_(legsOnly_ ? 6 : wristsFrom),
          name_(file.substr(file.rfind('/') + 1) + ", " + options.set + ", " + named.name +
                ", seed " + std::to_string(seed)) {
        calibrator_.setSolver(&solver_);
    }

    /// Prints what there is to say, and judges it if there are goals for it.
    void judge(Judge* goals) {
        goals_ = goals;
        const Measured clean = body_.measure({}, seed_ + 1);
        const auto begin = std::chrono::steady_clock::now();
        calibrate(clean);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        usual_ = solve(solver_, body_, clean);
        const Lengths lengths = lengthsOf(calibrator_.report().body, body_, legsOnly_);
        std::printf("%s\n  joints %.1f mm, wrists %.1f mm, markers %.1f mm, calibrated in %.1f s; "
                    "lengths %d of %d outside; frames with a swap said wrongly %d\n   ",
                    name_.c_str(), jointsOf(usual_), wristsOf(usual_),
                    1000 * calibrator_.report().markerRms, time.count(), lengths.outside,
                    lengths.count, usual_.wronglyReported);
        for (std::size_t j = 0; j < (legsOnly_ ? jointCount_ : joints.size()); ++j) {
            std::printf(" %s %.1f", joints[j], usual_.ofJoint[j].rms());
        }
        std::printf("\n   %s\n", lengths.details.c_str());
        std::printf("    time median %.3f, 99.9 %% %.2f, most %.2f ms\n",
                    percentile(usual_.times, 50), percentile(usual_.times, 99.9),
                    percentile(usual_.times, 100));
        hold("joints, RMS", jointsOf(usual_), 8, "mm");
        hold("wrists, RMS", wristsOf(usual_), 15, "mm");
        hold("lengths outside", lengths.outside, 0, "lengths");
        hold("a swap said where there is none", usual_.wronglyReported, 0, "frames");
        addTo("without faults", 1, usual_);
        if (options_.quick) {
            return;
        }
        judgeFaults(clean, {0.001, 0.05, 0.01, 0.01}, 1.2);
        judgeFaults(clean, {0.001, 0.05, 0.2, 0.03}, 1.5);
        calibrate(clean);
        const int recovery = framesToRecover(solver_, body_, clean, usual_.ofFrame);
        std::printf("    recovered after %d frames\n", recovery);
        hold("recovery", recovery, 10, "frames");
        std::fflush(stdout);
    }

private:
    double jointsOf(const Errors& errors) const { return errors.rms(0, jointCount_); }
    double wristsOf(const Errors& errors) const {
        return legsOnly_ ? 0 : errors.rms(wristsFrom, joints.size());
    }
    void hold(const std::string& what, double value, double most, const char* unit) {
        if (goals_ != nullptr) {
            goals_->hold(name_ + ", " + what, value, most, unit);
        }
    }
    void addTo(const std::string& what, double most, const Errors& errors) {
        if (goals_ != nullptr) {
            goals_->add(what, most, errors.mean(0, jointCount_),
                        legsOnly_ ? Mean() : errors.mean(wristsFrom, joints.size()));
        }
    }
    void calibrate(const Measured& measured) {
        const std::size_t count = measured.frames.size();
        calibrator_.setCalibrationData(
            takeOfRows(measured.frames, body_.rate(), 0, options_.half ? count / 2 : count));
        calibrator_.finish();
        if (!calibrator_.report().isGood()) {
            throw std::runtime_error(name_ + ": " + calibrator_.report().error);
        }
    }
    /// With the body that the clean take gave, and with one that was calibrated with the faults.
    void judgeFaults(const Measured& clean, const Faults& faults, double most) {
        const Measured wrong = body_.measure(faults, seed_ + 1);
        std::array<char, 80> text = {};
        std::snprintf(text.data(), text.size(), "swaps %.0f %%, ghosts %.0f %%", 100 * faults.swaps,
                      100 * faults.ghosts);
        for (const bool calibrated : {false, true}) {
            calibrate(calibrated ? wrong : clean);
            const std::string what =
                text.data() + std::string(calibrated ? ", calibrated with them" : "");
            const Errors errors = solve(solver_, body_, wrong);
            const double ratio = jointsOf(errors) / jointsOf(usual_);
            const double wristRatio = legsOnly_ ? 1 : wristsOf(errors) / wristsOf(usual_);
            std::printf("    %s: joints %.1f mm (%.2f), wrists %.1f mm (%.2f), swaps said %d of "
                        "%d, wrongly in %d frames; 99.9 %% %.2f ms\n",
                        what.c_str(), jointsOf(errors), ratio, wristsOf(errors), wristRatio,
                        errors.swapsReported, errors.swapsLong, errors.wronglyReported,
                        percentile(errors.times, 99.9));
            addTo(what, most, errors);
            hold(what + ", not reported", errors.swapsLong - errors.swapsReported, 0, "swaps");
        }
    }

    Options options_;
    unsigned seed_;
    MarkerSet set_;
    KnownBody body_;
    MarkerSolver solver_;
    MarkerCalibrator calibrator_;
    bool legsOnly_;
    std::size_t jointCount_;
    std::string name_;
    Errors usual_;
    Judge* goals_ = nullptr;
};

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
        } else if (word == "--first-seed" && i + 1 < argc) {
            options.firstSeed = std::stoi(argv[++i]);
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
    Judge goals;
    for (const NamedVariant& variant : variants()) {
        if (!options.variant.empty() && options.variant != variant.name) {
            continue;
        }
        const bool hasGoals = &variant == &variants().front();
        for (const std::string& file : files) {
            for (int seed = 0; seed < options.seeds; ++seed) {
                Trial trial(file, variant,
                            static_cast<unsigned>(10 * (options.firstSeed + seed) + 1), options);
                trial.judge(hasGoals ? &goals : nullptr);
            }
        }
    }
    return files.empty() ? 2 : goals.finish(options.set);
} catch (const std::exception& error) {
    std::fprintf(stderr, "solve_truth: %s\n", error.what());
    return 1;
}
