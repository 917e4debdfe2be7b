// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Character.h>

#include "core/TypedLinks.h"
#include "processing/CalibratorData.h"

#include <boost/container/small_vector.hpp>

#include <cassert>
#include <map>
#include <utility>

namespace tarn {

struct Character::PrivateData {
    PrivateData(std::string name, std::string id)
        : characterName(std::move(name)), characterId(std::move(id)) {}

    std::string characterName;
    std::string characterId;
    tsignal::Signal<std::string> onCharacterNameChanged;
    tsignal::Signal<Device*> onDeviceAdded;
    tsignal::Signal<Device*> onDeviceWillRemove;
    tsignal::Signal<Calibrator*> onCalibratorAdded;
    tsignal::Signal<Calibrator*> onCalibratorWillRemove;
    tsignal::Signal<Actor*> onActorChanged;
    tsignal::Signal<Solver*> onSolverChanged;
    tsignal::Signal<std::shared_ptr<Timeline>> onFrame;
    tsignal::Signal<> onWillCalibrate;
    tsignal::Signal<> onCalibrateCanceled;
    tsignal::Signal<> onCalibrateFinished;
    bool calibrating = false;
    tsignal::Signal<std::shared_ptr<Tracks>> onWillChangeTracks;
    tsignal::Signal<std::shared_ptr<Tracks>> onTracksChanged;
    std::shared_ptr<Tracks> tracks;
    std::map<Calibrator*, bool> required;
};

namespace {

auto hasType(const std::string& type) {
    return [&type](const Device* device) { return device->type() == type; };
}

/// Replaces the first child of type `T`; returns false if it is that child already.
template <class T>
bool replaceChild(Object& object, T* child) {
    T* const current = typedChild<T>(object);
    if (current == child) {
        return false;
    }
    if (current != nullptr) {
        object.removeChild(current);
    }
    if (child != nullptr) {
        object.addChild(child);
    }
    return true;
}

/// The solver that a calibration needs.
Solver& solverOf(const Character& character) {
    Solver* const solver = character.solver();
    assert(solver != nullptr);
    return *solver;
}

} // namespace

Character::Character(const std::string& characterId, const std::string& characterName)
    : d_(std::make_unique<PrivateData>(characterName, characterId)) {}

Character::~Character() = default;

std::string Character::characterId() { return d_->characterId; }

void Character::setCharacterId(const std::string& id) { d_->characterId = id; }

std::string Character::characterName() { return d_->characterName; }

void Character::setCharacterName(const std::string& name) {
    if (name == d_->characterName) {
        return;
    }
    d_->characterName = name;
    d_->onCharacterNameChanged.emit(d_->characterName);
}

Actor* Character::actor() const { return typedChild<Actor>(*this); }

void Character::setActor(Actor* actor) {
    if (replaceChild(*this, actor)) {
        d_->onActorChanged.emit(actor);
    }
}

Solver* Character::solver() const { return typedChild<Solver>(*this); }

void Character::setSolver(Solver* solver) {
    if (replaceChild(*this, solver)) {
        d_->onSolverChanged.emit(solver);
    }
}

std::list<Device*> Character::devices() { return typedChildren<Device>(*this); }

void Character::addDevice(Device* device) {
    addChild(device);
    d_->onDeviceAdded.emit(device);
}

void Character::removeDevice(Device* device) {
    d_->onDeviceWillRemove.emit(device);
    removeChild(device);
}

Device* Character::findDevice(const std::string& type) const {
    return typedChildWhere<Device>(*this, hasType(type));
}

std::list<Device*> Character::findDevices(const std::string& type) {
    return typedChildrenWhere<Device>(*this, hasType(type));
}

std::list<Calibrator*> Character::calibrators() { return typedChildren<Calibrator>(*this); }

void Character::addCalibrator(Calibrator* calibrator, bool required) {
    addChild(calibrator);
    d_->required[calibrator] = required;
    d_->onCalibratorAdded.emit(calibrator);
}

void Character::removeCalibrator(Calibrator* calibrator) {
    d_->onCalibratorWillRemove.emit(calibrator);
    removeChild(calibrator);
    d_->required.erase(calibrator);
}

bool Character::isCalibratorRequired(Calibrator* calibrator) { return d_->required[calibrator]; }

void Character::beginCalibrate() {
    d_->onWillCalibrate.emit();
    solverOf(*this).beginCalibrate();
    for (Calibrator* const calibrator : calibrators()) {
        calibrator->globalStart();
    }
    d_->onFrame.connect(this, [this](const std::shared_ptr<Timeline>& timeline) {
        // Taken anew for each frame, without a list: this is what every frame passes.
        using Calibrators = boost::container::small_vector<Calibrator*, 16>;
        for (Calibrator* const calibrator : typedChildren<Calibrator, Calibrators>(*this)) {
            Calibrator::PrivateData::flushFrame(*calibrator, timeline);
        }
    });
    d_->calibrating = true;
}

void Character::endCalibrate() {
    for (Calibrator* const calibrator : calibrators()) {
        calibrator->globalFinish();
    }
    d_->onFrame.disconnect(this);
    solverOf(*this).endCalibrate();
    d_->onCalibrateFinished.emit();
    d_->calibrating = false;
}

void Character::cancelCalibrate() {
    for (Calibrator* const calibrator : calibrators()) {
        calibrator->globalCancel();
    }
    d_->onFrame.disconnect(this);
    solverOf(*this).cancelCalibrate();
    d_->onCalibrateCanceled.emit();
    d_->calibrating = false;
}

bool Character::isCalibrating() { return d_->calibrating; }

std::shared_ptr<Tracks> Character::tracks() { return d_->tracks; }

void Character::setTracks(std::shared_ptr<Tracks> tracks) {
    if (tracks == d_->tracks) {
        return;
    }
    if (d_->tracks != nullptr) {
        d_->tracks->onCurrentTimeChanged().disconnect(this);
    }
    d_->onWillChangeTracks.emit(d_->tracks);
    d_->tracks = tracks;
    if (tracks != nullptr) {
        Tracks* const take = tracks.get();
        take->onCurrentTimeChanged().connect(
            this, [this, take](int /*index*/) { d_->onFrame.emit(take->currentFrame()); });
    }
    d_->onTracksChanged.emit(tracks);
}

tsignal::Signal<std::string>& Character::onCharacterNameChanged() {
    return d_->onCharacterNameChanged;
}

tsignal::Signal<Device*>& Character::onDeviceAdded() { return d_->onDeviceAdded; }

tsignal::Signal<Device*>& Character::onDeviceWillRemove() { return d_->onDeviceWillRemove; }

tsignal::Signal<Calibrator*>& Character::onCalibratorAdded() { return d_->onCalibratorAdded; }

tsignal::Signal<Calibrator*>& Character::onCalibratorWillRemove() {
    return d_->onCalibratorWillRemove;
}

tsignal::Signal<Actor*>& Character::onActorChanged() { return d_->onActorChanged; }

tsignal::Signal<Solver*>& Character::onSolverChanged() { return d_->onSolverChanged; }

tsignal::Signal<std::shared_ptr<Timeline>>& Character::onFrame() { return d_->onFrame; }

tsignal::Signal<>& Character::onWillCalibrate() { return d_->onWillCalibrate; }

tsignal::Signal<>& Character::onCalibrateCanceled() { return d_->onCalibrateCanceled; }

tsignal::Signal<>& Character::onCalibrateFinished() { return d_->onCalibrateFinished; }

tsignal::Signal<std::shared_ptr<Tracks>>& Character::onWillChangeTracks() {
    return d_->onWillChangeTracks;
}

tsignal::Signal<std::shared_ptr<Tracks>>& Character::onTracksChanged() {
    return d_->onTracksChanged;
}

} // namespace tarn
