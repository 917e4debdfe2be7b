// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/SkinMotion.h"

#include "solving/DenseMatrix.h"
#include "solving/PoseProblem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>

namespace tarn::kit {

namespace {

constexpr double mostStances =
    20; ///< any number of frames tells as much as that many: they are alike
constexpr double shiftSpread = 0.01; ///< metres per radian, before anything is known
constexpr double leastNoise = 1e-6;  ///< square metres: a marker that never misses tells nothing
constexpr double leastShift = 0.005; ///< metres per radian, in all axes; less is not worth its time
constexpr std::size_t leastFrames = 20;

/// What one frame shows of one marker.
struct Sample {
    Vector3d miss;             ///< in the axes of the marker's joint
    std::vector<double> turns; ///< of the joints next to it
};

/// Of all markers, with the joints that may take each along.
class Samples {
public:
    Samples(const Articulation& body, const std::vector<FitFrame>& frames)
        : samples(body.markers.size()) {
        for (const SolvedMarker& marker : body.markers) {
            joints.push_back(besides(body, marker.joint));
        }
        PoseProblem problem(body);
        for (const FitFrame& frame : frames) {
            problem.evaluate(frame.stance, frame.sightings);
            for (std::size_t m = 0; m < samples.size(); ++m) {
                if (problem.weights()[m] > 0) {
                    samples[m].push_back(sampleOf(problem, body.markers[m].joint, m));
                }
            }
        }
    }

    std::vector<std::vector<std::size_t>> joints;
    std::vector<std::vector<Sample>> samples;

private:
    /// The joint itself and those that hang on it: their turns stretch the skin between them. The
    /// body's first joint may be turned in any way.
    static std::vector<std::size_t> besides(const Articulation& body, std::size_t joint) {
        std::vector<std::size_t> result;
        for (std::size_t j = 1; j < body.joints.size(); ++j) {
            if (j == joint || body.joints[j].parent == joint) {
                result.push_back(j);
            }
        }
        return result;
    }

    Sample sampleOf(const PoseProblem& problem, std::size_t joint, std::size_t m) const {
        Sample sample;
        sample.miss = transposedTimes(problem.axes()[joint], problem.misses()[m]);
        for (const std::size_t j : joints[m]) {
            const Vector3d& turn = problem.skinTurns()[j];
            sample.turns.insert(sample.turns.end(), {turn.x, turn.y, turn.z});
        }
        return sample;
    }
};

Sample middleOf(const std::vector<Sample>& samples) {
    Sample middle;
    middle.turns.resize(samples.front().turns.size());
    const double part = 1 / static_cast<double>(samples.size());
    for (const Sample& sample : samples) {
        middle.miss = middle.miss + part * sample.miss;
        for (std::size_t i = 0; i < middle.turns.size(); ++i) {
            middle.turns[i] += part * sample.turns[i];
        }
    }
    return middle;
}

/// How a marker's place in its joint's axes goes with each of the turns: three rows.
std::array<std::vector<double>, 3> shiftsOf(const std::vector<Sample>& samples,
                                            const Sample& middle) {
    const std::size_t size = middle.turns.size();
    const auto count = static_cast<double>(samples.size());
    const double evidence = std::min(1.0, mostStances / count);
    DenseMatrix matrix(size);
    std::array<std::vector<double>, 3> rows;
    rows.fill(std::vector<double>(size));
    double variance = 0;
    for (const Sample& sample : samples) {
        const Vector3d miss = sample.miss - middle.miss;
        variance += dot(miss, miss) / (3 * count);
        for (std::size_t i = 0; i < size; ++i) {
            const double turn = evidence * (sample.turns[i] - middle.turns[i]);
            for (std::size_t k = i; k < size; ++k) {
                matrix(i, k) += turn * (sample.turns[k] - middle.turns[k]);
            }
            for (std::size_t axis = 0; axis < 3; ++axis) {
                rows[axis][i] += turn * miss[axis];
            }
        }
    }
    const double caution = std::max(variance, leastNoise) / (shiftSpread * shiftSpread);
    for (std::size_t i = 0; i < size; ++i) {
        matrix(i, i) += caution;
    }
    if (!matrix.factor()) {
        rows.fill(std::vector<double>(size));
        return rows;
    }
    for (std::vector<double>& row : rows) {
        matrix.solve(row);
    }
    return rows;
}

} // namespace

void learnSkinMotion(Articulation& body, const std::vector<FitFrame>& frames) {
    body.skin.clear();
    const Samples all(body, frames);
    for (std::size_t m = 0; m < body.markers.size(); ++m) {
        const std::vector<Sample>& samples = all.samples[m];
        const std::vector<std::size_t>& joints = all.joints[m];
        if (samples.size() < leastFrames) {
            continue;
        }
        const Sample middle = middleOf(samples);
        const std::array<std::vector<double>, 3> rows = shiftsOf(samples, middle);
        Vector3d usual = middle.miss;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            for (std::size_t i = 0; i < middle.turns.size(); ++i) {
                usual[axis] -= rows[axis][i] * middle.turns[i];
            }
        }
        body.markers[m].offset = body.markers[m].offset + usual;
        for (std::size_t j = 0; j < joints.size(); ++j) {
            SkinPull pull = {m, joints[j], {}};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                for (std::size_t i = 0; i < 3; ++i) {
                    pull.shift(axis, i) = rows[axis][3 * j + i];
                }
            }
            const auto& shifts = pull.shift.m;
            if (std::inner_product(shifts.begin(), shifts.end(), shifts.begin(), 0.0) >
                leastShift * leastShift) {
                body.skin.push_back(pull);
            }
        }
    }
}

} // namespace tarn::kit
