// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/TakeMending.h"
#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/Schema.h"
#include "rows/ShortTimecode.h"
#include "rows/TrackRows.h"
#include "rows/UnfinishedFile.h"

#include <tarn_store/file/TakeCheck.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace tarn::store {

namespace {

/// Everything but the chunks, in an order in which it can be written. Of rows that no file can
/// have, without a key or with that of another, nothing can be kept.
constexpr std::array<std::pair<const char*, const char*>, 13> smallTables = {{
    {"SELECT key, value FROM fact WHERE typeof(key) = 'text'",
     "INSERT OR REPLACE INTO fact VALUES (?1, ?2)"},
    {"SELECT * FROM take",
     "INSERT OR IGNORE INTO take VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)"},
    {"SELECT * FROM nested", "INSERT OR IGNORE INTO nested VALUES (?1, ?2, ?3, ?4)"},
    {"SELECT * FROM placement", "INSERT OR IGNORE INTO placement VALUES (?1, ?2, ?3, ?4)"},
    {"SELECT * FROM index_map", "INSERT OR IGNORE INTO index_map VALUES (?1, ?2, ?3)"},
    {"SELECT * FROM track",
     "INSERT OR IGNORE INTO track VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)"},
    {"SELECT * FROM label", "INSERT OR IGNORE INTO label VALUES (?1, ?2, ?3, ?4, ?5, ?6)"},
    {"SELECT * FROM rig", "INSERT OR IGNORE INTO rig VALUES (?1, ?2, ?3)"},
    {"SELECT * FROM rig_node",
     "INSERT OR IGNORE INTO rig_node VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)"},
    {"SELECT * FROM codec", "INSERT OR IGNORE INTO codec VALUES (?1, ?2, ?3)"},
    {"SELECT * FROM loss", "INSERT OR IGNORE INTO loss VALUES (?1, ?2, ?3, ?4, ?5, ?6)"},
    {"SELECT * FROM note", "INSERT OR IGNORE INTO note VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)"},
    {"SELECT * FROM character",
     "INSERT OR IGNORE INTO character VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)"},
}};

/// As far as they can be read.
void copyRows(Database& from, Database& to, const char* select, const char* insert) {
    Statement writing(to, insert);
    try {
        Statement reading(from, select);
        while (reading.step()) {
            writing.bindRow(reading).run();
        }
    } catch (const StoreError& error) {
        if (error.file() == to.file()) {
            throw;
        }
    }
}

/// The ids of all chunks that some way of looking still finds.
std::set<std::int64_t> chunkIds(Database& database) {
    std::set<std::int64_t> ids;
    for (const char* const way :
         {"SELECT id FROM chunk NOT INDEXED ORDER BY id",
          "SELECT id FROM chunk NOT INDEXED ORDER BY id DESC",
          "SELECT id FROM chunk INDEXED BY chunk_place ORDER BY track, late, first",
          "SELECT id FROM chunk INDEXED BY chunk_place ORDER BY track DESC, late DESC, "
          "first DESC"}) {
        try {
            Statement rows(database, way);
            while (rows.step()) {
                ids.insert(rows.integer(0));
            }
        } catch (const StoreError&) { // as far as it goes
        }
    }
    return ids;
}

/// Copies what is undamaged of the chunks, and notes which slots those hold.
class ChunkRescue {
public:
    ChunkRescue(Database& from, Database& to, const kit::Codecs& codecs)
        : from_(&from), codecs_(&codecs),
          read_(from, "SELECT " TARN_CHUNK_COLUMNS ", chunk.first, chunk.last, chunk.codec FROM "
                      "chunk JOIN codec ON codec.id = chunk.codec WHERE chunk.id = ?1"),
          track_(to, "SELECT slots IS NULL FROM track WHERE id = ?1"),
          // Found by its number where the list of all of them breaks off.
          codec_(to, "INSERT OR REPLACE INTO codec (id, name, version) VALUES (?1, ?2, ?3)"),
          write_(to, "INSERT INTO chunk (id, track, late, data_type, crc, heads, data, first, "
                     "last, codec) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)") {}

    void rescue(std::int64_t id);
    struct Span {
        std::int64_t last;
        std::int64_t frames;
    };
    /// Per track, by the first slot of what is not late.
    const std::map<std::int64_t, std::map<std::int64_t, Span>>& spans() const { return spans_; }
    std::int64_t framesOfTrack(std::int64_t track) const {
        const auto found = frames_.find(track);
        return found == frames_.end() ? 0 : found->second;
    }

private:
    bool readChunk(std::int64_t id, ChunkRow& chunk);

    Database* from_;
    const kit::Codecs* codecs_;
    Statement read_;
    Statement track_;
    Statement codec_;
    Statement write_;
    std::map<std::int64_t, std::map<std::int64_t, Span>> spans_;
    std::map<std::int64_t, std::int64_t> frames_;
};

bool ChunkRescue::readChunk(std::int64_t id, ChunkRow& chunk) {
    try {
        read_.reset();
        read_.bind(1, id);
        if (!read_.step() || read_.isNull(4)) { // there is no codec of that number
            return false;
        }
        chunk = chunkIn(read_, from_->file());
        framesOf(chunk, *codecs_, from_->file());
    } catch (const StoreError&) {
        return false;
    }
    track_.reset();
    track_.bind(1, chunk.track);
    if (!track_.step()) {
        return false;
    }
    const bool isRecording = track_.integer(0) != 0;
    const bool isInTime =
        std::all_of(chunk.heads.begin(), chunk.heads.end(), [isRecording](const FrameHead& head) {
            return !isRecording || head.slot == head.index;
        });
    // A copy whose slots are another's would break their order.
    const auto& known = spans_[chunk.track];
    const std::int64_t first = chunk.heads.front().slot;
    const std::int64_t last = chunk.heads.back().slot;
    const bool isOrdered =
        std::is_sorted(chunk.heads.begin(), chunk.heads.end(),
                       [](const FrameHead& a, const FrameHead& b) { return a.slot <= b.slot; });
    const auto next = known.lower_bound(first);
    const bool overlaps =
        !chunk.late && ((next != known.end() && next->first <= last) ||
                        (next != known.begin() && std::prev(next)->second.last >= first));
    return isInTime && isOrdered && !overlaps;
}

void ChunkRescue::rescue(std::int64_t id) {
    ChunkRow chunk;
    if (!readChunk(id, chunk)) {
        return;
    }
    const std::int64_t first = chunk.heads.front().slot;
    const std::int64_t last = chunk.heads.back().slot;
    const auto frames = static_cast<std::int64_t>(chunk.heads.size());
    std::size_t headsSize = 0;
    std::size_t dataSize = 0;
    const std::byte* const heads = read_.blob(7, headsSize);
    const std::byte* const data = read_.blob(8, dataSize);
    codec_.bind(1, read_.integer(11))
        .bind(2, chunk.codec.name)
        .bind(3, std::int64_t{chunk.codec.version})
        .run();
    write_.bind(1, chunk.id)
        .bind(2, chunk.track)
        .bind(3, chunk.late ? 1 : 0)
        .bind(4, chunk.dataType)
        .bind(5, read_.integer(6))
        .bindBlob(6, heads, headsSize)
        .bindBlob(7, data, dataSize)
        .bind(8, first)
        .bind(9, last)
        .bind(10, read_.integer(11))
        .run();
    frames_[chunk.track] += frames;
    if (!chunk.late) {
        spans_[chunk.track][first] = {last, frames};
    }
}

std::string timecodesOf(const StoredTrack& track, std::int64_t first, std::int64_t last) {
    if (!track.description.rate) {
        return "";
    }
    const kit::Rate& rate = *track.description.rate;
    return shortTimecode(first, rate) + " to " + shortTimecode(last, rate);
}

/// What a track lacks: as many frames as were counted and are not there, first where chunks leave
/// slots between them.
void reportMissing(const StoredTrack& track, std::int64_t counted, const ChunkRescue& rescue,
                   std::vector<MissingFrames>& missing) {
    std::int64_t left = counted - rescue.framesOfTrack(track.id);
    const auto spans = rescue.spans().find(track.id);
    std::int64_t next = track.firstSlot;
    if (spans != rescue.spans().end() && left > 0) {
        for (const auto& [first, span] : spans->second) {
            if (first > next && left > 0) {
                const std::int64_t count = std::min(left, first - next);
                missing.push_back({track.description.subject, track.id, next, first - 1, count,
                                   timecodesOf(track, next, first - 1)});
                left -= count;
            }
            next = span.last + 1;
        }
    }
    if (left > 0) {
        missing.push_back({track.description.subject, track.id, next, next + left - 1, left,
                           timecodesOf(track, next, next + left - 1)});
    }
}

[[noreturn]] void failWithout(const std::filesystem::path& file,
                              const std::vector<MissingFrames>& missing) {
    std::int64_t count = 0;
    for (const MissingFrames& part : missing) {
        count += part.count;
    }
    if (count == 0) {
        throw StoreError(file, StoreProblem::Unsupported, "holds no frames to recover");
    }
    throw StoreError(file, StoreProblem::Damaged,
                     "none of its " + std::to_string(count) + " frames can be recovered");
}

} // namespace

TakeRecovery recoverTakeFile(const std::filesystem::path& file, const std::filesystem::path& out,
                             const std::shared_ptr<const kit::Codecs>& codecs) {
    Database from(file, Database::Mode::ReadDamaged);
    checkSchema(from);
    UnfinishedFile unfinished(out);
    Database to(unfinished.path(), Database::Mode::Create);
    createSchema(to, "", Writing::AtOnce);
    TakeRecovery recovery;
    {
        Transaction transaction(to);
        to.run("DELETE FROM fact"); // when this began is not when the recording did
        for (const auto& [select, insert] : smallTables) {
            copyRows(from, to, select, insert);
        }
        mendTracks(to);
        ChunkRescue rescue(from, to, *codecs);
        for (const std::int64_t id : chunkIds(from)) {
            rescue.rescue(id);
        }
        for (const StoredTrack& track : readTracks(to)) {
            const std::int64_t frames = rescue.framesOfTrack(track.id);
            reportMissing(track, track.frames, rescue, recovery.missing);
            recovery.frames += frames;
            Statement(to, "UPDATE track SET frames = ?2 WHERE id = ?1")
                .bind(1, track.id)
                .bind(2, frames)
                .run();
        }
        if (recovery.frames == 0) {
            failWithout(file, recovery.missing);
        }
        mendTakes(to);
        setFact(to, "recovered", utcNow());
        setEnded(to);
        transaction.commit();
    }
    to.close();
    unfinished.putInPlace();
    return recovery;
}

} // namespace tarn::store
