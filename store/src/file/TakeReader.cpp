// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeReader.h>

#include "rows/Database.h"
#include "rows/FrameRows.h"
#include "rows/Schema.h"
#include "rows/TakeTree.h"
#include "rows/TrackRows.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cassert>
#include <limits>
#include <map>
#include <optional>
#include <string>

namespace tarn::store {

namespace fs = std::filesystem;

StoredScene::StoredScene() : scene_(std::make_unique<Scene>()) {}

StoredScene::StoredScene(StoredScene&& other) noexcept = default;

StoredScene& StoredScene::operator=(StoredScene&& other) noexcept {
    unlink();
    actors_ = std::move(other.actors_);
    characters_ = std::move(other.characters_);
    scene_ = std::move(other.scene_);
    return *this;
}

StoredScene::~StoredScene() { unlink(); }

void StoredScene::unlink() noexcept {
    if (scene_ == nullptr) {
        return;
    }
    for (const auto& character : characters_) {
        character->setTracks({});
        character->setActor(nullptr);
        scene_->removeCharacter(character.get());
    }
}

struct TakeReader::PrivateData {
    PrivateData(const fs::path& path, std::shared_ptr<const kit::Codecs> codecs)
        : database(path, Database::Mode::Read), schema(database),
          frames(database, std::move(codecs)) {}

    struct KnownSchema {
        explicit KnownSchema(Database& database) { checkSchema(database); }
    };

    std::string fact(std::string_view key);
    std::optional<std::int64_t> rootTake();
    void load(Settings& settings, const std::string& document) const;
    [[noreturn]] void failDamaged(const std::string& why) const {
        throw StoreError(database.file(), StoreProblem::Damaged, "is damaged (" + why + ")");
    }

    Database database;
    KnownSchema schema;
    FrameRows frames;
};

std::string TakeReader::PrivateData::fact(std::string_view key) {
    Statement row(database, "SELECT value FROM fact WHERE key = ?1");
    row.bind(1, key);
    return row.step() ? row.text(0) : std::string();
}

std::optional<std::int64_t> TakeReader::PrivateData::rootTake() {
    return kit::numberIn<std::int64_t>(fact("take"));
}

void TakeReader::PrivateData::load(Settings& settings, const std::string& document) const {
    if (!document.empty() && !settings.loadSettingsFromString(document)) {
        failDamaged("a settings document cannot be read");
    }
}

TakeReader::TakeReader(fs::path file, std::shared_ptr<const kit::Codecs> codecs)
    : d_(std::make_unique<PrivateData>(file, std::move(codecs))) {}

TakeReader::~TakeReader() = default;

const fs::path& TakeReader::file() const { return d_->database.file(); }

TakeFileFacts TakeReader::facts() { return factsOf(d_->database); }

std::vector<StoredTrack> TakeReader::tracks() { return readTracks(d_->database); }

std::vector<Note> TakeReader::notes() { return readNotes(d_->database); }

std::vector<Loss> TakeReader::losses() { return readLosses(d_->database); }

std::shared_ptr<Frame> TakeReader::frame(std::int64_t track, std::int64_t slot) {
    return d_->frames.at(track, slot);
}

std::vector<SlottedFrame> TakeReader::frames(std::int64_t track, std::int64_t first,
                                             std::int64_t last) {
    return d_->frames.between(track, first, last);
}

std::shared_ptr<Tracks> TakeReader::load() {
    const auto take = d_->rootTake();
    return take ? TakeTree(d_->database, d_->frames).whole(*take) : nullptr;
}

std::shared_ptr<Tracks> TakeReader::load(int first, int last) {
    assert(first >= 0 && first <= last);
    const auto take = d_->rootTake();
    return take ? TakeTree(d_->database, d_->frames).part(*take, first, last) : nullptr;
}

int TakeReader::length() {
    const auto take = d_->rootTake();
    const auto length = take ? TakeTree(d_->database, d_->frames).lengthOf(*take) : 0;
    return static_cast<int>(std::min<std::int64_t>(length, std::numeric_limits<int>::max()));
}

StoredScene TakeReader::loadScene(SceneParts parts) {
    StoredScene stored;
    Scene& scene = *stored.scene_;
    d_->load(scene, d_->fact("scene"));
    scene.setDescription(d_->fact("scene_description"));
    scene.setNote(d_->fact("scene_note"));
    scene.setSceneTime(Time(kit::numberIn<unsigned>(d_->fact("scene_frame")).value_or(0),
                            kit::numberIn<unsigned>(d_->fact("scene_rate")).value_or(0)));
    TakeTree tree(d_->database, d_->frames);
    const bool hasTakes = parts == SceneParts::All;
    if (const auto take = d_->rootTake(); take && hasTakes) {
        scene.setTracks(tree.whole(*take));
    }
    std::map<std::int64_t, Character*> selected;
    Statement rows(d_->database, "SELECT id, name, settings, actor, take, selected, is_current "
                                 "FROM character ORDER BY place");
    while (rows.step()) {
        auto& character = *stored.characters_.emplace_back(
            std::make_unique<Character>(rows.text(0), rows.text(1)));
        scene.addCharacter(&character);
        d_->load(character, rows.text(2));
        if (!rows.isNull(3)) {
            auto& actor = *stored.actors_.emplace_back(std::make_unique<Actor>());
            d_->load(actor, rows.text(3));
            character.setActor(&actor);
        }
        if (const auto take = rows.maybeInteger(4); take && hasTakes) {
            character.setTracks(tree.whole(*take));
        }
        if (const auto place = rows.maybeInteger(5)) {
            selected[*place] = &character;
        }
        if (rows.integer(6) != 0) {
            scene.setCurrentCharacter(&character);
        }
    }
    for (const auto& [place, character] : selected) {
        scene.selectCharacter(character);
    }
    return stored;
}

} // namespace tarn::store
