// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Solver.h>

#include "core/TypedLinks.h"
#include "processing/FactorTable.h"

#include <cassert>
#include <map>
#include <utility>

namespace tarn {

namespace {

/// Sequences by data type. An entry may hold an empty pointer: someone asked for that data type.
using Sequences = std::map<int, std::shared_ptr<Sequence>>;

void fileFrame(Sequences& sequences, std::shared_ptr<Frame> frame) {
    assert(frame != nullptr);
    auto& sequence = sequences[frame->dataType()];
    if (sequence == nullptr) {
        sequence = std::make_shared<Sequence>(frame->dataType());
    }
    sequence->addFrame(std::move(frame));
}

std::list<std::shared_ptr<Sequence>> nonEmpty(const Sequences& sequences) {
    std::list<std::shared_ptr<Sequence>> found;
    for (const auto& [dataType, sequence] : sequences) {
        if (sequence != nullptr) {
            found.push_back(sequence);
        }
    }
    return found;
}

} // namespace

struct Solver::PrivateData {
    PrivateData(std::string typeName, std::string identifier)
        : type(std::move(typeName)), id(std::move(identifier)) {}

    std::string type;
    std::string id;
    FactorTable factors;
    Sequences inputs;
    Sequences outputs;
    bool calibrating = false;
    tsignal::Signal<> onWillCalibrate;
    tsignal::Signal<> onCalibrateFinished;
    tsignal::Signal<> onCalibrateCanceled;
};

Solver::Solver() : Solver(std::string(), std::string()) {}

Solver::Solver(const std::string& type, const std::string& id)
    : d_(std::make_unique<PrivateData>(type, id)) {}

Solver::~Solver() = default;

std::string Solver::type() const { return d_->type; }

std::string Solver::id() const { return d_->id; }

void Solver::setType(const std::string& type) { d_->type = type; }

void Solver::setId(const std::string& id) { d_->id = id; }

Skeleton* Solver::skeleton() const { return typedChild<Skeleton>(*this); }

void Solver::setSkeleton(Skeleton* skeleton) { addChild(skeleton); }

void Solver::addInput(std::shared_ptr<Frame> frame) { fileFrame(d_->inputs, std::move(frame)); }

void Solver::clearInput() { d_->inputs.clear(); }

const std::shared_ptr<Sequence>& Solver::getInput(int dataType) { return d_->inputs[dataType]; }

std::list<std::shared_ptr<Sequence>> Solver::getInputs() { return nonEmpty(d_->inputs); }

void Solver::addOutput(std::shared_ptr<Frame> frame) { fileFrame(d_->outputs, std::move(frame)); }

void Solver::clearOutput() { d_->outputs.clear(); }

const std::shared_ptr<Sequence>& Solver::getOutput(int dataType) { return d_->outputs[dataType]; }

std::list<std::shared_ptr<Sequence>> Solver::getOutputs() { return nonEmpty(d_->outputs); }

bool Solver::evaluate() { return doEvaluate(); }

bool Solver::evaluate(std::shared_ptr<Tracks> tracks, int first, int second) {
    return doEvaluate(std::move(tracks), first, second);
}

void Solver::beginCalibrate() {
    d_->onWillCalibrate.emit();
    doBeginCalibrate();
}

void Solver::endCalibrate() {
    doEndCalibrate();
    d_->onCalibrateFinished.emit();
}

void Solver::cancelCalibrate() {
    doCancelCalibrate();
    d_->onCalibrateCanceled.emit();
}

bool Solver::isCalibrating() { return d_->calibrating; }

std::any Solver::queryFactor(int id) const { return d_->factors.query(id); }

void Solver::setFactor(int id, const std::any& value) { d_->factors.set(id, value); }

bool Solver::isFactorQueriable(int id) const { return d_->factors.isQueriable(id); }

bool Solver::isFactorSettable(int id) const { return d_->factors.isSettable(id); }

void Solver::addFactor(int id, std::function<std::any()> getter,
                       std::function<void(const std::any&)> setter) {
    d_->factors.add(id, std::move(getter), std::move(setter));
}

void Solver::removeFactor(int id, const std::any& value) {
    if (d_->factors.set(id, value)) {
        d_->factors.remove(id);
    }
}

void Solver::saveStatus(Settings* settings) { doSaveStatus(settings); }

void Solver::restoreStatus(Settings* settings) { doRestoreStatus(settings); }

bool Solver::doEvaluate(std::shared_ptr<Tracks> /*tracks*/, int /*first*/, int /*second*/) {
    return false;
}

bool Solver::doEvaluate() { return false; }

void Solver::doBeginCalibrate() {}

void Solver::doCancelCalibrate() {}

void Solver::doEndCalibrate() {}

void Solver::doSaveStatus(Settings* /*settings*/) {}

void Solver::doRestoreStatus(Settings* /*settings*/) {}

tsignal::Signal<int>& Solver::onFactorChanged() { return d_->factors.onChanged(); }

tsignal::Signal<>& Solver::onWillCalibrate() { return d_->onWillCalibrate; }

tsignal::Signal<>& Solver::onCalibrateFinished() { return d_->onCalibrateFinished; }

tsignal::Signal<>& Solver::onCalibrateCanceled() { return d_->onCalibrateCanceled; }

} // namespace tarn
