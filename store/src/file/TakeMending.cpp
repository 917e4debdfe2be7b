// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/TakeMending.h"

#include "rows/FrameRows.h"
#include "rows/TakeTree.h"
#include "rows/TrackRows.h"

#include <tarn/Settings.h>
#include <tarn_kit/files/Codec.h>

#include <cstdint>
#include <vector>

namespace tarn::store {

namespace {

std::vector<std::int64_t> idsIn(Database& database, const char* sql) {
    std::vector<std::int64_t> ids;
    Statement rows(database, sql);
    while (rows.step()) {
        ids.push_back(rows.integer(0));
    }
    return ids;
}

/// Empties what should be a settings document and is none.
void mendDocuments(Database& database, const char* select, const char* update) {
    std::vector<std::int64_t> broken;
    Statement rows(database, select);
    while (rows.step()) {
        Settings settings;
        const std::string document = rows.text(1);
        if (!document.empty() && !settings.loadSettingsFromString(document)) {
            broken.push_back(rows.integer(0));
        }
    }
    for (const std::int64_t row : broken) {
        Statement(database, update).bind(1, row).run();
    }
}

bool isTake(Database& database, std::int64_t take) {
    try {
        FrameRows frames(database, kit::Codecs::standard());
        TakeTree(database, frames).prove(take);
        return true;
    } catch (const StoreError& error) {
        if (error.problem() != StoreProblem::Damaged) {
            throw;
        }
        return false;
    }
}

/// Takes out the takes that are nested in one where it cannot be built with them, and then itself.
bool mendTake(Database& database, std::int64_t take) {
    if (isTake(database, take)) {
        return true;
    }
    Statement(database, "DELETE FROM nested WHERE take = ?1").bind(1, take).run();
    return isTake(database, take);
}

} // namespace

void mendTracks(Database& database) {
    for (const char* const sql :
         {"DELETE FROM track WHERE frames NOT BETWEEN 0 AND 4294967296 OR slots < 0 OR slots > "
          "2147483647",
          "UPDATE track SET rate_numerator = NULL, rate_denominator = NULL WHERE NOT "
          "coalesce(rate_numerator BETWEEN 1 AND 1000000000 AND rate_denominator BETWEEN 1 AND "
          "1000000000, 0) OR typeof(rate_numerator) <> 'integer' OR typeof(rate_denominator) <> "
          "'integer'",
          "UPDATE track SET lost = 0 WHERE NOT coalesce(lost BETWEEN 0 AND 4294967296, 0)",
          "DELETE FROM loss WHERE typeof(count) <> 'integer' OR count NOT BETWEEN 0 AND 4294967296",
          // What was counted, and is told nowhere any more.
          "INSERT INTO loss (track, first, last, count, reason) SELECT id, 0, 0, lost - known, "
          "'not known' FROM (SELECT id, lost, coalesce((SELECT sum(count) FROM loss WHERE "
          "loss.track = track.id), 0) AS known FROM track) WHERE lost > known",
          "UPDATE track SET lost = coalesce((SELECT sum(count) FROM loss WHERE loss.track = "
          "track.id), 0)"}) {
        database.run(sql);
    }
    for (const std::int64_t rig : idsIn(database, "SELECT DISTINCT rig FROM track WHERE rig IS NOT "
                                                  "NULL")) {
        if (!isRig(database, rig)) {
            Statement(database, "UPDATE track SET rig = NULL WHERE rig = ?1").bind(1, rig).run();
        }
    }
    // Whatever is no number of a rig.
    database.run("UPDATE track SET rig = NULL WHERE rig IS NOT NULL AND rig NOT IN (SELECT id FROM "
                 "rig)");
}

void mendTakes(Database& database) {
    for (const char* const sql :
         {"DELETE FROM placement WHERE take NOT IN (SELECT id FROM take) OR track NOT IN (SELECT "
          "id FROM track) OR typeof(frame_offset) <> 'integer' OR frame_offset NOT BETWEEN "
          "-2147483648 AND 2147483647",
          "DELETE FROM nested WHERE take NOT IN (SELECT id FROM take) OR child NOT IN (SELECT id "
          "FROM take) OR typeof(frame_offset) <> 'integer' OR frame_offset NOT BETWEEN -2147483648 "
          "AND 2147483647",
          "UPDATE track SET slots = 1 + (SELECT max(last) FROM chunk WHERE chunk.track = track.id) "
          "WHERE "
          "slots <= (SELECT max(last) FROM chunk WHERE chunk.track = track.id)",
          "UPDATE character SET take = NULL WHERE take NOT IN (SELECT id FROM take)"}) {
        database.run(sql);
    }
    mendDocuments(database, "SELECT 0, value FROM fact WHERE key = 'scene'",
                  "UPDATE fact SET value = '' WHERE key = 'scene' AND ?1 = 0");
    mendDocuments(database, "SELECT place, settings FROM character",
                  "UPDATE character SET settings = '' WHERE place = ?1");
    mendDocuments(database, "SELECT place, actor FROM character",
                  "UPDATE character SET actor = '' WHERE place = ?1");
    for (const std::int64_t take : idsIn(database, "SELECT id FROM take")) {
        if (!mendTake(database, take)) {
            Statement(database, "DELETE FROM placement WHERE take = ?1").bind(1, take).run();
        }
    }
    database.run("DELETE FROM fact WHERE key = 'take' AND CAST(value AS INTEGER) NOT IN (SELECT id "
                 "FROM take)");
}

} // namespace tarn::store
