// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/Splice.h"

#include "file/MarkerDocument.h"
#include "rows/SceneRows.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_store/file/StoredTakes.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace tarn::store {

namespace {

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

/// Where a frame index of a take is in a stretch of it; the nearest that there is.
std::int64_t movedInto(const TakeStretch& stretch, std::int64_t index) {
    const std::int64_t last = stretch.first + std::max<std::int64_t>(stretch.count, 1) - 1;
    return std::clamp(index, stretch.first, last) - stretch.first;
}

/// A take of which the stretch is the beginning; it has no length yet. Its work range stays where
/// it was, as far as it is in the stretch; what goes on to the end, -1, does so in the new take.
void addTake(Database& database, SpliceSource& source, const TakeStretch& stretch) {
    Statement row(source.database,
                  "SELECT current, work_begin, work_end, version FROM take WHERE id = ?1 AND "
                  "length IS NOT NULL");
    row.bind(1, stretch.id);
    const std::int64_t last = stretch.first + stretch.count - 1;
    const bool isKnown = row.step(); // a recording has none of this
    const bool isInIt = isKnown && row.integer(1) <= last && row.integer(2) >= stretch.first;
    const std::int64_t begin = isInIt ? movedInto(stretch, row.integer(1)) : 0;
    const bool hasEnd =
        isInIt && row.integer(2) < std::min(last, source.tree.lengthOf(stretch.id) - 1);
    const std::int64_t end = hasEnd ? movedInto(stretch, row.integer(2)) : -1;
    const std::int64_t current = isKnown ? movedInto(stretch, row.integer(0)) : 0;
    const std::int64_t version = isKnown ? row.integer(3) : 0;
    Statement(database, "INSERT INTO take (name, fps, length, frame_count, current, work_begin, "
                        "work_end, version) VALUES (?1, ?2, 0, 0, ?3, ?4, ?5, ?6)")
        .bind(1, stretch.name)
        .bind(2, stretch.fps)
        .bind(3, current)
        .bind(4, begin)
        .bind(5, end)
        .bind(6, version)
        .run();
}

void setLength(Database& database, std::int64_t take, std::int64_t length) {
    Statement(database, "UPDATE take SET length = ?2, frame_count = ?2, work_end = CASE WHEN "
                        "work_end < 0 THEN ?2 - 1 ELSE work_end END WHERE id = ?1")
        .bind(1, take)
        .bind(2, length)
        .run();
}

/// The time of an event at a rate, where the number of its frame is so much higher at another one:
/// the frame in which it is stays the same, whatever is rounded.
double movedTime(double seconds, double fromRate, std::int64_t frames, double toRate) {
    if (frames == 0 && fromRate == toRate) {
        return seconds;
    }
    const double at = seconds * fromRate;
    const auto shift = static_cast<double>(frames);
    const double frame = std::floor(at) + shift;
    double moved = (at + shift) / toRate;
    if (!std::isfinite(moved)) {
        return seconds; // of no frame
    }
    constexpr int mostSteps = 4; // each takes back what one rounding did
    for (int i = 0; i < mostSteps && std::floor(moved * toRate) != frame; ++i) {
        const double side = std::floor(moved * toRate) < frame ? 1 : -1;
        moved = std::nextafter(moved, side * std::numeric_limits<double>::infinity());
    }
    return moved;
}

/// Has a note of a clock tell of another frame, so that a part without the frame that it told of
/// keeps its place on the timeline. False for notes of other kinds.
bool takeClockTo(Note& note, std::int64_t frame, double rate) {
    const auto instant = kit::numberIn<std::int64_t>(note.label);
    if (note.kind != clockKind || !instant || !note.frame || !(rate > 0)) {
        return false;
    }
    const double shift =
        (static_cast<double>(frame) - static_cast<double>(*note.frame)) / rate * 1e9;
    constexpr double farthest = 4e18; // of which two can be added
    if (!(std::abs(shift) < farthest) || !(std::abs(static_cast<double>(*instant)) < farthest)) {
        return false;
    }
    note.label = std::to_string(*instant + std::llround(shift));
    note.frame = frame;
    return true;
}

} // namespace

Splice::Splice(const std::filesystem::path& out)
    : unfinished_(out), database_(unfinished_.path(), Database::Mode::Create), schema_(database_),
      transaction_(database_), chunks_(database_, kit::Codecs::standard()), rows_(database_) {}

/// Makes the take of the first source.
void Splice::addPart(SpliceSource& source, const TakeStretch& stretch, Parent parent) {
    addTake(database_, source, stretch);
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

/// Where a take of the new file is: made for the first source, looked up for others.
Splice::Part& Splice::partFor(SpliceSource& source, const TakeStretch& stretch, std::size_t at,
                              Parent parent) {
    if (isFirst_) {
        addPart(source, stretch, parent);
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

void Splice::appendTrack(SpliceSource& source, PartTrack& track, std::int64_t id,
                         std::int64_t firstSlot, std::int64_t count, std::int64_t at) {
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
    noteMove(from, track, shift.value_or(0));
}

void Splice::noteMove(const StoredTrack& from, const PartTrack& track, std::int64_t shift) {
    if (from.dataType == kit::markerDataType) {
        const kit::C3dTake before = markerTakeOf(from.description);
        const kit::C3dTake now = markerTakeOf(track.model.description);
        moves_.push_back({from.description.subject, track.model.description.subject, before.rate,
                          now.rate, shift + now.firstFrame - before.firstFrame});
    }
}

/// Entries of the frame indexes that go over, at those that they have now.
void Splice::addIndexMap(SpliceSource& source, const TakeStretch& stretch, const Part& part) {
    Statement rows(source.database,
                   "SELECT key, value FROM index_map WHERE take = ?1 AND key BETWEEN ?2 AND ?3");
    rows.bind(1, stretch.id).bind(2, stretch.first).bind(3, stretch.first + stretch.count - 1);
    Statement insert(database_, "INSERT INTO index_map (take, key, value) VALUES (?1, ?2, ?3)");
    while (rows.step()) {
        insert.bind(1, part.take)
            .bind(2, rows.integer(0) - stretch.first + part.length)
            .bind(3, rows.integer(1))
            .run();
    }
}

/// Those of a track that are within the frame indexes of `span`; of one that is so in part, at most
/// as many as there are.
void Splice::addLosses(const SpliceSource& source, std::int64_t track, const Loss& span,
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

void Splice::appendTake(SpliceSource& source, const TakeStretch& stretch, std::size_t& at,
                        std::optional<std::pair<std::int64_t, std::int64_t>> parent) {
    const std::size_t here = at++;
    {
        Part& part = partFor(source, stretch, here, parent);
        for (std::size_t i = 0; i < part.tracks.size(); ++i) {
            appendTrack(source, part.tracks[i], stretch.tracks[i].first, stretch.tracks[i].second,
                        stretch.count, part.length);
        }
        addIndexMap(source, stretch, part);
        part.length += stretch.count;
    }
    std::int64_t number = 0;
    for (const TakeStretch& child : stretch.children) {
        appendTake(source, child, at, std::pair(parts_[here].take, number++));
    }
}

void Splice::append(SpliceSource& source, std::int64_t first, std::int64_t last) {
    const TakeStretch stretch = source.tree.stretch(source.rootTake(), first, last);
    const std::int64_t before = length();
    moves_.clear();
    std::size_t at = 0;
    appendTake(source, stretch, at, std::nullopt);
    const std::int64_t base = source.base();
    addNotes(source, base + first, base + last, before);
    addFacts(source, first, last);
    isFirst_ = false;
}

/// Who recorded it and when it began is that of the first file, when it ended that of the last.
/// Characters are those of the first, and of all that are put beside it.
void Splice::addFacts(SpliceSource& source, std::int64_t first, std::int64_t last) {
    const TakeFileFacts facts = factsOf(source.database);
    if (isFirst_) {
        setFact(database_, "program", facts.program);
        setFact(database_, "version", facts.version);
        setFact(database_, "started", facts.startedUtc);
        setFact(database_, "started_clock", std::to_string(facts.startedClock));
        copySceneFacts(source.database, database_, {first, last});
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

void Splice::addBeside(SpliceSource& source, std::int64_t begin) {
    const std::int64_t count = source.length();
    const TakeStretch stretch = source.tree.stretch(source.rootTake(), 0, count - 1);
    moves_.clear();
    std::size_t at = parts_.size();
    isFirst_ = true;
    besideBegin_ = begin;
    appendTake(source, stretch, at, std::pair(stage_, besides_++));
    stageLength_ = std::max(stageLength_, begin + count);
    const std::int64_t base = source.base();
    addNotes(source, base, base + count - 1, begin);
    isFirst_ = besides_ == 1;
    addFacts(source, 0, count - 1);
}

/// Events that state their time go with their frames.
void Splice::moveEvent(Note& note) const {
    kit::C3dEvent event;
    auto time = eventTimeIn(note.text);
    if (!isEvent(note.kind, event) || !time) {
        return;
    }
    const bool isNamed = !time->subject.empty();
    const auto move = std::find_if(moves_.begin(), moves_.end(), [&](const MarkerMove& known) {
        return isNamed ? known.from == time->subject : moves_.size() == 1;
    });
    if (move != moves_.end()) {
        time->seconds = movedTime(time->seconds, move->fromRate, move->frames, move->toRate);
        time->subject = isNamed ? move->to : "";
        note.text = textOf(*time);
    }
}

void Splice::addNotes(SpliceSource& source, std::int64_t first, std::int64_t last,
                      std::int64_t at) {
    for (Note note : readNotes(source.database)) {
        const bool isOutside = note.frame && (*note.frame < first || *note.frame > last);
        if (isOutside && !takeClockTo(note, first, source.exactRate())) {
            continue;
        }
        if (stage_ != 0) {
            source.nameEvent(note);
        }
        if (note.frame) {
            note.frame = *note.frame - first + at;
        }
        moveEvent(note);
        store::addNote(database_, note);
    }
}

void Splice::commit() {
    chunks_.flush();
    for (const Part& part : parts_) {
        setLength(database_, part.take, part.length);
        for (const PartTrack& track : part.tracks) {
            Statement(database_, "UPDATE track SET slots = ?2 WHERE id = ?1")
                .bind(1, track.id)
                .bind(2, part.length)
                .run();
        }
    }
    if (stage_ != 0) {
        setLength(database_, stage_, stageLength_);
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

} // namespace tarn::store
