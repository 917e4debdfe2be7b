// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/SpliceSource.h"

#include "file/MarkerDocument.h"
#include "rows/Schema.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>

#include <set>
#include <string>
#include <utility>

namespace tarn::store {

namespace {

/// Nothing is read of a file before its schema is known.
Database& known(Database& database) {
    checkSchema(database);
    return database;
}

} // namespace

SpliceSource::SpliceSource(const std::filesystem::path& file)
    : database(file, Database::Mode::Read), frames(known(database), kit::Codecs::standard()),
      tree(database, frames) {
    for (StoredTrack& track : readTracks(database)) {
        tracks[track.id] = std::move(track);
    }
    losses = readLosses(database);
}

std::int64_t SpliceSource::rootTake() {
    const auto take =
        kit::numberIn<std::int64_t>(database.text("SELECT value FROM fact WHERE key = 'take'"));
    if (!take) {
        throw StoreError(database.file(), StoreProblem::Unsupported, "has no take");
    }
    return *take;
}

double SpliceSource::exactRate() {
    const TakeStretch stretch = tree.stretch(rootTake(), 0, 0);
    for (const auto& [id, firstSlot] : stretch.tracks) {
        const auto& rate = tracks[id].description.rate;
        if (rate && rate->fps() == stretch.fps) {
            return rate->value();
        }
    }
    return stretch.fps;
}

void SpliceSource::nameEvent(Note& note) const {
    kit::C3dEvent event;
    auto time = eventTimeIn(note.text);
    if (!isEvent(note.kind, event) || !time || !time->subject.empty()) {
        return;
    }
    std::set<std::string> subjects;
    for (const auto& [id, track] : tracks) {
        if (track.dataType == kit::markerDataType) {
            subjects.insert(track.description.subject);
        }
    }
    if (subjects.size() == 1) {
        time->subject = *subjects.begin();
        note.text = textOf(*time);
    }
}

} // namespace tarn::store
