// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/BodyDimensionCalibrator.h>

#include "body/Kinematics.h"
#include "files/xml/XmlName.h"
#include "processing/AnyNumber.h"

#include <tarn/Character.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <any>
#include <cassert>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace tarn::kit {

namespace {

/// Mean and standard deviation of values that come one after the other, by Welford's method.
class Statistics {
public:
    void add(double value) {
        ++count_;
        const double difference = value - mean_;
        mean_ += difference / count_;
        squares_ += difference * (value - mean_);
    }
    double mean() const { return mean_; }
    double spread() const { return count_ > 1 ? std::sqrt(squares_ / count_) : 0; }

private:
    double count_ = 0;
    double mean_ = 0;
    double squares_ = 0; ///< the sum of squared differences from the mean
};

/// A node of the rig at rest, and what was measured of its distance from its parent.
struct MeasuredNode {
    std::string name; ///< of the bone that ends there
    int parent = -1;
    double rise = 0;   ///< how much higher than its parent it is
    double length = 0; ///< how far from its parent it is; 0 for a root
    Statistics measured;
};

/// The lengths of one body.
struct Measurement {
    std::vector<double> lengths; ///< of each node from its parent; 0 for a root
    double height = 0;
};

std::vector<MeasuredNode> nodesOf(const Rig& rig, const BodyNames& bodyNames) {
    std::vector<MeasuredNode> nodes;
    nodes.reserve(rig.nodes().size());
    const auto up = static_cast<std::size_t>(rig.standing());
    const auto names = boneLengthNames(rig, bodyNames.match(rig));
    for (const RigNode& node : rig.nodes()) {
        const double length = node.parent < 0 ? 0 : lengthOf(toDouble(node.offset));
        nodes.push_back({names[nodes.size()], node.parent, toDouble(node.offset)[up], length, {}});
    }
    return nodes;
}

double distance(const Segment& a, const Segment& b) {
    return lengthOf(toDouble(a.position) - toDouble(b.position));
}

std::vector<double> lengthsOf(const std::vector<MeasuredNode>& nodes, const BodyPose& body) {
    std::vector<double> lengths(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i].parent >= 0) {
            const auto parent = static_cast<std::size_t>(nodes[i].parent);
            lengths[i] = distance(body.segments[i], body.segments[parent]);
        }
    }
    return lengths;
}

/// How far the nodes reach upwards at rest, with segments of these lengths.
double heightOf(const std::vector<MeasuredNode>& nodes, const std::vector<double>& lengths) {
    std::vector<double> heights(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const MeasuredNode& node = nodes[i];
        if (node.parent < 0) {
            heights[i] = node.rise;
            continue;
        }
        const double rise = node.length > 0 ? node.rise * (lengths[i] / node.length) : 0;
        heights[i] = heights[static_cast<std::size_t>(node.parent)] + rise;
    }
    const auto [lowest, highest] = std::minmax_element(heights.begin(), heights.end());
    return heights.empty() ? 0 : *highest - *lowest;
}

/// Empty if the body is of another rig, or not all of its lengths are numbers.
std::optional<Measurement> measurementOf(const std::vector<MeasuredNode>& nodes,
                                         const BodyPose& body) {
    if (body.segments.size() != nodes.size()) {
        return std::nullopt;
    }
    Measurement measurement{lengthsOf(nodes, body), 0};
    measurement.height = heightOf(nodes, measurement.lengths);
    const auto isNumber = [](double length) { return std::isfinite(toSingle(length)); };
    if (!isNumber(measurement.height) ||
        !std::all_of(measurement.lengths.begin(), measurement.lengths.end(), isNumber)) {
        return std::nullopt;
    }
    return measurement;
}

} // namespace

struct BodyDimensionCalibrator::PrivateData {
    explicit PrivateData(int count) : frameCount(count) {}

    /// Forgets the frames and gets ready for bodies of a rig; of none that can be, for null.
    void reset(const ForwardKinematicsSolver* solver);
    /// Measures a body and keeps its frame; returns false if it cannot be measured.
    bool collect(const std::shared_ptr<Frame>& frame);
    bool isFull() const { return static_cast<int>(frames.size()) >= frameCount; }
    float progress() const;
    void writeTo(Actor& actor) const;

    int frameCount;
    std::shared_ptr<const BodyNames> bodyNames = std::make_shared<BodyNames>();
    LengthUnit unit = {"unit", ""}; ///< of the lengths
    std::vector<MeasuredNode> nodes;
    Statistics height;
    std::vector<std::shared_ptr<Frame>> frames;
};

void BodyDimensionCalibrator::PrivateData::reset(const ForwardKinematicsSolver* solver) {
    unit = solver == nullptr ? LengthUnit{"unit", ""} : solver->rig().space().unit;
    nodes = solver == nullptr ? std::vector<MeasuredNode>() : nodesOf(solver->rig(), *bodyNames);
    height = Statistics();
    frames.clear();
}

bool BodyDimensionCalibrator::PrivateData::collect(const std::shared_ptr<Frame>& frame) {
    const auto* const body = std::any_cast<BodyPose>(&frame->data());
    const auto measurement = body == nullptr ? std::nullopt : measurementOf(nodes, *body);
    if (!measurement) {
        return false;
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        nodes[i].measured.add(measurement->lengths[i]);
    }
    height.add(measurement->height);
    frames.push_back(frame);
    return true;
}

float BodyDimensionCalibrator::PrivateData::progress() const {
    return std::min(1.0F, static_cast<float>(frames.size()) / static_cast<float>(frameCount));
}

void BodyDimensionCalibrator::PrivateData::writeTo(Actor& actor) const {
    convertDimensions(actor, unit);
    for (const MeasuredNode& node : nodes) {
        if (node.length > 0 && !node.name.empty()) {
            actor.setBodyDimension(xmlName(node.name), toSingle(node.measured.mean()));
        }
    }
    actor.setBodyDimension("Height", toSingle(height.mean()));
}

namespace {

Actor* actorOf(const Calibrator& calibrator) {
    const auto isCharacter = [](Object* object) {
        return dynamic_cast<Character*>(object) != nullptr;
    };
    const auto* const character = dynamic_cast<Character*>(calibrator.findParent(isCharacter));
    return character == nullptr ? nullptr : character->actor();
}

ForwardKinematicsSolver* solverOf(SolverCalibrator& calibrator) {
    return dynamic_cast<ForwardKinematicsSolver*>(calibrator.solver());
}

/// What the solver put out last; empty if there is nothing.
std::shared_ptr<Frame> lastBodyOf(Solver& solver) {
    const std::shared_ptr<Sequence> bodies = solver.getOutput(bodyDataType);
    return bodies == nullptr ? nullptr : bodies->getFrame(bodies->frameCount() - 1);
}

} // namespace

BodyDimensionCalibrator::BodyDimensionCalibrator(const std::string& id, int frameCount)
    : d_(std::make_unique<PrivateData>(frameCount)) {
    assert(frameCount >= 1);
    setId(id);
    setCalibratorType("body-dimensions");
    setSolverType("forward-kinematics");
    addFactor(
        frameCountFactor, [this] { return std::any(d_->frameCount); },
        [this](const std::any& value) {
            constexpr int most = std::numeric_limits<int>::max();
            d_->frameCount = wholeNumberHeldBy(value, 1, most).value_or(d_->frameCount);
        });
}

BodyDimensionCalibrator::~BodyDimensionCalibrator() = default;

void BodyDimensionCalibrator::setBodyNames(std::shared_ptr<const BodyNames> names) {
    assert(names != nullptr);
    d_->bodyNames = std::move(names);
}

int BodyDimensionCalibrator::collectedFrames() const { return static_cast<int>(d_->frames.size()); }

MeasuredLength BodyDimensionCalibrator::height() const {
    return {"Height", d_->height.mean(), d_->height.spread()};
}

std::vector<MeasuredLength> BodyDimensionCalibrator::segments() const {
    std::vector<MeasuredLength> segments;
    for (const MeasuredNode& node : d_->nodes) {
        if (node.length > 0) {
            segments.push_back({node.name, node.measured.mean(), node.measured.spread()});
        }
    }
    return segments;
}

bool BodyDimensionCalibrator::doCheckAvaialbe() { return solverOf(*this) != nullptr; }

bool BodyDimensionCalibrator::doCalibrate() {
    if (isCalibrating()) {
        return true;
    }
    if (!isAvailable()) {
        return false;
    }
    d_->reset(solverOf(*this));
    onBegin().emit();
    onProgress().emit(0);
    return true;
}

void BodyDimensionCalibrator::doCancelCalibrate() {
    if (isCalibrating()) {
        d_->reset(nullptr);
        onEnd().emit();
    }
}

void BodyDimensionCalibrator::doFinishCalibrate() {
    Actor* const actor = actorOf(*this);
    if (actor != nullptr && !d_->frames.empty()) {
        d_->writeTo(*actor);
    }
    if (isCalibrating()) {
        onEnd().emit();
    }
}

void BodyDimensionCalibrator::doFlushFrame(std::shared_ptr<Timeline> timeline) {
    Solver* const bound = solver();
    if (timeline == nullptr || bound == nullptr || d_->isFull()) {
        return;
    }
    const auto body = lastBodyOf(*bound);
    if (body == nullptr || body->time() != timeline->time()) {
        return;
    }
    const bool isNew = d_->frames.empty() || d_->frames.back() != body;
    if (isNew && d_->collect(body)) {
        onProgress().emit(d_->progress());
    }
}

std::shared_ptr<Tracks> BodyDimensionCalibrator::doGetCalibrationData() {
    if (d_->frames.empty()) {
        return nullptr;
    }
    const auto rate = static_cast<int>(d_->frames.front()->time().fps());
    return takeOf(bodyDataType, d_->frames, rate);
}

void BodyDimensionCalibrator::doSetCalibrationData(std::shared_ptr<Tracks> data) {
    d_->reset(solverOf(*this));
    const auto track = data == nullptr ? nullptr : data->findTrack(bodyDataType);
    for (int i = 0; track != nullptr && i < track->frameCount(); ++i) {
        if (const auto frame = track->getFrame(i)) {
            d_->collect(frame);
        }
    }
}

void BodyDimensionCalibrator::doTruncCalibrationData() { d_->reset(solverOf(*this)); }

void BodyDimensionCalibrator::doGlobalStart() { start(); }

void BodyDimensionCalibrator::doGlobalCancel() { cancel(); }

void BodyDimensionCalibrator::doGlobalFinish() { finish(); }

} // namespace tarn::kit
