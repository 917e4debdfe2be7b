// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerSolver.h>

#include "files/NameList.h"
#include "processing/AnyNumber.h"
#include "solving/BodyAssembly.h"
#include "solving/tracking/MarkerTracker.h"

#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Markers.h>

#include <algorithm>
#include <any>
#include <array>
#include <cassert>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

namespace tarn::kit {

namespace {

std::string textOf(double number) {
    std::array<char, 32> text = {};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), result.ptr};
}

/// For each marker of the body the index of the source's, or -1.
std::vector<int> columnsOf(const MarkerBody& body, const MarkerSource& source) {
    std::vector<int> columns;
    std::vector<std::string> missing;
    for (const BodyMarker& marker : body.markers) {
        columns.push_back(markerNamed(marker.name, source.names));
        if (columns.back() < 0) {
            missing.push_back(marker.name);
        }
    }
    if (missing.size() == columns.size()) {
        std::vector<std::string> others = source.names;
        others.erase(std::remove(others.begin(), others.end(), ""), others.end());
        throw MarkerBodyError("none of the body's markers is there: " + nameList(missing) +
                              (others.empty() ? "" : "; there are " + nameList(others, 8)));
    }
    return columns;
}

/// Of the bodies that are put out, as far as it is known.
Space spaceOf(const MarkerSource& source) {
    Space space;
    for (const char* const symbol : {"m", "cm", "mm", "in", "ft"}) {
        const auto unit = lengthUnitNamed(symbol);
        if (unit && std::abs(unit->metres * source.bodyUnitsPerMetre - 1) < 1e-6) {
            space.unit = *unit;
            space.unitOrigin = Origin::Stated;
        }
    }
    if (source.up) {
        space.up = *source.up;
        space.upOrigin = Origin::Stated;
    }
    return space;
}

std::shared_ptr<const Rig> rigOf(const HumanBody& body, const MarkerSource& source) {
    const auto rig = body.rig(source.bodyUnitsPerMetre);
    rig->setSpace(spaceOf(source));
    return rig;
}

} // namespace

/// What belongs to one body: rebuilt when that changes.
struct SolvedBody {
    SolvedBody(MarkerBody theBody, const MarkerSource& source)
        : body(std::move(theBody)), columns(columnsOf(body, source)), assembly(body),
          tracker(assembly.articulation), sightings(body.markers.size()),
          measured(body.markers.size()), isLeftOut(body.markers.size()),
          rig(rigOf(body.body, source)) {
        if (!rig->skeletons().empty()) {
            skeleton.emplace(rig->skeletons().front()->skeletonName());
            skeleton->setBone(rig->skeletons().front()->rootBone());
        }
    }

    MarkerBody body;
    std::vector<int> columns; ///< of each marker in the source's frames, or -1
    BodyAssembly assembly;
    MarkerTracker tracker;
    Sightings sightings; ///< of the frame, to be solved ...
    Sightings measured;  ///< ... and with the markers that are left out
    std::vector<bool> isLeftOut;
    std::shared_ptr<const Rig> rig;
    std::optional<Skeleton> skeleton; ///< one of its own, over the rig's bones
};

struct MarkerSolver::PrivateData {
    explicit PrivateData(MarkerSource theSource) : source(std::move(theSource)) {}

    PoseFit& fit() { return solved->tracker.fit(); }
    void read(const MarkerFrame& frame);
    std::shared_ptr<Frame> nextOf(const std::shared_ptr<Sequence>& sequence);
    /// Solves a frame; false if it holds something else.
    bool solve(MarkerSolver& owner, const Frame& frame);
    BodyPose pose() const;
    MarkerFit markerFit(const FitOutcome& outcome, double seconds) const;

    const MarkerSource source;
    std::unique_ptr<SolvedBody> solved;
    std::weak_ptr<Sequence> input; ///< the input sequence ...
    int solvedInputs = 0;          ///< ... and how many of its frames have been dealt with
};

void MarkerSolver::PrivateData::read(const MarkerFrame& frame) {
    for (std::size_t m = 0; m < solved->sightings.size(); ++m) {
        Sighting& sighting = solved->measured[m];
        sighting.weight = 0;
        if (solved->columns[m] >= 0) {
            const Marker& marker = frame[static_cast<std::size_t>(solved->columns[m])];
            const Vector3d position = source.metresPerUnit * toDouble(marker.position);
            if (marker.hasPosition() && std::isfinite(position.x + position.y + position.z)) {
                sighting.position = position;
                sighting.weight = 1;
            }
        }
        solved->sightings[m] = sighting;
        solved->sightings[m].isWanted = !solved->isLeftOut[m] && !(sighting.weight > 0);
        solved->sightings[m].weight *= solved->isLeftOut[m] ? 0 : solved->body.markers[m].weight;
    }
}

std::shared_ptr<Frame>
MarkerSolver::PrivateData::nextOf(const std::shared_ptr<Sequence>& sequence) {
    if (sequence == nullptr) {
        return nullptr;
    }
    if (input.lock() != sequence) { // the inputs were cleared
        input = sequence;
        solvedInputs = 0;
    }
    auto frame = sequence->getFrame(solvedInputs);
    solvedInputs += frame != nullptr ? 1 : 0;
    return frame;
}

BodyPose MarkerSolver::PrivateData::pose() const {
    const PoseProblem& problem = solved->tracker.fit().problem();
    const Stance& stance = solved->tracker.stance();
    BodyPose pose;
    std::vector<Quaterniond> world(stance.turns.size());
    for (std::size_t j = 0; j < world.size(); ++j) {
        const std::size_t parent = solved->assembly.articulation.joints[j].parent;
        world[j] = parent == none ? stance.turns[j] : normalized(world[parent] * stance.turns[j]);
    }
    std::size_t joint = 0;
    for (const RigNode& node : solved->rig->nodes()) {
        if (node.isEndSite()) {
            const Segment& above = pose.segments.back();
            const Vector3d tip = toDouble(above.rotation) * toDouble(node.offset);
            pose.segments.push_back({toSingle(toDouble(above.position) + tip), above.rotation});
        } else {
            const std::size_t own = solved->assembly.joints[joint++];
            const Vector3d at = source.bodyUnitsPerMetre * problem.origins()[own];
            pose.segments.push_back({toSingle(at), toSingle(world[own])});
        }
    }
    return pose;
}

MarkerFit MarkerSolver::PrivateData::markerFit(const FitOutcome& outcome, double seconds) const {
    const MarkerTracker& tracker = solved->tracker;
    const double unitsPerMetre = 1 / source.metresPerUnit;
    std::vector<FittedMarker> markers(solved->body.markers.size());
    for (std::size_t m = 0; m < markers.size(); ++m) {
        const Vector3d place = tracker.fit().problem().places()[m];
        FittedMarker& marker = markers[m];
        marker.position = unitsPerMetre * place;
        if (solved->measured[m].weight > 0) {
            marker.residual = unitsPerMetre * lengthOf(solved->measured[m].position - place);
        }
        if (solved->sightings[m].weight > 0) {
            marker.verdict =
                tracker.isDoubted(m) ? MarkerVerdict::Doubted : MarkerVerdict::Believed;
        } else if (solved->isLeftOut[m]) {
            marker.verdict = MarkerVerdict::Left;
        }
    }
    for (const auto& [a, b] : tracker.swaps()) {
        markers[a].verdict = markers[b].verdict = MarkerVerdict::Swapped;
        markers[a].swappedWith = b;
        markers[b].swappedWith = a;
    }
    MarkerFit fit(std::move(markers));
    fit.converged = outcome.converged;
    fit.iterations = outcome.iterations;
    fit.seconds = seconds;
    return fit;
}

bool MarkerSolver::PrivateData::solve(MarkerSolver& owner, const Frame& frame) {
    const auto* const markers = std::any_cast<MarkerFrame>(&frame.data());
    if (markers == nullptr || markers->size() != source.names.size()) {
        return false;
    }
    const auto begin = std::chrono::steady_clock::now();
    read(*markers);
    const FitOutcome outcome = solved->tracker.track(solved->sightings);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    owner.addOutput(std::make_shared<Frame>(frame.time(), bodyDataType, pose()));
    owner.addOutput(
        std::make_shared<Frame>(frame.time(), markerFitDataType, markerFit(outcome, time.count())));
    return true;
}

MarkerSolver::MarkerSolver(const std::string& id, MarkerBody body, MarkerSource source)
    : Solver("markers", id) {
    assert(source.metresPerUnit > 0 && source.bodyUnitsPerMetre > 0);
    d_ = std::make_unique<PrivateData>(std::move(source));
    setBody(std::move(body));
    const auto addNumber = [this](Factor factor, auto get, double least, double most, bool whole) {
        addFactor(
            factor, [get] { return std::any(get()); },
            [get, least, most, whole](const std::any& value) {
                const std::optional<double> number = numberHeldBy(value);
                if (number && *number >= least && *number <= most &&
                    (!whole || std::floor(*number) == *number)) {
                    get() = static_cast<std::decay_t<decltype(get())>>(*number);
                }
            });
    };
    addNumber(
        Threshold, [this]() -> double& { return d_->fit().threshold; }, 1e-6, 1e9, false);
    addNumber(
        Iterations, [this]() -> int& { return d_->fit().iterations; }, 1, 1000, true);
    addNumber(
        Damping, [this]() -> double& { return d_->fit().damping; }, 0, 1, false);
    addFactor(
        Limits, [this] { return std::any(d_->fit().problem().limits ? 1 : 0); },
        [this](const std::any& value) {
            const std::optional<int> number = wholeNumberHeldBy(value, 0, 1);
            d_->fit().problem().limits = number ? *number != 0 : d_->fit().problem().limits;
        });
}

MarkerSolver::~MarkerSolver() {
    if (Skeleton* const current = skeleton()) {
        removeChild(current);
    }
}

const MarkerBody& MarkerSolver::body() const { return d_->solved->body; }

void MarkerSolver::setBody(MarkerBody body) {
    auto solved = std::make_unique<SolvedBody>(std::move(body), d_->source);
    if (d_->solved != nullptr) {
        PoseFit& fit = solved->tracker.fit();
        const PoseFit& old = d_->fit();
        fit.threshold = old.threshold;
        fit.iterations = old.iterations;
        fit.damping = old.damping;
        fit.problem().limits = old.problem().limits;
        removeChild(&*d_->solved->skeleton);
    }
    d_->solved = std::move(solved);
    setSkeleton(&*d_->solved->skeleton);
}

const MarkerSource& MarkerSolver::source() const { return d_->source; }

std::shared_ptr<const Rig> MarkerSolver::rig() const { return d_->solved->rig; }

bool MarkerSolver::leaveOut(const std::string& marker, bool out) {
    const std::vector<BodyMarker>& markers = d_->solved->body.markers;
    const auto found = std::find_if(markers.begin(), markers.end(),
                                    [&](const BodyMarker& m) { return m.name == marker; });
    if (found == markers.end()) {
        return false;
    }
    d_->solved->isLeftOut[static_cast<std::size_t>(found - markers.begin())] = out;
    return true;
}

void MarkerSolver::restart() { d_->solved->tracker.reset(); }

bool MarkerSolver::doEvaluate() {
    while (const auto frame = d_->nextOf(getInput(markerDataType))) {
        if (!d_->solve(*this, *frame)) {
            return false;
        }
    }
    return true;
}

bool MarkerSolver::doEvaluate(std::shared_ptr<Tracks> tracks, int first, int last) {
    if (tracks == nullptr || first < 0 || first > last || last >= tracks->timeLength()) {
        return false;
    }
    restart();
    bool fits = true;
    for (int i = first; fits && i <= last; ++i) {
        if (const auto frame = tracks->getFrame(i, markerDataType)) {
            fits = d_->solve(*this, *frame);
        }
    }
    restart();
    return fits;
}

void MarkerSolver::doSaveStatus(Settings* settings) {
    settings->setValue("threshold", textOf(d_->fit().threshold));
    settings->setValue("iterations", textOf(d_->fit().iterations));
    settings->setValue("damping", textOf(d_->fit().damping));
    settings->setValue("limits", d_->fit().problem().limits ? "1" : "0");
}

void MarkerSolver::doRestoreStatus(Settings* settings) {
    const auto restore = [&](const char* key, Factor factor) {
        if (const auto number = numberIn<double>(settings->value(key, ""))) {
            setFactor(factor, *number);
        }
    };
    restore("threshold", Threshold);
    restore("iterations", Iterations);
    restore("damping", Damping);
    restore("limits", Limits);
    restart();
}

} // namespace tarn::kit
