// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/BodyCalibration.h"

#include "solving/BodyAssembly.h"
#include "solving/PoseFit.h"
#include "solving/calibration/BodyFit.h"
#include "solving/calibration/MarkerPlacement.h"
#include "solving/calibration/SkinMotion.h"
#include "solving/calibration/UsualTurns.h"
#include "solving/tracking/MarkerTracker.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::kit {

namespace {

constexpr std::size_t firstFrames = 60;  ///< that a body is fitted to at first, evenly spaced
constexpr std::size_t finalFrames = 120; ///< that differ most
constexpr std::size_t mostSolved = 600;  ///< among which these are chosen
constexpr int finalSteps = 20;           ///< with which it is fitted to them, at most
constexpr int placingRounds = 2;         ///< at most, of markers that the set places wrongly
constexpr double leastSwapped = 0.01;    ///< of the frames: then it is fitted twice
constexpr double offsetSpread = 0.025;   ///< how far markers are from where the set says ...
constexpr double landmarkSpread = 0.015; ///< ... and those at a joint, where bones are felt
constexpr double anywhereSpread = 0.06;  ///< and those of which it says no more than the segment
constexpr double leastInFit = 0.002;     ///< of a marker from its place, while a body is fitted ...
constexpr double hidden = 2.5;           ///< skin moves that much further than misses show
constexpr double leastSpread = 0.006;    ///< ... and when it is solved in movements not seen yet

constexpr double usualNoise = 0.0008; ///< of a marker along an axis, without skin
constexpr double alikePoses = 6;      ///< so many frames show skin in the same pose

/// Frames of a take are more alike than the noise of each: what is stated of lengths and offsets is
/// that much wider than independent frames would have it. From bodies that are known.
constexpr double alikeness = 1.5;

Vector3d degreesOf(const Vector3d& radians) { return tarn::kit::degreesOf(1) * radians; }

Matrix3d matrixOf(const Block& block) {
    Matrix3d matrix;
    for (std::size_t i = 0; i < 9; ++i) {
        matrix[i / 3][i % 3] = block.m[i];
    }
    return matrix;
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// `count` numbers below `size`, evenly spaced.
std::vector<std::size_t> evenly(std::size_t size, std::size_t count) {
    std::vector<std::size_t> result;
    const std::size_t n = std::min(size, count);
    for (std::size_t i = 0; i < n; ++i) {
        result.push_back((2 * i + 1) * size / (2 * n));
    }
    return result;
}

/// How the end of a segment moves with a length.
Vector3d tipMoved(const HumanBody& body, std::size_t joint, const HumanLength& length) {
    constexpr double change = 0.1;
    HumanBody longer = body;
    longer.setLength(length.name, length.metres + change);
    return (1 / change) * (longer.joints()[joint].tip - body.joints()[joint].tip);
}

/// How much taller a body stands per metre of each length.
std::vector<double> statureChanges(const HumanBody& body) {
    constexpr double change = 0.1;
    std::vector<double> changes;
    for (const HumanLength& length : body.lengths()) {
        HumanBody longer = body;
        longer.setLength(length.name, length.metres + change);
        changes.push_back((longer.stature() - body.stature()) / change);
    }
    return changes;
}

BodyExpectation expectationOf(const MarkerSet& set, const MarkerBody& generic,
                              const Articulation& body) {
    BodyExpectation expectation;
    const std::vector<HumanLength>& lengths = generic.body.lengths();
    for (std::size_t m = 0; m < body.markers.size(); ++m) {
        Vector3d offset = body.markers[m].offset;
        const auto joint = static_cast<std::size_t>(generic.body.jointOf(set.markers[m].segment));
        for (std::size_t l = 0; l < lengths.size(); ++l) {
            const Vector3d direction =
                set.markers[m].along * tipMoved(generic.body, joint, lengths[l]);
            if (lengthOf(direction) > 0) {
                expectation.offsetUses.push_back({m, l, direction});
                offset = offset - lengths[l].metres * direction;
            }
        }
        expectation.offsets.push_back(offset);
        expectation.offsetSpreads.push_back(!set.markers[m].isPlaced()  ? anywhereSpread
                                            : set.markers[m].along == 1 ? landmarkSpread
                                                                        : offsetSpread);
    }
    for (const HumanLength& length : lengths) {
        expectation.lengths.push_back(length.metres);
        expectation.lengthSpreads.push_back(1.5 * length.spread);
        std::size_t twin = none;
        for (std::size_t l = 0; l < lengths.size(); ++l) {
            twin = !length.twin.empty() && lengths[l].name == length.twin ? l : twin;
        }
        expectation.twins.push_back(twin);
    }
    return expectation;
}

/// How much each of the frames counts, by how far markers commonly are from their places: noise
/// differs from frame to frame, what skin does is the same in all frames of like poses.
double evidenceOf(const Articulation& body, double wide) {
    std::vector<double> spreads;
    for (const SolvedMarker& marker : body.markers) {
        spreads.push_back(marker.spread / wide);
    }
    const double ratio = std::min(1.0, usualNoise / median(spreads));
    const double skin = 1 - ratio * ratio;
    return 1 / (1 - skin + skin * alikePoses);
}

/// The work, stage by stage.
class Calibration {
public:
    Calibration(const MarkerSet& set, const std::vector<Sightings>& frames,
                const CalibrationProgress& progress)
        : all_(frames), progress_(progress), result_(begun(set, frames)), assembly_(result_.body),
          expectation_(expectationOf(set, result_.body, assembly_.articulation)) {}

    CalibratedBody run() {
        result_.isComplete = fitFirst() && fitFinal();
        writeBody();
        return result_;
    }

private:
    static CalibratedBody begun(const MarkerSet& set, const std::vector<Sightings>& frames) {
        CalibratedBody result;
        result.body = MarkerBody::generic(set, guessedHeight(set, frames));
        result.misplaced.resize(set.markers.size());
        return result;
    }

    Articulation& body() { return assembly_.articulation; }

    void setSpread(double spread) {
        for (SolvedMarker& marker : body().markers) {
            marker.spread = spread;
        }
    }

    /// Solves the frames of these numbers, one after the other. Labels that were exchanged are put
    /// right, and what lies too far off is left out.
    std::vector<FitFrame> solve(const std::vector<std::size_t>& numbers, double threshold) {
        std::vector<FitFrame> frames;
        MarkerTracker tracker(body());
        tracker.fit().threshold = threshold;
        swappedFrames_ = 0;
        doubts_.assign(body().markers.size(), {});
        for (const std::size_t number : numbers) {
            tracker.track(all_[number]);
            swappedFrames_ += tracker.swaps().empty() ? 0 : 1;
            FitFrame frame = {tracker.sightings(), tracker.stance()};
            for (std::size_t m = 0; m < frame.sightings.size(); ++m) {
                if (tracker.isDoubted(m)) {
                    frame.sightings[m].weight = 0;
                    const Vector3d& miss = tracker.fit().problem().misses()[m];
                    doubts_[m].push_back(dot(miss, miss));
                }
            }
            frames.push_back(std::move(frame));
        }
        return frames;
    }

    bool fitFirst() {
        setSpread(0.04);
        std::vector<FitFrame> frames = solve(evenly(all_.size(), firstFrames), 4);
        BodyFit fit(body(), expectation_);
        fit.threshold = 4;
        double part = 0.1;
        for (const double spread : {0.03, 0.015, 0.008}) {
            setSpread(spread);
            const auto goOn = [&] { return progress_(part += 0.015); };
            if (!fit.run(frames, 8, goOn)) {
                return false;
            }
        }
        return true;
    }

    /// The frames among which those are chosen that a body is fitted to, solved with markers that
    /// are not where the set says put where they are.
    std::vector<FitFrame> solvePlaced() {
        const std::vector<std::size_t> numbers = evenly(all_.size(), mostSolved);
        std::vector<FitFrame> frames = solve(numbers, 4);
        for (int round = 0; round < placingRounds && placeDoubted(numbers, frames); ++round) {
            frames = solve(numbers, 4);
        }
        return frames;
    }

    /// Puts markers that most frames doubt where they are; false if there is none to be put.
    bool placeDoubted(const std::vector<std::size_t>& numbers,
                      const std::vector<FitFrame>& frames) {
        std::vector<std::size_t> doubted;
        for (std::size_t m = 0; m < doubts_.size(); ++m) {
            const auto seen =
                std::count_if(numbers.begin(), numbers.end(),
                              [&](std::size_t number) { return all_[number][m].weight > 0; });
            if (2 * doubts_[m].size() > static_cast<std::size_t>(seen)) {
                doubted.push_back(m);
            }
        }
        if (doubted.empty()) {
            return false;
        }
        std::vector<PlacedFrame> placed;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            placed.push_back({&all_[numbers[i]], &frames[i].stance});
        }
        const Articulation before = body();
        const std::vector<std::size_t> found = placeAnew(body(), doubted, placed);
        for (const std::size_t m : found) {
            Vector3d offset = body().markers[m].offset;
            result_.misplaced[m] += lengthOf(offset - before.markers[m].offset);
            for (const OffsetUse& use : expectation_.offsetUses) {
                if (use.marker == m) {
                    offset = offset - body().lengths[use.length] * use.direction;
                }
            }
            expectation_.offsets[m] = offset;
        }
        return !found.empty();
    }

    bool fitFinal() {
        setSpread(0.008);
        std::vector<FitFrame> frames = solvePlaced();
        // Where labels were exchanged, the body stood wrong in some of the first frames, and is
        // fitted once more when they are right. Otherwise once is better: more steps bring it
        // nearer to what skin does.
        const int rounds =
            swappedFrames_ >= leastSwapped * static_cast<double>(frames.size()) ? 2 : 1;
        double part = 0.6;
        const auto goOn = [&] { return progress_(part += 0.4 / (rounds * finalSteps)); };
        for (int round = 0; round < rounds; ++round) {
            if (!fitTo(frames, goOn)) {
                return false;
            }
            frames = solve(evenly(all_.size(), mostSolved), 4);
        }
        setUsualTurns(frames);
        learnSkinMotion(body(), frames);
        frames = solve(evenly(all_.size(), mostSolved), 4);
        setSpreads(frames, leastSpread);
        noteDoubts(static_cast<int>(frames.size()));
        return true;
    }

    /// Fits the body to those of the frames that differ most.
    bool fitTo(const std::vector<FitFrame>& frames, const std::function<bool()>& goOn) {
        setSpreads(frames, leastInFit, hidden);
        setUsualTurns(frames);
        std::vector<FitFrame> chosen = mostDifferent(frames);
        expectation_.evidence = evidenceOf(body(), hidden);
        BodyFit fit(body(), expectation_);
        fit.threshold = 4;
        if (!fit.run(chosen, finalSteps, goOn)) {
            return false;
        }
        result_.frames = static_cast<int>(chosen.size());
        lengthUncertainties_ = fit.lengthUncertainties();
        offsetUncertainties_ = fit.offsetUncertainties();
        heightUncertainty_ = fit.uncertaintyOf(statureChanges(result_.body.body));
        return true;
    }

    /// Learns how far each marker commonly is from its place.
    void setSpreads(const std::vector<FitFrame>& frames, double least, double wide = 1) {
        PoseProblem problem(body());
        std::vector<std::vector<double>> misses(body().markers.size());
        for (const FitFrame& frame : frames) {
            problem.evaluate(frame.stance, frame.sightings);
            for (std::size_t m = 0; m < misses.size(); ++m) {
                if (problem.weights()[m] > 0) {
                    misses[m].push_back(lengthOf(problem.misses()[m]));
                }
            }
        }
        std::vector<double> every;
        result_.markerErrors.clear();
        for (std::size_t m = 0; m < misses.size(); ++m) {
            // Of three normal numbers the root of the sum of squares has its median at 1.538.
            const double spread = median(misses[m]) / 1.538;
            body().markers[m].spread = std::max(least, wide * spread);
            double sum = 0;
            for (const double miss : misses[m]) {
                sum += miss * miss;
            }
            every.insert(every.end(), misses[m].begin(), misses[m].end());
            result_.markerErrors.push_back(
                misses[m].empty() ? 0 : std::sqrt(sum / static_cast<double>(misses[m].size())));
        }
        std::sort(every.begin(), every.end());
        every.resize(every.size() - every.size() / 100);
        double sum = 0;
        for (const double miss : every) {
            sum += miss * miss;
        }
        result_.error = every.empty() ? 0 : std::sqrt(sum / static_cast<double>(every.size()));
    }

    /// Says of which markers the body makes nothing, and how far these are from their places.
    void noteDoubts(int frames) {
        result_.solvedFrames = frames;
        for (std::size_t m = 0; m < doubts_.size(); ++m) {
            result_.timesDoubted.push_back(static_cast<int>(doubts_[m].size()));
            double sum = 0;
            for (const double squared : doubts_[m]) {
                sum += squared / static_cast<double>(doubts_[m].size());
            }
            if (2 * result_.timesDoubted[m] > frames) {
                result_.markerErrors[m] = std::sqrt(sum);
            }
        }
    }

    /// Learns how joints are commonly turned.
    void setUsualTurns(const std::vector<FitFrame>& frames) {
        std::vector<Stance> stances;
        stances.reserve(frames.size());
        for (const FitFrame& frame : frames) {
            stances.push_back(frame.stance);
        }
        Articulation learnt = assembly_.articulation;
        learnUsualTurns(learnt, stances);
        result_.body.usualTurns.clear();
        for (std::size_t j = 1; j < body().joints.size(); ++j) {
            const SolvedJoint& joint = learnt.joints[j];
            body().joints[j].usual = joint.usual;
            UsualTurn usual = {assembly_.names[j], degreesOf(toRotationVector(joint.usual)),
                               degreesOf(joint.spread), matrixOf(joint.share)};
            result_.body.usualTurns.push_back(usual);
        }
    }

    /// The frames whose stances are farthest from each other: first any, then always the one that
    /// is farthest from those chosen.
    static std::vector<FitFrame> mostDifferent(const std::vector<FitFrame>& frames) {
        const auto distance = [](const Stance& a, const Stance& b) {
            double sum = 0;
            for (std::size_t j = 1; j < a.turns.size(); ++j) {
                const double same = dot(a.turns[j], b.turns[j]);
                sum += 1 - same * same;
            }
            return sum;
        };
        std::vector<FitFrame> chosen;
        if (frames.empty()) {
            return chosen;
        }
        std::vector<double> nearest(frames.size(), std::numeric_limits<double>::infinity());
        std::size_t next = 0;
        while (chosen.size() < std::min(finalFrames, frames.size())) {
            chosen.push_back(frames[next]);
            for (std::size_t i = 0; i < frames.size(); ++i) {
                nearest[i] = std::min(nearest[i], distance(frames[i].stance, frames[next].stance));
            }
            next = static_cast<std::size_t>(std::max_element(nearest.begin(), nearest.end()) -
                                            nearest.begin());
        }
        return chosen;
    }

    void setLengths(HumanBody& human) {
        for (std::size_t l = 0; l < body().lengths.size(); ++l) {
            human.setLength(human.lengths()[l].name, body().lengths[l]);
        }
    }

    void writeBody() {
        MarkerBody& found = result_.body;
        setLengths(found.body);
        found.body = HumanBody(std::min(3.0, std::max(0.3, found.body.stature())));
        setLengths(found.body);
        found.uncertainties.clear();
        for (std::size_t l = 0; l < lengthUncertainties_.size(); ++l) {
            found.uncertainties.push_back(
                {found.body.lengths()[l].name, alikeness * lengthUncertainties_[l]});
        }
        if (!lengthUncertainties_.empty()) {
            found.uncertainties.push_back({"Height", alikeness * heightUncertainty_});
        }
        for (std::size_t m = 0; m < found.markers.size(); ++m) {
            found.markers[m].offset = body().markers[m].offset;
            found.markers[m].spread = body().markers[m].spread;
            found.markers[m].skin.clear();
            if (!offsetUncertainties_.empty()) {
                found.markers[m].uncertainty = alikeness * offsetUncertainties_[m];
            }
        }
        for (const SkinPull& pull : body().skin) {
            found.markers[pull.marker].skin.push_back(
                {assembly_.names[pull.joint], matrixOf(pull.shift)});
        }
    }

    const std::vector<Sightings>& all_;
    const CalibrationProgress& progress_;
    CalibratedBody result_;
    BodyAssembly assembly_;
    BodyExpectation expectation_;
    std::vector<double> lengthUncertainties_, offsetUncertainties_;
    double heightUncertainty_ = 0;
    double swappedFrames_ = 0;                ///< of those solved last
    std::vector<std::vector<double>> doubts_; ///< of each marker in these, the square of its miss
};

} // namespace

double guessedHeight(const MarkerSet& set, const std::vector<Sightings>& frames) {
    const MarkerBody generic = MarkerBody::generic(set);
    const BodyAssembly assembly(generic);
    const Articulation& body = assembly.articulation;
    PoseProblem problem(body);
    Stance stance;
    stance.turns.resize(body.joints.size());
    problem.evaluate(stance, Sightings(body.markers.size()));
    std::vector<double> ratios;
    const std::vector<std::size_t> numbers = evenly(frames.size(), 100);
    for (std::size_t a = 0; a < body.markers.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            const std::size_t ja = body.markers[a].joint;
            const std::size_t jb = body.markers[b].joint;
            const double expected = lengthOf(problem.places()[a] - problem.places()[b]);
            const bool neighbours =
                ja == jb || body.joints[ja].parent == jb || body.joints[jb].parent == ja;
            if (!neighbours || expected < 0.15) {
                continue;
            }
            std::vector<double> distances;
            for (const std::size_t number : numbers) {
                const Sightings& seen = frames[number];
                if (seen[a].weight > 0 && seen[b].weight > 0) {
                    distances.push_back(lengthOf(seen[a].position - seen[b].position));
                }
            }
            if (!distances.empty()) {
                ratios.push_back(median(distances) / expected);
            }
        }
    }
    const double height = ratios.empty() ? 1.75 : 1.75 * median(ratios);
    return std::min(2.5, std::max(0.5, height));
}

CalibratedBody calibrateBody(const MarkerSet& set, const std::vector<Sightings>& frames,
                             const CalibrationProgress& progress) {
    return Calibration(set, frames, progress).run();
}

} // namespace tarn::kit
