// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerCalibrator.h>

#include "files/NameList.h"
#include "solving/calibration/BodyCalibration.h"

#include <tarn/Character.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <algorithm>
#include <any>
#include <array>
#include <cmath>
#include <utility>

namespace tarn::kit {

namespace {

constexpr double weakLength = 0.015; ///< uncertainties above this are weak spots, in metres
constexpr double weakMarker = 0.020;

MarkerSolver* solverOf(SolverCalibrator& calibrator) {
    return dynamic_cast<MarkerSolver*>(calibrator.solver());
}

Actor* actorOf(const Calibrator& calibrator) {
    const auto isCharacter = [](Object* object) {
        return dynamic_cast<Character*>(object) != nullptr;
    };
    const auto* const character = dynamic_cast<Character*>(calibrator.findParent(isCharacter));
    return character == nullptr ? nullptr : character->actor();
}

bool isSeen(const Marker& marker) {
    return marker.hasPosition() &&
           std::isfinite(marker.position.x + marker.position.y + marker.position.z);
}

/// The movement that shows how long a segment is or where its markers sit.
std::string adviceFor(const std::string& name) {
    constexpr std::array<std::pair<const char*, const char*>, 11> advice = {{
        {"UpLeg", "lift the knee and swing the leg to all sides, then bend the knee"},
        {"Leg", "bend the knee and circle the foot"},
        {"Foot", "circle the foot"},
        {"ForeArm", "bend the elbow, turn the palm up and down, and circle the hand"},
        {"Arm", "circle the arm, and bend the elbow in several positions"},
        {"Shoulder", "shrug, and push the shoulder to the front and to the back"},
        {"Hand", "circle the hand"},
        {"Spine", "bend and twist the back"},
        {"Hips", "bend and twist the back, and swing the legs"},
        {"Neck", "nod and turn the head"},
        {"Head", "nod and turn the head"},
    }};
    for (const auto& [part, movement] : advice) {
        if (name.find(part) != std::string::npos) {
            return movement;
        }
    }
    return "";
}

std::string inMillimetres(double metres) {
    return std::to_string(static_cast<int>(std::lround(1000 * metres))) + " mm";
}

/// The frames that were collected, as the markers of a set that are there.
struct Material {
    MarkerSet set;
    std::vector<Sightings> frames;
    std::vector<int> timesSeen;
    std::vector<std::string> missing;
};

Material materialOf(const MarkerSet& set, const MarkerSource& source,
                    const std::vector<std::shared_ptr<Frame>>& frames) {
    Material material;
    material.set = set;
    material.set.markers.clear();
    std::vector<std::size_t> columns;
    for (const MarkerPlace& marker : set.markers) {
        const int found = markerNamed(marker.name, source.names);
        const auto column = static_cast<std::size_t>(found);
        const auto seen = std::count_if(frames.begin(), frames.end(), [&](const auto& frame) {
            return found >= 0 && isSeen(std::any_cast<const MarkerFrame&>(frame->data())[column]);
        });
        if (seen > 0) {
            material.set.markers.push_back(marker);
            material.timesSeen.push_back(static_cast<int>(seen));
            columns.push_back(column);
        } else {
            material.missing.push_back(marker.name);
        }
    }
    for (const std::shared_ptr<Frame>& frame : frames) {
        const auto& markers = std::any_cast<const MarkerFrame&>(frame->data());
        Sightings sightings(columns.size());
        for (std::size_t m = 0; m < columns.size(); ++m) {
            if (isSeen(markers[columns[m]])) {
                sightings[m].position =
                    source.metresPerUnit * toDouble(markers[columns[m]].position);
                sightings[m].weight = material.set.markers[m].weight;
            }
        }
        material.frames.push_back(std::move(sightings));
    }
    return material;
}

/// The frames with labels put right that are exchanged for a while, as the markers' ways from frame
/// to frame show it, or their neighbours: a body that is not known yet bends to them instead, a
/// forearm by turning over. `rate`: of the frames, per second.
std::vector<std::shared_ptr<Frame>>
withLabelsPutRight(const std::vector<std::shared_ptr<Frame>>& frames, const MarkerSet& set,
                   const MarkerSource& source, double rate) {
    std::vector<bool> isInSet(source.names.size());
    for (const MarkerPlace& marker : set.markers) {
        const int column = markerNamed(marker.name, source.names);
        if (column >= 0) {
            isInSet[static_cast<std::size_t>(column)] = true;
        }
    }
    MarkerRepairOptions options;
    options.rate = rate;
    options.spikes = false; // the fit hardly hears them
    for (std::size_t column = 0; column < isInSet.size(); ++column) {
        if (!isInSet[column]) {
            options.untouched.push_back(static_cast<int>(column));
        }
    }
    const auto take = repairMarkers(takeOf(markerDataType, frames, 0), options).take;
    std::vector<std::shared_ptr<Frame>> right;
    right.reserve(frames.size());
    for (int slot = 0; slot < take->timeLength(); ++slot) {
        right.push_back(take->getFrame(slot, markerDataType));
    }
    return right;
}

bool hasMarkersOn(const char* segment, const MarkerSet& set) {
    return std::any_of(set.markers.begin(), set.markers.end(),
                       [&](const MarkerPlace& marker) { return marker.segment == segment; });
}

/// Why no body can be fitted to frames; empty if one can.
std::string problemOf(const MarkerSet& set, const Material& material, const MarkerSource& source,
                      const std::vector<std::shared_ptr<Frame>>& frames) {
    if (material.frames.empty()) {
        return "there are no frames of markers to calibrate from";
    }
    const std::size_t found = material.set.markers.size();
    // With a quarter missing, or nothing to hold the body by, the take was made with another set.
    if (found < 6 || 4 * found < 3 * set.markers.size() ||
        (hasMarkersOn("Hips", set) && !hasMarkersOn("Hips", material.set))) {
        return "the frames have " + std::to_string(found) + " of the " +
               std::to_string(set.markers.size()) + " markers of the set" +
               (set.name.empty() ? "" : " " + printable(set.name)) +
               "; missing: " + nameList(material.missing);
    }
    const auto usable =
        std::count_if(material.frames.begin(), material.frames.end(), [&](const Sightings& frame) {
            const auto seen = std::count_if(frame.begin(), frame.end(),
                                            [](const Sighting& s) { return s.weight > 0; });
            return 2 * static_cast<std::size_t>(seen) >= found;
        });
    if (usable < 10) {
        return "at least half of the markers are seen in " + std::to_string(usable) +
               " of the frames; it takes 10";
    }
    std::vector<std::string> names;
    for (const MarkerPlace& marker : material.set.markers) {
        names.push_back(marker.name);
    }
    return problemOfMarkers(source, names, frames);
}

std::vector<WeakSpot> weakSpotsOf(const CalibratedBody& found, const Material& material) {
    std::vector<WeakSpot> spots;
    for (const LengthUncertainty& length : found.body.uncertainties) {
        if (length.metres > weakLength && length.length != "Height") { // no one length is
            spots.push_back({length.length, "known to " + inMillimetres(length.metres) + " only",
                             adviceFor(length.length)});
        }
    }
    for (std::size_t m = 0; m < found.body.markers.size(); ++m) {
        const BodyMarker& marker = found.body.markers[m];
        const auto frames = static_cast<int>(material.frames.size());
        if (2 * material.timesSeen[m] < frames) {
            spots.push_back({marker.name,
                             "seen in " + std::to_string(material.timesSeen[m]) + " of " +
                                 std::to_string(frames) + " frames",
                             ""});
        } else if (2 * found.timesDoubted[m] > found.solvedFrames) {
            spots.push_back(
                {marker.name,
                 "not where the body has it in " + std::to_string(found.timesDoubted[m]) + " of " +
                     std::to_string(found.solvedFrames) + " frames",
                 "see whether it sits where the marker set says, and has its own label"});
        } else if (found.misplaced[m] > 0 && material.set.markers[m].isPlaced()) {
            spots.push_back(
                {marker.name,
                 "found " + inMillimetres(found.misplaced[m]) + " from where the marker set says",
                 "see whether it has its own label"});
        } else if (marker.uncertainty > weakMarker) {
            spots.push_back({marker.name,
                             "placed to " + inMillimetres(marker.uncertainty) + " only",
                             adviceFor(marker.segment)});
        }
    }
    return spots;
}

} // namespace

struct MarkerCalibrator::PrivateData {
    explicit PrivateData(MarkerSet theSet) : set(std::move(theSet)) {
        report.error = "nothing was calibrated";
    }

    void forget() {
        frames.clear();
        stride = 1;
        passed = 0;
    }
    /// Keeps every `stride`-th frame.
    void collect(const std::shared_ptr<Frame>& frame);
    /// Fits a body; false if that was cancelled.
    bool fit(const MarkerSolver& solver, const CalibrationProgress& progress);

    const MarkerSet set;
    std::vector<std::shared_ptr<Frame>> frames;
    int stride = 1;
    int passed = 0;
    bool isFitting = false;
    bool isCancelled = false;
    CalibrationReport report;
};

void MarkerCalibrator::PrivateData::collect(const std::shared_ptr<Frame>& frame) {
    if (passed++ % stride != 0) {
        return;
    }
    frames.push_back(frame);
    if (frames.size() > static_cast<std::size_t>(mostFrames)) {
        for (std::size_t i = 0; 2 * i < frames.size(); ++i) {
            frames[i] = frames[2 * i];
        }
        frames.resize((frames.size() + 1) / 2);
        stride *= 2;
    }
}

bool MarkerCalibrator::PrivateData::fit(const MarkerSolver& solver,
                                        const CalibrationProgress& progress) {
    CalibrationReport made;
    made.frames = static_cast<int>(frames.size());
    Material material = materialOf(set, solver.source(), frames);
    made.missingMarkers = material.missing;
    made.error = problemOf(set, material, solver.source(), frames);
    if (made.isGood()) {
        const double rate =
            std::max(1.0, static_cast<double>(frames.front()->time().fps()) / stride);
        material = materialOf(set, solver.source(),
                              withLabelsPutRight(frames, set, solver.source(), rate));
        made.missingMarkers = material.missing;
        CalibratedBody found = calibrateBody(material.set, material.frames, progress);
        if (!found.isComplete) {
            return false;
        }
        made.weakSpots = weakSpotsOf(found, material);
        made.markerErrors = std::move(found.markerErrors);
        made.markerRms = found.error;
        made.body = std::move(found.body);
    }
    report = std::move(made);
    return true;
}

MarkerCalibrator::MarkerCalibrator(const std::string& id, MarkerSet set)
    : d_(std::make_unique<PrivateData>(std::move(set))) {
    setId(id);
    setCalibratorType("markers");
    setSolverType("markers");
}

MarkerCalibrator::~MarkerCalibrator() = default;

const MarkerSet& MarkerCalibrator::set() const { return d_->set; }

int MarkerCalibrator::collectedFrames() const { return static_cast<int>(d_->frames.size()); }

const CalibrationReport& MarkerCalibrator::report() const { return d_->report; }

bool MarkerCalibrator::doCheckAvaialbe() { return solverOf(*this) != nullptr; }

bool MarkerCalibrator::doCalibrate() {
    if (isCalibrating()) {
        return true;
    }
    if (!isAvailable()) {
        return false;
    }
    d_->forget();
    onBegin().emit();
    onProgress().emit(0);
    return true;
}

void MarkerCalibrator::doCancelCalibrate() {
    if (d_->isFitting) {
        d_->isCancelled = true; // the fit ends at its next step
        return;
    }
    if (isCalibrating()) {
        d_->forget();
        onEnd().emit();
    }
}

void MarkerCalibrator::doFinishCalibrate() {
    MarkerSolver* const bound = solverOf(*this);
    if (bound != nullptr && !d_->isFitting && (isCalibrating() || !d_->frames.empty())) {
        d_->isFitting = true;
        d_->isCancelled = false;
        const bool isDone = d_->fit(*bound, [this](double part) {
            onProgress().emit(static_cast<float>(0.5 + 0.5 * std::min(1.0, part)));
            return !d_->isCancelled;
        });
        d_->isFitting = false;
        if (!isDone) {
            d_->forget();
        } else if (d_->report.isGood()) {
            bound->setBody(d_->report.body);
            if (Actor* const actor = actorOf(*this)) {
                d_->report.body.writeTo(*actor);
            }
            onProgress().emit(1);
        }
    }
    if (isCalibrating()) {
        onEnd().emit();
    }
}

void MarkerCalibrator::doFlushFrame(std::shared_ptr<Timeline> timeline) {
    const MarkerSolver* const bound = solverOf(*this);
    if (timeline == nullptr || bound == nullptr) {
        return;
    }
    const auto entry = timeline->frames().find(markerDataType);
    if (entry == timeline->frames().end() || entry->second == nullptr) {
        return;
    }
    const auto* const markers = std::any_cast<MarkerFrame>(&entry->second->data());
    const bool isNew = d_->frames.empty() || d_->frames.back() != entry->second;
    if (markers != nullptr && markers->size() == bound->source().names.size() && isNew) {
        d_->collect(entry->second);
        const double hundreds = static_cast<double>(d_->passed) / 100;
        onProgress().emit(static_cast<float>(0.5 * (1 - std::exp2(-hundreds))));
    }
}

std::shared_ptr<Tracks> MarkerCalibrator::doGetCalibrationData() {
    if (d_->frames.empty()) {
        return nullptr;
    }
    const auto rate = static_cast<int>(d_->frames.front()->time().fps());
    return takeOf(markerDataType, d_->frames, rate);
}

void MarkerCalibrator::doSetCalibrationData(std::shared_ptr<Tracks> data) {
    d_->forget();
    const MarkerSolver* const bound = solverOf(*this);
    const auto track = data == nullptr ? nullptr : data->findTrack(markerDataType);
    for (int i = 0; track != nullptr && bound != nullptr && i < track->frameCount(); ++i) {
        const auto frame = track->getFrame(i);
        const auto* const markers =
            frame == nullptr ? nullptr : std::any_cast<MarkerFrame>(&frame->data());
        if (markers != nullptr && markers->size() == bound->source().names.size()) {
            d_->collect(frame);
        }
    }
}

void MarkerCalibrator::doTruncCalibrationData() { d_->forget(); }

void MarkerCalibrator::doGlobalStart() { start(); }

void MarkerCalibrator::doGlobalCancel() { cancel(); }

void MarkerCalibrator::doGlobalFinish() { finish(); }

} // namespace tarn::kit
