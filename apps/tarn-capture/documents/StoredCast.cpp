// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "documents/StoredCast.h"

#include <fmt/format.h>
#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Scene.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/solving/MarkerBody.h>

#include <cstddef>

namespace tarn::capture {

namespace {

std::size_t markersOn(const Actor& actor) {
    try {
        return kit::MarkerBody::of(actor).markers.size();
    } catch (const kit::MarkerBodyError&) { // it was not calibrated with markers
        return 0;
    }
}

std::string lineOf(Character& character) {
    std::string line = kit::printable(character.characterName());
    Actor* const actor = character.actor();
    if (actor == nullptr) {
        return line + ", without an actor";
    }
    if (actor->actorName() != character.characterName()) {
        line += ", played by " + kit::printable(actor->actorName());
    }
    line += ", " + kit::counted(actor->bodyDimensionSettings()->values().size(), "dimension");
    if (const std::size_t markers = markersOn(*actor); markers > 0) {
        line += ", " + kit::counted(markers, "marker");
    }
    return line;
}

/// Null if there is none of that name, or no name and not one alone.
Character* characterIn(Scene& scene, const std::string& name) {
    const auto characters = scene.characters();
    if (name.empty()) {
        return characters.size() == 1 ? characters.front() : nullptr;
    }
    for (Character* const character : characters) {
        if (character->characterName() == name) {
            return character;
        }
    }
    return nullptr;
}

} // namespace

std::vector<std::string> castIn(store::TakeReader& reader) {
    const store::StoredScene stored = reader.loadScene(store::SceneParts::WithoutTakes);
    std::vector<std::string> lines;
    for (Character* const character : stored.scene().characters()) {
        lines.push_back(lineOf(*character));
    }
    return lines;
}

std::string castMemberIn(store::TakeReader& reader, const std::string& name) {
    const store::StoredScene stored = reader.loadScene(store::SceneParts::WithoutTakes);
    Character* const character = characterIn(stored.scene(), name);
    return character == nullptr ? "" : lineOf(*character);
}

std::string actorDocumentIn(store::TakeReader& reader, const std::string& character) {
    const store::StoredScene stored = reader.loadScene(store::SceneParts::WithoutTakes);
    Character* const found = characterIn(stored.scene(), character);
    std::string text;
    if (found != nullptr && found->actor() != nullptr &&
        found->actor()->saveSettingsToString(text)) {
        return text;
    }
    std::string names;
    for (Character* const other : stored.scene().characters()) {
        names += (names.empty() ? "" : ", ") + kit::printable(other->characterName());
    }
    throw store::StoreError(reader.file(), store::StoreProblem::Unsupported,
                            names.empty() ? "holds no actors"
                                          : fmt::format("holds no actor of '{}', but {}",
                                                        kit::printable(character), names));
}

} // namespace tarn::capture
