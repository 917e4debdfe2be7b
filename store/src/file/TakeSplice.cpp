// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeSplice.h>

#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/FrameRows.h"
#include "rows/Schema.h"
#include "rows/TakeTree.h"
#include "rows/TrackRows.h"
#include "rows/UnfinishedFile.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cassert>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

/// A file that stretches are taken from.
class Source {
public:
    explicit Source(const fs::path& file)
        : database(file, Database::Mode::Read), schema(database),
          frames(database, kit::Codecs::standard()), tree(database, frames) {
        for (StoredTrack& track : readTracks(database)) {
            tracks[track.id] = std::move(track);
        }
    }

    std::int64_t rootTake() {
        const auto take =
            kit::numberIn<std::int64_t>(database.text("SELECT value FROM fact WHERE key = 'take'"));
        if (!take) {
            throw StoreError(database.file(), StoreProblem::Unsupported, "has no take");
        }
        return *take;
    }

    struct KnownSchema {
        explicit KnownSchema(Database& database) { checkSchema(database); }
    };

    Database database;
    KnownSchema schema;
    FrameRows frames;
    TakeTree tree;
    std::map<std::int64_t, StoredTrack> tracks;
};

/// A file into which stretches go, one after the other.
class Splice {
public:
    explicit Splice(const fs::path& out)
        : unfinished_(out), database_(unfinished_.path(), Database::Mode::Create),
          schema_(database_), transaction_(database_), chunks_(database_, kit::Codecs::standard()),
          rows_(database_) {}

    /// Appends frame indexes `first` to `last` of the take that a source is about.
    void append(Source& source, std::int64_t first, std::int64_t last);
    void addNotes(Source& source, std::int64_t first, std::int64_t last, std::int64_t at);
    std::int64_t length() const { return parts_.empty() ? 0 : parts_.front().length; }
    void commit();

private:
    struct NewSchema {
        explicit NewSchema(Database& database) {
            createSchema(database, "tarn_store", Writing::AtOnce);
        }
    };
    struct PartTrack {
        std::int64_t id;
        std::int64_t lastIndex = -1; ///< of the times so far
    };
    /// A take of the new file.
    struct Part {
        std::int64_t take = 0;
        std::int64_t length = 0;
        std::vector<PartTrack> tracks;
    };

    void appendTake(Source& source, const TakeStretch& stretch, std::size_t& at,
                    std::optional<std::pair<std::int64_t, std::int64_t>> parent);
    Part& partFor(Source& source, const TakeStretch& stretch, std::size_t at,
                  std::optional<std::pair<std::int64_t, std::int64_t>> parent);
    void appendTrack(Source& source, PartTrack& track, std::int64_t id, std::int64_t firstSlot,
                     std::int64_t count, std::int64_t at);

    UnfinishedFile unfinished_;
    Database database_;
    NewSchema schema_;
    Transaction transaction_;
    ChunkWriter chunks_;
    TrackRows rows_;
    std::vector<Part> parts_; ///< in the order in which takes are visited
    bool isFirst_ = true;
};

/// Where a take of the new file is: made for the first source, looked up for others.
Splice::Part& Splice::partFor(Source& source, const TakeStretch& stretch, std::size_t at,
                              std::optional<std::pair<std::int64_t, std::int64_t>> parent) {
    if (isFirst_) {
        Statement(database_, "INSERT INTO take (name, fps, length, frame_count, current, "
                             "work_begin, work_end, version) VALUES (?1, ?2, 0, 0, 0, 0, 0, 0)")
            .bind(1, stretch.name)
            .bind(2, stretch.fps)
            .run();
        Part part;
        part.take = database_.lastId();
        if (parent) {
            place(database_, placeTake, parent->first, parent->second, part.take, 0);
        } else {
            setFact(database_, "take", std::to_string(part.take));
        }
        std::int64_t number = 0;
        for (const auto& [id, firstSlot] : stretch.tracks) {
            const StoredTrack& track = source.tracks[id];
            const std::int64_t copy = rows_.add(track.dataType, 0, track.description);
            place(database_, placeTrack, part.take, number++, copy, 0);
            part.tracks.push_back({copy});
        }
        parts_.push_back(std::move(part));
    }
    const auto fail = [&source] {
        throw StoreError(source.database.file(), StoreProblem::Unsupported,
                         "has other tracks than the first file, or other rates");
    };
    if (at >= parts_.size() || parts_[at].tracks.size() != stretch.tracks.size()) {
        fail();
    }
    Part& part = parts_[at];
    for (std::size_t i = 0; i < part.tracks.size() && !isFirst_; ++i) {
        const StoredTrack& track = source.tracks[stretch.tracks[i].first];
        Statement row(database_, "SELECT data_type, rate_numerator, rate_denominator FROM track "
                                 "WHERE id = ?1");
        row.bind(1, part.tracks[i].id);
        const bool isThere = row.step();
        std::optional<kit::Rate> rate;
        if (isThere && !row.isNull(1)) {
            rate = kit::Rate(row.integer(1), row.integer(2));
        }
        if (!isThere || row.integer(0) != track.dataType || rate != track.description.rate) {
            fail();
        }
    }
    return part;
}

void Splice::appendTrack(Source& source, PartTrack& track, std::int64_t id, std::int64_t firstSlot,
                         std::int64_t count, std::int64_t at) {
    constexpr std::int64_t window = 4096; // slots that are read at once
    const StoredTrack& from = source.tracks[id];
    const std::int64_t end = std::min(firstSlot + count - 1, from.lastSlot);
    std::optional<std::int64_t> shift; // of the times
    for (std::int64_t begin = std::max(firstSlot, from.firstSlot); begin <= end; begin += window) {
        const std::int64_t last = std::min(begin + window - 1, end);
        for (const EncodedFrame& frame : source.frames.encoded(id, begin, last)) {
            if (!shift) {
                const bool goesBack = frame.head.index <= track.lastIndex;
                shift = goesBack ? track.lastIndex + 1 - frame.head.index : 0;
            }
            const std::int64_t index = frame.head.index + *shift;
            track.lastIndex = std::max(track.lastIndex, index);
            chunks_.add(track.id, static_cast<std::uint32_t>(frame.head.slot - firstSlot + at),
                        Time(static_cast<unsigned>(index), frame.head.rate), frame.dataType,
                        frame.codec, frame.bytes.data(), frame.bytes.size());
        }
    }
}

void Splice::appendTake(Source& source, const TakeStretch& stretch, std::size_t& at,
                        std::optional<std::pair<std::int64_t, std::int64_t>> parent) {
    const std::size_t here = at++;
    {
        Part& part = partFor(source, stretch, here, parent);
        for (std::size_t i = 0; i < part.tracks.size(); ++i) {
            appendTrack(source, part.tracks[i], stretch.tracks[i].first, stretch.tracks[i].second,
                        stretch.count, part.length);
        }
        part.length += stretch.count;
    }
    std::int64_t number = 0;
    for (const TakeStretch& child : stretch.children) {
        appendTake(source, child, at, std::pair(parts_[here].take, number++));
    }
}

void Splice::append(Source& source, std::int64_t first, std::int64_t last) {
    const TakeStretch stretch = source.tree.stretch(source.rootTake(), first, last);
    const std::int64_t before = length();
    std::size_t at = 0;
    appendTake(source, stretch, at, std::nullopt);
    isFirst_ = false;
    addNotes(source, first, last, before);
}

void Splice::addNotes(Source& source, std::int64_t first, std::int64_t last, std::int64_t at) {
    for (Note note : readNotes(source.database)) {
        if (note.frame && (*note.frame < first || *note.frame > last)) {
            continue;
        }
        if (note.frame) {
            note.frame = *note.frame - first + at;
        }
        store::addNote(database_, note);
    }
}

void Splice::commit() {
    chunks_.flush();
    for (const Part& part : parts_) {
        Statement(database_, "UPDATE take SET length = ?2, frame_count = ?2, work_end = ?2 - 1 "
                             "WHERE id = ?1")
            .bind(1, part.take)
            .bind(2, part.length)
            .run();
        for (const PartTrack& track : part.tracks) {
            Statement(database_, "UPDATE track SET slots = ?2 WHERE id = ?1")
                .bind(1, track.id)
                .bind(2, part.length)
                .run();
        }
    }
    setEnded(database_);
    transaction_.commit();
    chunks_.close();
    database_.close();
    unfinished_.putInPlace();
}

} // namespace

void cutTakeFile(const fs::path& file, int first, int last, const fs::path& out) {
    Source source(file);
    const std::int64_t length = source.tree.lengthOf(source.rootTake());
    if (first < 0 || first > last || last >= length) {
        throw StoreError(file, StoreProblem::Unsupported,
                         "has the frames 0 to " + std::to_string(length - 1) + ", not " +
                             std::to_string(first) + " to " + std::to_string(last));
    }
    Splice splice(out);
    splice.append(source, first, last);
    splice.commit();
}

void joinTakeFiles(const std::vector<fs::path>& files, const fs::path& out) {
    assert(!files.empty());
    Splice splice(out);
    for (const fs::path& file : files) {
        Source source(file);
        const std::int64_t length = source.tree.lengthOf(source.rootTake());
        splice.append(source, 0, length - 1);
        if (splice.length() > std::numeric_limits<int>::max()) {
            throw StoreError(out, StoreProblem::Unsupported, "would be too long");
        }
    }
    splice.commit();
}

void noteInTakeFile(const fs::path& file, const std::string& text) {
    Database database(file, Database::Mode::Edit);
    checkSchema(database);
    Transaction transaction(database);
    Note note;
    note.text = text;
    addNote(database, note);
    transaction.commit();
}

} // namespace tarn::store
