// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/Schema.h"

#include <tarn/Version.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>

namespace tarn::store {

namespace {

constexpr int applicationId = 0x5441524E; // "TARN"

struct Part {
    const char* name;
    const char* sql;
};

// docs/take-files.md says what each column means. A file has exactly these: what is changed here is
// a new format.
constexpr std::array<Part, 14> parts = {{
    {"fact", "CREATE TABLE fact (key TEXT PRIMARY KEY, value TEXT) WITHOUT ROWID"},
    {"take", "CREATE TABLE take (id INTEGER PRIMARY KEY, name TEXT, fps INTEGER, length INTEGER, "
             "frame_count INTEGER, current INTEGER, work_begin INTEGER, work_end INTEGER, "
             "version INTEGER)"},
    {"nested", "CREATE TABLE nested (take INTEGER, place INTEGER, child INTEGER, "
               "frame_offset INTEGER, PRIMARY KEY (take, place)) WITHOUT ROWID"},
    {"placement", "CREATE TABLE placement (take INTEGER, place INTEGER, track INTEGER, "
                  "frame_offset INTEGER, PRIMARY KEY (take, place)) WITHOUT ROWID"},
    {"index_map", "CREATE TABLE index_map (take INTEGER, key INTEGER, value INTEGER, "
                  "PRIMARY KEY (take, key)) WITHOUT ROWID"},
    {"track", "CREATE TABLE track (id INTEGER PRIMARY KEY, data_type INTEGER, slots INTEGER, "
              "frames INTEGER, lost INTEGER, subject TEXT, rate_numerator INTEGER, "
              "rate_denominator INTEGER, space TEXT, rig INTEGER, document TEXT)"},
    {"label", "CREATE TABLE label (track INTEGER, place INTEGER, subject TEXT, name TEXT, "
              "description TEXT, unit TEXT, PRIMARY KEY (track, place)) WITHOUT ROWID"},
    {"rig", "CREATE TABLE rig (id INTEGER PRIMARY KEY, space TEXT, standing TEXT)"},
    {"rig_node", "CREATE TABLE rig_node (rig INTEGER, place INTEGER, name TEXT, parent INTEGER, "
                 "is_end INTEGER, node_offset BLOB, channels BLOB, PRIMARY KEY (rig, place)) "
                 "WITHOUT ROWID"},
    {"codec", "CREATE TABLE codec (id INTEGER PRIMARY KEY, name TEXT, version INTEGER)"},
    {"chunk", "CREATE TABLE chunk (id INTEGER PRIMARY KEY, track INTEGER, late INTEGER, "
              "first INTEGER, last INTEGER, data_type INTEGER, codec INTEGER, crc INTEGER, "
              "heads BLOB, data BLOB)"},
    {"loss", "CREATE TABLE loss (id INTEGER PRIMARY KEY, track INTEGER, first INTEGER, "
             "last INTEGER, count INTEGER, reason TEXT)"},
    {"note", "CREATE TABLE note (id INTEGER PRIMARY KEY, kind TEXT, frame INTEGER, label TEXT, "
             "context TEXT, subject TEXT, text TEXT, utc TEXT)"},
    {"character", "CREATE TABLE character (place INTEGER PRIMARY KEY, id TEXT, name TEXT, "
                  "settings TEXT, actor TEXT, take INTEGER, selected INTEGER, "
                  "is_current INTEGER)"},
}};
constexpr Part chunkIndex = {"chunk_place",
                             "CREATE INDEX chunk_place ON chunk (track, late, first, last)"};

void checkParts(Database& database) {
    std::map<std::string, std::string> expected = {{chunkIndex.name, chunkIndex.sql}};
    for (const Part& part : parts) {
        expected[part.name] = part.sql;
    }
    Statement found(database, "SELECT name, sql FROM sqlite_schema");
    while (found.step()) {
        const auto part = expected.find(found.text(0));
        if (part == expected.end() || part->second != found.text(1)) {
            throw StoreError(database.file(), StoreProblem::Damaged,
                             "is damaged (it has other tables than take files have)");
        }
        expected.erase(part);
    }
    if (!expected.empty()) {
        throw StoreError(database.file(), StoreProblem::Damaged,
                         "is damaged (it has no table " + expected.begin()->first + ")");
    }
}

} // namespace

std::string utcNow() {
    const auto now = std::chrono::system_clock::now();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm utc = {};
    ::gmtime_r(&seconds, &utc);
    std::array<char, 40> day = {};
    std::strftime(day.data(), day.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 48> text = {};
    std::snprintf(text.data(), text.size(), "%s.%03dZ", day.data(),
                  static_cast<int>(milliseconds % 1000));
    return text.data();
}

void setFact(Database& database, std::string_view key, std::string_view value) {
    Statement(database, "INSERT OR REPLACE INTO fact (key, value) VALUES (?1, ?2)")
        .bind(1, key)
        .bind(2, value)
        .run();
}

void createSchema(Database& database, const std::string& program, Writing writing) {
    database.run(("PRAGMA page_size=" + std::to_string(pageSize)).c_str());
    if (writing == Writing::Live) {
        database.run("PRAGMA secure_delete=OFF"); // rows that others replace hold no secrets
        database.run("PRAGMA journal_mode=WAL");
        database.run("PRAGMA synchronous=FULL"); // a power cut costs no more than a kill
    } else {
        database.run("PRAGMA journal_mode=OFF");
        database.run("PRAGMA synchronous=OFF");
    }
    Transaction transaction(database);
    database.run(("PRAGMA application_id=" + std::to_string(applicationId)).c_str());
    database.run(("PRAGMA user_version=" + std::to_string(schemaFormat)).c_str());
    for (const Part& part : parts) {
        database.run(part.sql);
    }
    database.run(chunkIndex.sql);
    setFact(database, "program", program);
    setFact(database, "version", version());
    setFact(database, "started", utcNow());
    setFact(database, "started_clock",
            std::to_string(std::chrono::steady_clock::now().time_since_epoch() /
                           std::chrono::nanoseconds(1)));
    setFact(database, "state", "open");
    transaction.commit();
}

void checkSchema(Database& database) {
    if (database.number("PRAGMA application_id") != applicationId) {
        if (database.number("SELECT count(*) FROM sqlite_schema") == 0) {
            throw StoreError(database.file(), StoreProblem::Foreign,
                             "is empty; of a recording that was broken off, the file beside it "
                             "that ends in -wal is missing");
        }
        throw StoreError(database.file(), StoreProblem::Foreign, "is no take file");
    }
    const auto format = database.number("PRAGMA user_version").value_or(0);
    if (format > schemaFormat) {
        throw StoreError(database.file(), StoreProblem::TooNew,
                         "is of format " + std::to_string(format) + ", later than " +
                             std::to_string(schemaFormat) + ", the latest that is known here");
    }
    checkParts(database);
}

TakeFileFacts factsOf(Database& database) {
    std::map<std::string, std::string> values;
    Statement rows(database, "SELECT key, value FROM fact LIMIT 1000");
    while (rows.step()) {
        values[rows.text(0)] = rows.text(1);
    }
    TakeFileFacts facts;
    facts.format = static_cast<int>(database.number("PRAGMA user_version").value_or(0));
    facts.program = values["program"];
    facts.version = values["version"];
    facts.startedUtc = values["started"];
    facts.startedClock = std::strtoll(values["started_clock"].c_str(), nullptr, 10);
    facts.endedUtc = values["ended"];
    facts.ended = values["state"] == "ended";
    return facts;
}

void setEnded(Database& database) {
    setFact(database, "ended", utcNow());
    setFact(database, "state", "ended");
}

} // namespace tarn::store
