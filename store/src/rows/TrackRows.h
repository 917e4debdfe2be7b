// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Database.h"

#include <tarn_store/file/TakeDescription.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace tarn::store {

/// Writes tracks without their frames; a rig that several of them share is written once.
class TrackRows {
public:
    explicit TrackRows(Database& database) : database_(&database) {}

    /// Returns the track's id. `slots` is how many it has; nothing for as many as its frames take.
    std::int64_t add(int dataType, std::optional<std::int64_t> slots,
                     const TrackDescription& description);

private:
    std::int64_t idOf(const std::shared_ptr<const kit::Rig>& rig);

    Database* database_;
    std::map<std::shared_ptr<const kit::Rig>, std::int64_t> rigs_;
};

/// Whether a rig is there and a body.
bool isRig(Database& database, std::int64_t rig);

/// All tracks of a file, in the order of their ids.
std::vector<StoredTrack> readTracks(Database& database);

/// The places of takes and tracks in a take, their offsets included.
void place(Database& database, const char* sql, std::int64_t take, std::int64_t at,
           std::int64_t what, std::int64_t offset);
inline constexpr const char* placeTrack =
    "INSERT INTO placement (take, place, track, frame_offset) VALUES (?1, ?2, ?3, ?4)";
inline constexpr const char* placeTake =
    "INSERT INTO nested (take, place, child, frame_offset) VALUES (?1, ?2, ?3, ?4)";

void addNote(Database& database, const Note& note);
std::vector<Note> readNotes(Database& database);
void addLoss(Database& database, const Loss& loss);
std::vector<Loss> readLosses(Database& database);

} // namespace tarn::store
