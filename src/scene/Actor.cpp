// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Actor.h>

#include "settings/Numbers.h"
#include "settings/SettingsTree.h"

#include <cassert>
#include <cmath>
#include <utility>

namespace tarn {

struct Actor::PrivateData {
    tsignal::Signal<std::string> onActorNameChanged;
    tsignal::Signal<std::string, float> onBodyDimensionChanged;
    tsignal::Signal<std::string, int> onSensorMapChanged;
    tsignal::Signal<> onBodyDimensionSettingsChanged;
};

namespace {

const char* const rootKey = "MocapActor";
const char* const nameKey = "ActorName";
const char* const bodyDimensionKey = "BodyDimension";
const char* const sensorMapKey = "SensorMap";

/// The group `key` of `parent`, created in `owner` if it is missing. A group that is created here
/// is returned as a store of its own, not connected to the tree; hosts rely on what that makes of
/// the first call.
std::shared_ptr<Settings> groupOf(const Settings& parent, const std::string& key, Settings& owner) {
    if (auto group = parent.subSettings(key)) {
        return group;
    }
    auto created = std::make_shared<Settings>();
    owner.addSubSettings(key, created);
    return created;
}

/// Stores a value that is not empty; false if its name is none that a value can have.
bool storeValue(Settings& group, const std::string& name, const std::string& text) {
    group.setValue(name, text);
    return group.value(name, "") == text;
}

/// Puts a copy of `settings` as the group `key` into `target`, after the groups of that name have
/// gone from `root`.
void replaceGroup(const std::string& key, Settings& root, Settings& target,
                  std::shared_ptr<Settings> settings) {
    assert(settings != nullptr);
    Settings copy;
    if (SettingsTree::isInside(*settings, root, key)) { // it would go with them
        copy.addSubSettings(key, std::move(settings));
        settings = copy.subSettings(key);
    }
    root.remove(key);
    target.addSubSettings(key, std::move(settings));
}

} // namespace

Actor::Actor() : d_(std::make_unique<PrivateData>()) {}

Actor::~Actor() = default;

std::shared_ptr<Settings> Actor::rootSettings() { return groupOf(*this, rootKey, *this); }

std::string Actor::actorName() { return rootSettings()->value(nameKey, ""); }

void Actor::setActorName(const std::string& name) {
    if (name == actorName()) {
        return;
    }
    rootSettings()->setValue(nameKey, name);
    d_->onActorNameChanged.emit(name);
}

float Actor::bodyDimension(const std::string& name, float defaultValue) {
    const std::string text = bodyDimensionSettings()->value(name, toText(defaultValue));
    return static_cast<float>(toReal(text));
}

void Actor::setBodyDimension(const std::string& name, float value) {
    const float difference = std::fabs(bodyDimension(name, 0.0F) - value);
    if (static_cast<double>(difference) < 0.0001) {
        return;
    }
    if (storeValue(*bodyDimensionSettings(), name, toText(value))) {
        d_->onBodyDimensionChanged.emit(name, value);
    }
}

std::shared_ptr<Settings> Actor::bodyDimensionSettings() {
    const auto root = rootSettings(); // creates the root group, so that the next call finds it
    return groupOf(*root, bodyDimensionKey, *rootSettings());
}

void Actor::setBodyDimensionSettings(std::shared_ptr<Settings> settings) {
    rootSettings(); // creates the root group, so that the next call finds it
    const auto root = rootSettings();
    replaceGroup(bodyDimensionKey, *root, *root, std::move(settings));
    d_->onBodyDimensionSettingsChanged.emit();
}

std::map<std::string, int> Actor::sensorMap() {
    std::map<std::string, int> result;
    for (const auto& [name, text] : sensorMapSettings()->values()) {
        result[name] = toInteger(text);
    }
    return result;
}

void Actor::setSensorMap(const std::string& name, int value) {
    if (storeValue(*sensorMapSettings(), name, std::to_string(value))) {
        d_->onSensorMapChanged.emit(name, value);
    }
}

std::shared_ptr<Settings> Actor::sensorMapSettings() {
    return groupOf(*rootSettings(), sensorMapKey, *this);
}

void Actor::setSensorMapSettings(std::shared_ptr<Settings> settings) {
    rootSettings(); // creates the root group, so that the next call finds it
    replaceGroup(sensorMapKey, *rootSettings(), *this, std::move(settings));
}

tsignal::Signal<std::string>& Actor::onActorNameChanged() { return d_->onActorNameChanged; }

tsignal::Signal<std::string, float>& Actor::onBodyDimensionChanged() {
    return d_->onBodyDimensionChanged;
}

tsignal::Signal<>& Actor::onBodyDimensionSettingsChanged() {
    return d_->onBodyDimensionSettingsChanged;
}

tsignal::Signal<std::string, int>& Actor::onSensorMapChanged() { return d_->onSensorMapChanged; }

} // namespace tarn
