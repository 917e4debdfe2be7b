// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeWriter.h>

#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/SceneRows.h"
#include "rows/Schema.h"
#include "rows/TrackRows.h"
#include "rows/UnfinishedFile.h"

#include <cassert>
#include <map>
#include <optional>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

} // namespace

struct TakeWriter::PrivateData {
    PrivateData(fs::path target, const std::string& program,
                std::shared_ptr<const kit::Codecs> codecs)
        : unfinished(std::move(target)), database(unfinished.path(), Database::Mode::Create),
          schema(database, program), transaction(database), chunks(database, std::move(codecs)),
          rows(database) {}

    struct NewSchema {
        NewSchema(Database& database, const std::string& program) {
            createSchema(database, program, Writing::AtOnce);
        }
    };

    std::int64_t save(Tracks& take);
    std::int64_t save(const std::shared_ptr<Track>& track);
    void saveMap(std::int64_t id, const Tracks& take);

    UnfinishedFile unfinished;
    Database database;
    NewSchema schema;
    Transaction transaction;
    ChunkWriter chunks;
    TrackRows rows;
    std::map<const Track*, TrackDescription> descriptions;
    // What is placed more than once is written once.
    std::map<const Track*, std::int64_t> tracks;
    std::map<const Tracks*, std::int64_t> takes;
};

std::int64_t TakeWriter::PrivateData::save(const std::shared_ptr<Track>& track) {
    const auto known = tracks.find(track.get());
    if (known != tracks.end()) {
        return known->second;
    }
    const int slots = track->frameCount();
    const std::int64_t id =
        rows.add(track->dataType(), std::int64_t{slots}, descriptions[track.get()]);
    for (int slot = 0; slot < slots; ++slot) {
        if (const auto frame = track->getFrame(slot)) {
            chunks.add(id, static_cast<std::uint32_t>(slot), *frame);
        }
    }
    return tracks[track.get()] = id;
}

void TakeWriter::PrivateData::saveMap(std::int64_t id, const Tracks& take) {
    Statement insert(database, "INSERT INTO index_map (take, key, value) VALUES (?1, ?2, ?3)");
    for (const auto& [key, value] : take.frameIndexMap()) {
        insert.bind(1, id).bind(2, key).bind(3, value).run();
    }
}

std::int64_t TakeWriter::PrivateData::save(Tracks& take) {
    const auto known = takes.find(&take);
    if (known != takes.end()) {
        return known->second;
    }
    Statement(database, "INSERT INTO take (name, fps, length, frame_count, current, work_begin, "
                        "work_end, version) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)")
        .bind(1, take.tracksName())
        .bind(2, take.fps())
        .bind(3, take.timeLength())
        .bind(4, take.frameCount())
        .bind(5, take.currentTime())
        .bind(6, take.workRangeBegin())
        .bind(7, take.workRangeEnd())
        .bind(8, take.tracksVersion())
        .run();
    const std::int64_t id = database.lastId();
    takes[&take] = id;
    saveMap(id, take);
    for (int i = 0; i < take.trackCount(); ++i) {
        const auto track = take.getTrack(i);
        place(database, placeTrack, id, i, save(track), take.trackOffset(track));
    }
    for (int i = 0; i < take.subTracksCount(); ++i) {
        const auto nested = take.subTracks(i);
        place(database, placeTake, id, i, save(*nested), take.subTracksOffset(nested));
    }
    return id;
}

TakeWriter::TakeWriter(fs::path file, const std::string& program,
                       std::shared_ptr<const kit::Codecs> codecs)
    : d_(std::make_unique<PrivateData>(std::move(file), program, std::move(codecs))) {}

TakeWriter::~TakeWriter() = default;

void TakeWriter::describe(const std::shared_ptr<Track>& track,
                          const TrackDescription& description) {
    d_->descriptions[track.get()] = description;
}

void TakeWriter::write(const std::shared_ptr<Tracks>& take) {
    assert(take != nullptr);
    setFact(d_->database, "take", std::to_string(d_->save(*take)));
}

void TakeWriter::write(Scene& scene) {
    if (const auto take = scene.tracks()) {
        write(take);
    }
    addScene(d_->database, d_->unfinished.target(), scene,
             [this](Tracks& take) { return d_->save(take); });
}

void TakeWriter::addNote(const Note& note) { store::addNote(d_->database, note); }

void TakeWriter::addLoss(const Loss& loss) { store::addLoss(d_->database, loss); }

void TakeWriter::commit() {
    d_->chunks.flush();
    setEnded(d_->database);
    d_->transaction.commit();
    d_->chunks.close();
    d_->database.close();
    d_->unfinished.putInPlace();
}

} // namespace tarn::store
