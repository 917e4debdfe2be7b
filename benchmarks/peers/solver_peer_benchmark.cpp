// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The marker solver beside Simbody's Assembler on one body, calibrated with the first half of a
// take of 41 markers, over the frames of the second half: time per frame to convergence and live,
// how far markers are off, and how much joints jitter.

#include "PeerBody.h"
#include "Ratios.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerFit.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>

namespace {

using namespace tarn;
using namespace tarn::kit;
using tarn_benchmark::Goal;
using tarn_benchmark::Measure;
using tarn_benchmark::PeerBody;

/// The loosest power of ten at which its error is within 1 % of the least that it reaches.
constexpr double peerAccuracy = 1e-5;
constexpr std::array limbs = {"LeftUpLeg",   "LeftLeg",  "LeftFoot",     "LeftArm",
                              "LeftForeArm", "LeftHand", "RightUpLeg",   "RightLeg",
                              "RightFoot",   "RightArm", "RightForeArm", "RightHand"};

/// A calibrated body and the frames to solve.
struct Material {
    Material() : take(readC3d(std::filesystem::path(TARN_EXAMPLE_DATA "/cmu_85_02.c3d"))) {
        source.metresPerUnit = take.metresPerUnit;
        for (const C3dMarker& marker : take.markers) {
            source.names.push_back(marker.name);
        }
        const MarkerSet set = MarkerSet::load("cmu41");
        MarkerSolver solver("peer", MarkerBody::generic(set), source);
        MarkerCalibrator calibrator("peer", set);
        calibrator.setSolver(&solver);
        std::vector<std::shared_ptr<Frame>> first;
        for (int i = 0; i < take.frameCount; ++i) {
            const auto frame = take.tracks->getFrame(i, markerDataType);
            (2 * i < take.frameCount ? first : frames).push_back(frame);
        }
        calibrator.setCalibrationData(takeOf(markerDataType, first, take.tracks->fps()));
        calibrator.finish();
        if (!calibrator.report().isGood()) {
            throw std::runtime_error(calibrator.report().error);
        }
        body = withSkin = calibrator.report().body;
        for (BodyMarker& marker : body.markers) {
            marker.skin.clear(); // the peer's markers are fixed to their segments
        }
        for (const BodyMarker& marker : body.markers) {
            const auto name = std::find(source.names.begin(), source.names.end(), marker.name);
            columns.push_back(static_cast<int>(name - source.names.begin()));
        }
    }
    const MarkerFrame& markersAt(std::size_t i) const { return frames[i]->dataAs<MarkerFrame>(); }

    C3dTake take;
    MarkerSource source;
    MarkerBody body, withSkin;
    std::vector<int> columns;
    std::vector<std::shared_ptr<Frame>> frames;
};

/// One of both, frame after frame.
class Ours {
public:
    Ours(const Material& material, const MarkerBody& body, int iterations)
        : material_(material), solver_("ours", body, material.source) {
        solver_.setFactor(MarkerSolver::Iterations, iterations);
        const auto& nodes = solver_.rig()->nodes();
        for (const char* const limb : limbs) {
            const auto node = std::find_if(nodes.begin(), nodes.end(),
                                           [&](const RigNode& one) { return one.name == limb; });
            nodes_.push_back(static_cast<std::size_t>(node - nodes.begin()));
        }
    }
    void solve(std::size_t i) {
        solver_.clearInput();
        solver_.clearOutput();
        solver_.addInput(material_.frames[i]);
        solver_.evaluate();
    }
    std::vector<Vector3d> markers() {
        std::vector<Vector3d> places;
        const auto frame = solver_.getOutput(markerFitDataType)->getFrame(0);
        for (const FittedMarker& marker : frame->dataAs<MarkerFit>()) {
            places.push_back(material_.source.metresPerUnit * marker.position);
        }
        return places;
    }
    std::vector<Vector3d> joints() {
        std::vector<Vector3d> places;
        const auto frame = solver_.getOutput(bodyDataType)->getFrame(0);
        for (const std::size_t node : nodes_) {
            places.push_back(toDouble(frame->dataAs<BodyPose>().segments[node].position));
        }
        return places;
    }

private:
    const Material& material_;
    MarkerSolver solver_;
    std::vector<std::size_t> nodes_;
};

class Theirs {
public:
    Theirs(const Material& material, bool isLive)
        : material_(material), isLive_(isLive),
          body_(material.body, material.columns, material.source.metresPerUnit, peerAccuracy) {
        body_.assemble(material.markersAt(0));
    }
    void solve(std::size_t i) {
        if (isLive_ && i > 0) {
            body_.track(material_.markersAt(i));
        } else {
            body_.assemble(material_.markersAt(i));
        }
    }
    std::vector<Vector3d> markers() const { return body_.markers(); }
    std::vector<Vector3d> joints() const {
        std::vector<Vector3d> places;
        places.reserve(limbs.size());
        for (const char* const limb : limbs) {
            places.push_back(body_.joint(limb));
        }
        return places;
    }

private:
    const Material& material_;
    bool isLive_;
    PeerBody body_;
};

double rms(const std::vector<double>& values, std::size_t count) {
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += values[i] * values[i];
    }
    return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(count, 1)));
}

/// In millimetres.
struct Quality {
    double error = 0;  ///< of markers, RMS without the worst hundredth
    double jitter = 0; ///< of joints: RMS of the second difference of their positions
};

template <class Solver>
Quality qualityOf(const Material& material, Solver& solver) {
    std::vector<double> errors;
    std::vector<double> jumps;
    std::vector<std::vector<Vector3d>> last;
    for (std::size_t i = 0; i < material.frames.size(); ++i) {
        solver.solve(i);
        const auto places = solver.markers();
        for (std::size_t m = 0; m < places.size(); ++m) {
            const Marker& marker =
                material.markersAt(i)[static_cast<std::size_t>(material.columns[m])];
            if (marker.hasPosition()) {
                const auto at = material.source.metresPerUnit * toDouble(marker.position);
                errors.push_back(1000 * lengthOf(places[m] - at));
            }
        }
        last.push_back(solver.joints());
        for (std::size_t j = 0; i >= 2 && j < limbs.size(); ++j) {
            const Vector3d jump = last[i][j] - 2.0 * last[i - 1][j] + last[i - 2][j];
            jumps.push_back(1000 * lengthOf(jump));
        }
    }
    std::sort(errors.begin(), errors.end());
    return {rms(errors, errors.size() - errors.size() / 100), rms(jumps, jumps.size())};
}

/// Solves the first hundred frames there and back, as frames take unequally long, and says what a
/// frame took.
template <class Solver>
tarn_benchmark::Run thereAndBack(const Material& material, Solver& solver) {
    return [&material, &solver](std::size_t count) {
        const std::size_t frames = std::min<std::size_t>(100, material.frames.size());
        const double time = tarn_benchmark::timed([&] {
            for (std::size_t pass = 0; pass < count; ++pass) {
                for (std::size_t i = 0; i < frames; ++i) {
                    solver.solve(i);
                }
                for (std::size_t i = frames; i > 0; --i) {
                    solver.solve(i - 1);
                }
            }
        });
        return time / static_cast<double>(2 * frames);
    };
}

int compare(int argc, char** argv) {
    const Material material;
    Ours converged(material, material.body, 30);
    Ours live(material, material.body, 2);
    Ours withSkin(material, material.withSkin, 30);
    Ours liveWithSkin(material, material.withSkin, 2);
    Theirs theirsConverged(material, false);
    Theirs theirsLive(material, true);
    const Quality ours = qualityOf(material, converged);
    const Quality oursLive = qualityOf(material, live);
    const Quality theirs = qualityOf(material, theirsConverged);
    const Quality theirsTracking = qualityOf(material, theirsLive);
    const std::vector<Measure> measures = {
        {"a frame of 41 markers to convergence",
         thereAndBack(material, converged),
         std::nullopt,
         std::nullopt,
         Goal{0.1, {{"Simbody, assemble", thereAndBack(material, theirsConverged)}}},
         {}},
        {"a frame of 41 markers, two steps from the last one",
         thereAndBack(material, live),
         100'000,
         std::nullopt,
         Goal{0.03, {{"Simbody, track", thereAndBack(material, theirsLive)}}},
         {}},
        {"a frame to convergence, with what skin does",
         thereAndBack(material, withSkin),
         std::nullopt,
         std::nullopt,
         Goal{0.1, {{"Simbody, assemble", thereAndBack(material, theirsConverged)}}},
         {}},
        {"two steps from the last one, with what skin does",
         thereAndBack(material, liveWithSkin),
         100'000,
         std::nullopt,
         Goal{0.03, {{"Simbody, track", thereAndBack(material, theirsLive)}}},
         {}},
    };
    return tarn_benchmark::compare(
        argc, argv, measures,
        {{"markers off, to convergence", "Simbody, mm RMS", ours.error, theirs.error},
         {"markers off, live", "1.05 x Simbody, mm RMS", oursLive.error,
          1.05 * theirsTracking.error},
         {"jitter of joints, to convergence", "Simbody, mm RMS", ours.jitter, theirs.jitter},
         {"jitter of joints, live", "Simbody, mm RMS", oursLive.jitter, theirsTracking.jitter}});
}

} // namespace

int main(int argc, char** argv) try {
    return compare(argc, argv);
} catch (const std::exception& error) {
    std::fprintf(stderr, "solver_peer_benchmark: %s\n", error.what());
    return 1;
}
