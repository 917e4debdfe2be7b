// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeSplice.h>

#include "file/MarkerDocument.h"
#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/FrameRows.h"
#include "rows/SceneRows.h"
#include "rows/Schema.h"
#include "rows/TakeTree.h"
#include "rows/TrackRows.h"
#include "rows/UnfinishedFile.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
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
        losses = readLosses(database);
    }

    std::int64_t rootTake() {
        const auto take =
            kit::numberIn<std::int64_t>(database.text("SELECT value FROM fact WHERE key = 'take'"));
        if (!take) {
            throw StoreError(database.file(), StoreProblem::Unsupported, "has no take");
        }
        return *take;
    }

    /// Says of an event whose it is, if that goes without saying in this file.
    void nameEvent(Note& note) const {
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

    struct KnownSchema {
        explicit KnownSchema(Database& database) { checkSchema(database); }
    };

    Database database;
    KnownSchema schema;
    FrameRows frames;
    TakeTree tree;
    std::map<std::int64_t, StoredTrack> tracks;
    std::vector<Loss> losses;
};

bool isSame(const Label& a, const Label& b) {
    return a.subject == b.subject && a.name == b.name && a.unit == b.unit;
}

bool isSame(const kit::RigNode& a, const kit::RigNode& b) {
    return a.name == b.name && a.parent == b.parent && a.isEndSite() == b.isEndSite() &&
           a.channels == b.channels && a.offset.x == b.offset.x && a.offset.y == b.offset.y &&
           a.offset.z == b.offset.z;
}

template <class List>
bool areSame(const List& a, const List& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const auto& one, const auto& other) { return isSame(one, other); });
}

/// Whether frames of both mean the same.
bool isSame(const StoredTrack& a, const StoredTrack& b) {
    const auto& rig = a.description.rig;
    const auto& other = b.description.rig;
    return a.dataType == b.dataType && a.description.rate == b.description.rate &&
           areSame(a.description.labels, b.description.labels) &&
           (rig == nullptr || other == nullptr ? rig == other
                                               : areSame(rig->nodes(), other->nodes()));
}

/// A file into which stretches go, one after the other.
class Splice {
public:
    explicit Splice(const fs::path& out)
        : unfinished_(out), database_(unfinished_.path(), Database::Mode::Create),
          schema_(database_), transaction_(database_), chunks_(database_, kit::Codecs::standard()),
          rows_(database_) {}

    /// Appends frame indexes `first` to `last` of the take that a source is about.
    void append(Source& source, std::int64_t first, std::int64_t last);
    /// Makes a take for others to be beside one another in.
    void makeStage(const std::string& name, int fps);
    /// Puts the take that a source is about into it, to begin at a frame index.
    void addBeside(Source& source, std::int64_t begin);
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
        StoredTrack model;           ///< that of the first file
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
    void addLosses(const Source& source, std::int64_t track, const Loss& span, std::int64_t shift);
    void addFacts(Source& source);

    UnfinishedFile unfinished_;
    Database database_;
    NewSchema schema_;
    Transaction transaction_;
    ChunkWriter chunks_;
    TrackRows rows_;
    std::vector<Part> parts_; ///< in the order in which takes are visited
    bool isFirst_ = true;
    std::string ended_;      ///< when the last file was
    std::int64_t stage_ = 0; ///< 0: there is none
    std::int64_t stageLength_ = 0;
    std::int64_t besides_ = 0; ///< takes in it
    std::int64_t besideBegin_ = 0;
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
            const bool isBeside = parent->first == stage_;
            place(database_, placeTake, parent->first, parent->second, part.take,
                  isBeside ? -besideBegin_ : 0); // a nested take is ahead by its offset
        } else {
            setFact(database_, "take", std::to_string(part.take));
        }
        std::int64_t number = 0;
        for (const auto& [id, firstSlot] : stretch.tracks) {
            const StoredTrack& track = source.tracks[id];
            const std::int64_t copy = rows_.add(track.dataType, 0, track.description);
            place(database_, placeTrack, part.take, number++, copy, 0);
            part.tracks.push_back({copy, track});
        }
        parts_.push_back(std::move(part));
    }
    const auto fail = [&source] {
        throw StoreError(source.database.file(), StoreProblem::Unsupported,
                         "has other tracks than the first file, other rates, or another body");
    };
    if (at >= parts_.size() || parts_[at].tracks.size() != stretch.tracks.size()) {
        fail();
    }
    Part& part = parts_[at];
    for (std::size_t i = 0; i < part.tracks.size(); ++i) {
        if (!isSame(part.tracks[i].model, source.tracks[stretch.tracks[i].first])) {
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
    std::int64_t ahead = 0;            // of the times, of their slots
    for (std::int64_t begin = std::max(firstSlot, from.firstSlot); begin <= end; begin += window) {
        const std::int64_t last = std::min(begin + window - 1, end);
        for (const EncodedFrame& frame : source.frames.encoded(id, begin, last)) {
            if (!shift) {
                const bool goesBack = frame.head.index <= track.lastIndex;
                shift = goesBack ? track.lastIndex + 1 - frame.head.index : 0;
                ahead = std::int64_t{frame.head.index} - frame.head.slot;
            }
            const std::int64_t index = frame.head.index + *shift;
            const std::int64_t slot = frame.head.slot - firstSlot + at;
            if (index > std::numeric_limits<std::uint32_t>::max() ||
                slot > std::numeric_limits<int>::max()) {
                throw StoreError(unfinished_.target(), StoreProblem::Unsupported,
                                 "would be too long");
            }
            track.lastIndex = std::max(track.lastIndex, index);
            chunks_.add(track.id, static_cast<std::uint32_t>(slot),
                        Time(static_cast<unsigned>(index), frame.head.rate), frame.dataType,
                        frame.codec, frame.bytes.data(), frame.bytes.size());
        }
    }
    const std::int64_t first = firstSlot + ahead;
    addLosses(source, id, {track.id, first, first + count - 1, 0, ""}, shift.value_or(0));
}

/// Those of a track that are within the frame indexes of `span`; of one that is so in part, at most
/// as many as there are.
void Splice::addLosses(const Source& source, std::int64_t track, const Loss& span,
                       std::int64_t shift) {
    for (Loss loss : source.losses) {
        if (loss.track != track || loss.last < span.first || loss.first > span.last) {
            continue;
        }
        loss.track = span.track;
        loss.first = std::max(loss.first, span.first);
        loss.last = std::min(loss.last, span.last);
        loss.count = std::min(loss.count, loss.last - loss.first + 1);
        if (loss.count <= 0) { // it contradicts itself
            continue;
        }
        loss.first += shift;
        loss.last += shift;
        store::addLoss(database_, loss);
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
    const std::int64_t base = source.tree.baseOf(source.rootTake());
    addNotes(source, base + first, base + last, before);
    addFacts(source);
    isFirst_ = false;
}

/// Who recorded it and when it began is that of the first file, when it ended that of the last.
/// Characters are those of the first, and of all that are put beside it.
void Splice::addFacts(Source& source) {
    const TakeFileFacts facts = factsOf(source.database);
    if (isFirst_) {
        setFact(database_, "program", facts.program);
        setFact(database_, "version", facts.version);
        setFact(database_, "started", facts.startedUtc);
        setFact(database_, "started_clock", std::to_string(facts.startedClock));
        copySceneFacts(source.database, database_);
    }
    if (isFirst_ || stage_ != 0) {
        copyCharacters(source.database, database_);
    }
    ended_ = facts.endedUtc;
}

void Splice::makeStage(const std::string& name, int fps) {
    Statement(database_, "INSERT INTO take (name, fps, length, frame_count, current, "
                         "work_begin, work_end, version) VALUES (?1, ?2, 0, 0, 0, 0, 0, 0)")
        .bind(1, name)
        .bind(2, fps)
        .run();
    stage_ = database_.lastId();
    setFact(database_, "take", std::to_string(stage_));
}

void Splice::addBeside(Source& source, std::int64_t begin) {
    const std::int64_t count = source.tree.lengthOf(source.rootTake());
    const TakeStretch stretch = source.tree.stretch(source.rootTake(), 0, count - 1);
    std::size_t at = parts_.size();
    isFirst_ = true;
    besideBegin_ = begin;
    appendTake(source, stretch, at, std::pair(stage_, besides_++));
    stageLength_ = std::max(stageLength_, begin + count);
    const std::int64_t base = source.tree.baseOf(source.rootTake());
    addNotes(source, base, base + count - 1, begin);
    isFirst_ = besides_ == 1;
    addFacts(source);
}

void Splice::addNotes(Source& source, std::int64_t first, std::int64_t last, std::int64_t at) {
    for (Note note : readNotes(source.database)) {
        if (note.frame && (*note.frame < first || *note.frame > last)) {
            continue;
        }
        if (stage_ != 0) {
            source.nameEvent(note);
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
    if (stage_ != 0) {
        Statement(database_, "UPDATE take SET length = ?2, frame_count = ?2, work_end = ?2 - 1 "
                             "WHERE id = ?1")
            .bind(1, stage_)
            .bind(2, stageLength_)
            .run();
    }
    setEnded(database_);
    if (!ended_.empty()) {
        setFact(database_, "ended", ended_);
    }
    transaction_.commit();
    chunks_.close();
    database_.close();
    unfinished_.putInPlace();
}

constexpr const char* clockKind = "clock";

/// When frame index 0 of a file was captured, and by which clock.
struct Anchor {
    std::string clock;
    double instant = 0; ///< in nanoseconds: exact enough to find a frame by
};

std::optional<Anchor> anchorOf(Source& source, int fps) {
    const std::int64_t base = source.tree.baseOf(source.rootTake());
    for (const Note& note : readNotes(source.database)) {
        const auto instant = kit::numberIn<std::int64_t>(note.label);
        if (note.kind == clockKind && note.frame && instant && !note.context.empty()) {
            const double since =
                (static_cast<double>(*note.frame) - static_cast<double>(base)) * 1e9 / fps;
            return Anchor{note.context, static_cast<double>(*instant) - since};
        }
    }
    return std::nullopt;
}

int rateOf(Source& source) { return source.tree.stretch(source.rootTake(), 0, 0).fps; }

/// At which frame index each of the files begins on their one timeline; nothing if they have none.
std::vector<std::int64_t> beginsOf(const std::vector<fs::path>& files) {
    std::vector<Anchor> anchors;
    int fps = 0;
    for (const fs::path& file : files) {
        Source source(file);
        const int rate = rateOf(source);
        const auto anchor = rate > 0 ? anchorOf(source, rate) : std::nullopt;
        if (!anchor || (!anchors.empty() && anchor->clock != anchors.front().clock)) {
            return {};
        }
        if (!anchors.empty() && rate != fps) {
            throw StoreError(file, StoreProblem::Unsupported,
                             "has " + std::to_string(rate) + " frames per second, not " +
                                 std::to_string(fps) + " as the first file");
        }
        fps = rate;
        anchors.push_back(*anchor);
    }
    double earliest = std::numeric_limits<double>::infinity();
    for (const Anchor& anchor : anchors) {
        earliest = std::min(earliest, anchor.instant);
    }
    std::vector<std::int64_t> begins;
    for (std::size_t i = 0; i < anchors.size(); ++i) {
        const double frames = (anchors[i].instant - earliest) * fps / 1e9;
        if (frames > std::numeric_limits<int>::max() / 2.0) {
            throw StoreError(files[i], StoreProblem::Unsupported,
                             "was captured too long after the others");
        }
        begins.push_back(std::llround(frames));
    }
    return begins;
}

void joinBeside(const std::vector<fs::path>& files, const std::vector<std::int64_t>& begins,
                const fs::path& out) {
    Splice splice(out);
    {
        Source first(files.front());
        splice.makeStage(first.tree.stretch(first.rootTake(), 0, 0).name, rateOf(first));
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        Source source(files[i]);
        splice.addBeside(source, begins[i]);
    }
    splice.commit();
}

} // namespace

Note clockNote(const std::string& clock, std::chrono::nanoseconds instant, std::int64_t frame) {
    Note note;
    note.kind = clockKind;
    note.frame = frame;
    note.label = std::to_string(instant.count());
    note.context = clock;
    return note;
}

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
    if (const auto begins = files.size() > 1 ? beginsOf(files) : std::vector<std::int64_t>();
        !begins.empty()) {
        joinBeside(files, begins, out);
        return;
    }
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
