// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Scene.h>

#include "core/TypedLinks.h"

#include <algorithm>
#include <utility>

namespace tarn {

struct Scene::PrivateData {
    tsignal::Signal<Character*> onCharacterAdded;
    tsignal::Signal<Character*> onCharacterWillRemove;
    tsignal::Signal<Character*> onSelectedCharacter;
    tsignal::Signal<Character*> onWillDeselectCharacter;
    tsignal::Signal<Character*> onDidDeselectCharacter;
    tsignal::Signal<Character*> onWillChangeCurrentCharacter;
    tsignal::Signal<Character*> onCurrentCharacterChanged;
    std::list<Character*> selection;
    Character* currentCharacter = nullptr;
    std::string description;
    std::string note;
    tsignal::Signal<std::string> onDescriptionChanged;
    tsignal::Signal<std::string> onNoteChanged;
    tsignal::Signal<const Time&> onSceneTimeChanged;
    tsignal::Signal<std::shared_ptr<Tracks>> onWillChangeTracks;
    tsignal::Signal<std::shared_ptr<Tracks>> onTracksChanged;
    Time sceneTime;
    std::shared_ptr<Tracks> tracks;
};

namespace {

auto isNamed(const std::string& name) {
    return [&name](Character* character) { return character->characterName() == name; };
}

bool contains(const std::list<Character*>& characters, const Character* character) {
    return std::find(characters.begin(), characters.end(), character) != characters.end();
}

} // namespace

Scene::Scene() : d_(std::make_unique<PrivateData>()) {}

Scene::~Scene() = default;

void Scene::addCharacter(Character* character) {
    addChild(character);
    d_->onCharacterAdded.emit(character);
}

void Scene::removeCharacter(Character* character) {
    deselectCharacter(character);
    if (character == d_->currentCharacter) {
        const auto all = characters();
        const auto other = std::find_if(all.begin(), all.end(),
                                        [character](Character* each) { return each != character; });
        setCurrentCharacter(other == all.end() ? nullptr : *other);
    }
    if (contains(characters(), character)) {
        d_->onCharacterWillRemove.emit(character);
        removeChild(character);
    }
}

std::list<Character*> Scene::characters() { return typedChildren<Character>(*this); }

Character* Scene::findCharacter(const std::string& name) const {
    return typedChildWhere<Character>(*this, isNamed(name));
}

std::list<Character*> Scene::findCharacters(const std::string& name) {
    return typedChildrenWhere<Character>(*this, isNamed(name));
}

void Scene::selectCharacter(Character* character) {
    if (isCharacterSelected(character)) {
        return;
    }
    d_->selection.push_back(character);
    d_->onSelectedCharacter.emit(character);
}

void Scene::deselectCharacter(Character* character) {
    if (!isCharacterSelected(character)) {
        return;
    }
    d_->onWillDeselectCharacter.emit(character);
    d_->selection.remove(character);
    d_->onDidDeselectCharacter.emit(character);
}

bool Scene::isCharacterSelected(Character* character) { return contains(d_->selection, character); }

std::list<Character*> Scene::selectedCharacters() { return d_->selection; }

Character* Scene::currentCharacter() { return d_->currentCharacter; }

void Scene::setCurrentCharacter(Character* character) {
    if (character == d_->currentCharacter) {
        return;
    }
    d_->onWillChangeCurrentCharacter.emit(d_->currentCharacter);
    d_->currentCharacter = character;
    d_->onCurrentCharacterChanged.emit(character);
}

std::string Scene::description() { return d_->description; }

void Scene::setDescription(const std::string& description) {
    d_->description = description;
    d_->onDescriptionChanged.emit(d_->description);
}

std::string Scene::note() { return d_->note; }

void Scene::setNote(const std::string& note) {
    d_->note = note;
    d_->onNoteChanged.emit(d_->note);
}

const Time& Scene::sceneTime() const { return d_->sceneTime; }

void Scene::setSceneTime(const Time& time) {
    if (time == d_->sceneTime) {
        return;
    }
    d_->sceneTime = time;
    d_->onSceneTimeChanged.emit(time); // what is stored may change meanwhile
}

std::shared_ptr<Tracks> Scene::tracks() { return d_->tracks; }

void Scene::setTracks(std::shared_ptr<Tracks> tracks) {
    if (tracks == d_->tracks) {
        return;
    }
    d_->onWillChangeTracks.emit(d_->tracks);
    d_->tracks = tracks;
    d_->onTracksChanged.emit(tracks);
}

tsignal::Signal<Character*>& Scene::onCharacterAdded() { return d_->onCharacterAdded; }

tsignal::Signal<Character*>& Scene::onCharacterWillRemove() { return d_->onCharacterWillRemove; }

tsignal::Signal<Character*>& Scene::onSelectedCharacter() { return d_->onSelectedCharacter; }

tsignal::Signal<Character*>& Scene::onWillDeselectCharacter() {
    return d_->onWillDeselectCharacter;
}

tsignal::Signal<Character*>& Scene::onDidDeselectCharacter() { return d_->onDidDeselectCharacter; }

tsignal::Signal<Character*>& Scene::onWillChangeCurrentCharacter() {
    return d_->onWillChangeCurrentCharacter;
}

tsignal::Signal<Character*>& Scene::onCurrentCharacterChanged() {
    return d_->onCurrentCharacterChanged;
}

tsignal::Signal<std::string>& Scene::onDescriptionChanged() { return d_->onDescriptionChanged; }

tsignal::Signal<std::string>& Scene::onNoteChanged() { return d_->onNoteChanged; }

tsignal::Signal<const Time&>& Scene::onSceneTimeChanged() { return d_->onSceneTimeChanged; }

tsignal::Signal<std::shared_ptr<Tracks>>& Scene::onWillChangeTracks() {
    return d_->onWillChangeTracks;
}

tsignal::Signal<std::shared_ptr<Tracks>>& Scene::onTracksChanged() { return d_->onTracksChanged; }

} // namespace tarn
