// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/SceneRows.h"

#include "rows/Schema.h"

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Settings.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

std::string documentOf(const Settings& settings, const fs::path& file, const std::string& whose) {
    std::string text;
    // Reading writes nothing; the model's writer is not const.
    if (!settings.values().empty() && !const_cast<Settings&>(settings).saveSettingsToString(text)) {
        throw StoreError(file, StoreProblem::Unsupported,
                         "the settings of " + whose + " are none that a document can hold");
    }
    return text;
}

struct CharacterRow {
    Character* character;
    std::string settings;
    std::optional<std::string> actor;
};

CharacterRow rowOf(Character& character, const fs::path& file) {
    const std::string whose = "character '" + character.characterName() + "'";
    CharacterRow row = {&character, documentOf(character, file, whose), std::nullopt};
    if (character.actor() != nullptr) {
        row.actor = documentOf(*character.actor(), file, "the actor of " + whose);
    }
    return row;
}

void add(Database& database, Scene& scene, const CharacterRow& row, std::int64_t place,
         const TakeIds& takeOf) {
    Character& character = *row.character;
    const std::string id = character.characterId();
    const std::string name = character.characterName();
    Statement insert(database, "INSERT INTO character (place, id, name, settings, actor, take, "
                               "selected, is_current) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
    insert.bind(1, place).bind(2, id).bind(3, name).bind(4, row.settings);
    if (row.actor) {
        insert.bind(5, *row.actor);
    }
    if (const auto take = character.tracks(); take != nullptr && takeOf) {
        insert.bind(6, takeOf(*take));
    }
    const auto selection = scene.selectedCharacters();
    const auto found = std::find(selection.begin(), selection.end(), &character);
    if (found != selection.end()) {
        insert.bind(7, std::int64_t{std::distance(selection.begin(), found)});
    }
    insert.bind(8, scene.currentCharacter() == &character ? 1 : 0).run();
}

} // namespace

void addScene(Database& database, const fs::path& file, Scene& scene, const TakeIds& takeOf) {
    const std::string settings = documentOf(scene, file, "the scene");
    std::vector<CharacterRow> rows;
    for (Character* const character : scene.characters()) {
        rows.push_back(rowOf(*character, file));
    }
    setFact(database, "scene", settings);
    setFact(database, "scene_description", scene.description());
    setFact(database, "scene_note", scene.note());
    setFact(database, "scene_frame", std::to_string(scene.sceneTime().frameIndex()));
    setFact(database, "scene_rate", std::to_string(scene.sceneTime().fps()));
    std::int64_t place = 0;
    for (const CharacterRow& row : rows) {
        add(database, scene, row, place++, takeOf);
    }
}

void copyCharacters(Database& from, Database& to) {
    // Of several scenes, the first says who is selected.
    const bool isFirst = !to.number("SELECT max(place) FROM character");
    Statement rows(from, isFirst ? "SELECT id, name, settings, actor, selected, is_current FROM "
                                   "character ORDER BY place"
                                 : "SELECT id, name, settings, actor, NULL, 0 FROM character "
                                   "ORDER BY place");
    Statement insert(to, "INSERT INTO character (id, name, settings, actor, selected, is_current) "
                         "VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
    while (rows.step()) {
        insert.bindRow(rows).run();
    }
}

void copySceneFacts(Database& from, Database& to, std::pair<std::int64_t, std::int64_t> part) {
    Statement rows(from, "SELECT key, value FROM fact WHERE key IN ('scene', 'scene_description', "
                         "'scene_note', 'scene_frame', 'scene_rate')");
    while (rows.step()) {
        std::string value = rows.text(1);
        const auto frame = kit::numberIn<std::int64_t>(value);
        if (rows.text(0) == "scene_frame" && frame && part.first > 0) {
            value = std::to_string(std::clamp(*frame, part.first, part.second) - part.first);
        }
        setFact(to, rows.text(0), value);
    }
}

} // namespace tarn::store
