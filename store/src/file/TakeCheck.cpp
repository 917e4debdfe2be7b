// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeCheck.h>

#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/Schema.h"
#include "rows/ShortTimecode.h"
#include "rows/TakeTree.h"
#include "rows/TrackRows.h"

#include <tarn/Settings.h>
#include <tarn_kit/files/Text.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace tarn::store {

namespace {

/// ", 00:00:04:32"; nothing where the rate is not known.
std::string timecodeOf(std::int64_t frame, const std::vector<StoredTrack>& tracks) {
    if (tracks.empty() || !tracks.front().description.rate || frame < 0) {
        return "";
    }
    return ", " + shortTimecode(frame, *tracks.front().description.rate);
}

/// Nothing, or what contradicts itself in a track.
std::string flawOf(Database& database, const StoredTrack& track, const kit::Codecs& codecs) {
    Statement rows(database, "SELECT " TARN_CHUNK_COLUMNS ", chunk.first, chunk.last FROM chunk "
                             "LEFT JOIN codec ON codec.id = chunk.codec WHERE track = ?1 "
                             "ORDER BY late, first");
    rows.bind(1, track.id);
    Statement length(database, "SELECT slots FROM track WHERE id = ?1");
    length.bind(1, track.id);
    const auto slots = length.step() ? length.maybeInteger(0) : std::nullopt;
    std::int64_t count = 0;
    std::int64_t last = -1;
    while (rows.step()) {
        if (rows.isNull(4)) {
            return "a codec is missing";
        }
        const ChunkRow chunk = chunkIn(rows, database.file());
        framesOf(chunk, codecs, database.file());
        std::int64_t previous = chunk.late ? -1 : last;
        for (const FrameHead& head : chunk.heads) {
            if (head.slot <= previous) {
                return "frames stand out of order in chunk " + std::to_string(chunk.id);
            }
            if (!slots && head.index != head.slot) {
                return "a frame in slot " + std::to_string(head.slot) + " has the time of frame " +
                       std::to_string(head.index);
            }
            if (slots && head.slot >= *slots) {
                return "track " + std::to_string(track.id) + " has frames behind its end";
            }
            previous = head.slot;
        }
        if (rows.integer(9) != chunk.heads.front().slot || rows.integer(10) != previous) {
            return "chunk " + std::to_string(chunk.id) + " has other slots than it says";
        }
        last = chunk.late ? last : previous;
        count += static_cast<std::int64_t>(chunk.heads.size());
    }
    if (count != track.frames) {
        return "track " + std::to_string(track.id) + " has " + std::to_string(count) +
               " frames of " + std::to_string(track.frames);
    }
    return "";
}

/// Rows that say something of what is not there.
std::string flawOfLinks(Database& database) {
    struct Link {
        const char* sql;
        const char* flaw;
    };
    constexpr std::array<Link, 4> links = {{
        {"SELECT 1 FROM chunk WHERE track NOT IN (SELECT id FROM track) LIMIT 1",
         "frames of no track"},
        {"SELECT 1 FROM placement WHERE take NOT IN (SELECT id FROM take) LIMIT 1",
         "a track in no take"},
        {"SELECT 1 FROM nested WHERE take NOT IN (SELECT id FROM take) LIMIT 1",
         "a take in no take"},
        {"SELECT 1 FROM track WHERE lost <> (SELECT total(count) FROM loss WHERE "
         "loss.track = track.id) LIMIT 1",
         "losses that were counted otherwise"},
    }};
    for (const Link& link : links) {
        if (database.number(link.sql)) {
            return link.flaw;
        }
    }
    return "";
}

/// The documents of a scene and its characters.
std::string flawOfScene(Database& database, TakeTree& tree) {
    Statement documents(database, "SELECT value FROM fact WHERE key = 'scene' UNION ALL SELECT "
                                  "settings FROM character UNION ALL SELECT actor FROM character");
    while (documents.step()) {
        const std::string document = documents.text(0);
        Settings settings;
        if (!document.empty() && !settings.loadSettingsFromString(document)) {
            return "a settings document cannot be read";
        }
    }
    Statement takes(database, "SELECT take FROM character WHERE take IS NOT NULL");
    while (takes.step()) {
        tree.prove(takes.integer(0));
    }
    return "";
}

TakeVerdict damaged(const std::string& why) { return {false, "damaged: " + kit::printable(why)}; }

TakeVerdict verdictOf(Database& database, const std::shared_ptr<const kit::Codecs>& codecs) {
    const std::string own = database.text("PRAGMA integrity_check(1)");
    if (own != "ok") {
        return damaged(own);
    }
    const auto tracks = readTracks(database);
    std::int64_t frames = 0;
    std::int64_t lost = 0;
    for (const StoredTrack& track : tracks) {
        const std::string flaw = flawOf(database, track, *codecs);
        if (!flaw.empty()) {
            return damaged(flaw);
        }
        frames += track.frames;
        lost += track.lost;
    }
    FrameRows rows(database, codecs);
    TakeTree tree(database, rows);
    const auto root =
        kit::numberIn<std::int64_t>(database.text("SELECT value FROM fact WHERE key = 'take'"));
    if (root) {
        tree.prove(*root);
    }
    for (const std::string& flaw : {flawOfLinks(database), flawOfScene(database, tree)}) {
        if (!flaw.empty()) {
            return damaged(flaw);
        }
    }
    const std::int64_t last = root ? tree.lengthOf(*root) - 1 : -1;
    if (!factsOf(database).ended) {
        return {false, last < 0 ? "broken off before the first frame"
                                : "broken off at frame " + std::to_string(last) +
                                      timecodeOf(last, tracks)};
    }
    std::string line = "whole: " + kit::counted(tracks.size(), "track") + ", " +
                       kit::counted(static_cast<std::size_t>(frames), "frame");
    if (lost > 0) {
        line += ", " + std::to_string(lost) + " lost while it was recorded";
    }
    return {true, line};
}

} // namespace

TakeVerdict checkTakeFile(const std::filesystem::path& file,
                          const std::shared_ptr<const kit::Codecs>& codecs) {
    try {
        Database database(file, Database::Mode::Read);
        checkSchema(database);
        return verdictOf(database, codecs);
    } catch (const StoreError& error) {
        if (error.problem() == StoreProblem::Damaged) {
            return damaged(error.reason());
        }
        throw;
    }
}

} // namespace tarn::store
