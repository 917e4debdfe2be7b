// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/TrackRows.h"

#include "rows/Schema.h"

#include <tarn_kit/files/Text.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tarn::store {

namespace {

/// "0.01 stated Y guessed cm\tcentimetres"
std::string spaceLine(const kit::Space& space) {
    std::array<char, 40> metres = {};
    std::snprintf(metres.data(), metres.size(), "%.17g", space.unit.metres);
    const auto word = [](kit::Origin origin) {
        return origin == kit::Origin::Stated  ? " stated "
               : origin == kit::Origin::Given ? " given "
                                              : " guessed ";
    };
    return metres.data() + std::string(word(space.unitOrigin)) + kit::axisName(space.up) +
           word(space.upOrigin) + space.unit.symbol + "\t" + space.unit.name;
}

/// Reads what `spaceLine` writes; what is missing of it is what is known of a space at first.
kit::Space spaceIn(const std::string& text) {
    kit::Space space;
    std::size_t at = 0;
    const auto word = [&](char end) {
        const std::size_t stop = std::min(text.find(end, at), text.size());
        std::string found = text.substr(at, stop - at);
        at = std::min(stop + 1, text.size());
        return found;
    };
    const auto origin = [](const std::string& name) {
        return name == "stated"  ? kit::Origin::Stated
               : name == "given" ? kit::Origin::Given
                                 : kit::Origin::Guessed;
    };
    space.unit.metres = kit::numberIn<double>(word(' ')).value_or(0);
    space.unitOrigin = origin(word(' '));
    space.up = kit::parseUpAxis(word(' ')).value_or(kit::UpAxis::Y);
    space.upOrigin = origin(word(' '));
    space.unit.symbol = word('\t');
    space.unit.name = word('\0');
    return space;
}

[[noreturn]] void failDamaged(const Database& database, const std::string& why) {
    throw StoreError(database.file(), StoreProblem::Damaged, "is damaged (" + why + ")");
}

kit::Channel channelOf(const Database& database, std::byte value) {
    if (value > static_cast<std::byte>(kit::Channel::Zrotation)) {
        failDamaged(database, "a rig has a channel of no kind");
    }
    return static_cast<kit::Channel>(value);
}

void addNode(Database& database, kit::Rig& rig, const Statement& row) {
    const auto index = static_cast<std::int64_t>(rig.nodes().size());
    const std::int64_t parent = row.integer(1);
    const bool isEnd = row.integer(2) != 0;
    const bool isPlaced =
        parent >= (isEnd ? 0 : -1) && parent < index &&
        (parent < 0 || !rig.nodes()[static_cast<std::size_t>(parent)].isEndSite());
    std::size_t size = 0;
    const std::byte* const offsetBytes = row.blob(3, size);
    Vector3f offset{};
    if (!isPlaced || size != sizeof offset || rig.nodes().size() >= kit::bvhMaxNodes) {
        failDamaged(database, "a rig has a joint in no place");
    }
    std::memcpy(&offset, offsetBytes, size);
    if (isEnd) {
        rig.addEndSite(static_cast<int>(parent), offset);
        return;
    }
    const std::byte* const channelBytes = row.blob(4, size);
    constexpr std::size_t mostChannels = 100;
    if (size > mostChannels) {
        failDamaged(database, "a rig has a joint of too many channels");
    }
    std::vector<kit::Channel> channels;
    channels.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        channels.push_back(channelOf(database, channelBytes[i]));
    }
    rig.addJoint(row.text(0), static_cast<int>(parent), offset, std::move(channels));
}

std::shared_ptr<const kit::Rig> readRig(Database& database, std::int64_t id) {
    Statement row(database, "SELECT space, standing FROM rig WHERE id = ?1");
    row.bind(1, id);
    if (!row.step()) {
        failDamaged(database, "a rig is missing");
    }
    auto rig = std::make_shared<kit::Rig>();
    rig->setSpace(spaceIn(row.text(0)));
    rig->setStanding(kit::parseUpAxis(row.text(1)).value_or(kit::UpAxis::Y));
    Statement nodes(database, "SELECT name, parent, is_end, node_offset, channels FROM rig_node "
                              "WHERE rig = ?1 ORDER BY place");
    nodes.bind(1, id);
    while (nodes.step()) {
        addNode(database, *rig, nodes);
    }
    return rig;
}

std::vector<Label> readLabels(Database& database, std::int64_t track) {
    std::vector<Label> labels;
    Statement rows(database, "SELECT subject, name, description, unit FROM label WHERE track = ?1 "
                             "ORDER BY place");
    rows.bind(1, track);
    while (rows.step()) {
        labels.push_back({rows.text(0), rows.text(1), rows.text(2), rows.text(3)});
    }
    return labels;
}

/// The lowest and the highest slot of a track's chunks.
void readSlots(Database& database, StoredTrack& track) {
    for (const int late : {0, 1}) {
        Statement first(database, "SELECT first FROM chunk WHERE track = ?1 AND late = ?2 "
                                  "ORDER BY first LIMIT 1");
        // Among chunks that are not late, the one that begins last ends last.
        Statement last(database, late == 0 ? "SELECT last FROM chunk WHERE track = ?1 AND late = "
                                             "?2 ORDER BY first DESC LIMIT 1"
                                           : "SELECT max(last) FROM chunk WHERE track = ?1 AND "
                                             "late = ?2");
        first.bind(1, track.id).bind(2, late);
        last.bind(1, track.id).bind(2, late);
        if (first.step() && last.step() && !last.isNull(0)) {
            for (const std::int64_t slot : {first.integer(0), last.integer(0)}) {
                if (slot < 0 || slot > std::numeric_limits<std::uint32_t>::max()) {
                    failDamaged(database, "a frame stands in no slot");
                }
            }
            const bool isEmpty = track.lastSlot < 0;
            track.firstSlot =
                isEmpty ? first.integer(0) : std::min(track.firstSlot, first.integer(0));
            track.lastSlot = std::max(track.lastSlot, last.integer(0));
        }
    }
}

} // namespace

std::int64_t TrackRows::idOf(const std::shared_ptr<const kit::Rig>& rig) {
    const auto known = rigs_.find(rig);
    if (known != rigs_.end()) {
        return known->second;
    }
    Statement(*database_, "INSERT INTO rig (space, standing) VALUES (?1, ?2)")
        .bind(1, spaceLine(rig->space()))
        .bind(2, kit::axisName(rig->standing()))
        .run();
    const std::int64_t id = database_->lastId();
    Statement insert(*database_, "INSERT INTO rig_node (rig, place, name, parent, is_end, "
                                 "node_offset, channels) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    std::int64_t place = 0;
    for (const kit::RigNode& node : rig->nodes()) {
        static_assert(sizeof(kit::Channel) == 1);
        insert.bind(1, id)
            .bind(2, place++)
            .bind(3, node.name)
            .bind(4, node.parent)
            .bind(5, node.isEndSite() ? 1 : 0)
            .bindBlob(6, &node.offset, sizeof node.offset)
            .bindBlob(7, node.channels.data(), node.channels.size())
            .run();
    }
    return rigs_[rig] = id;
}

std::int64_t TrackRows::add(int dataType, std::optional<std::int64_t> slots,
                            const TrackDescription& description) {
    Statement insert(*database_,
                     "INSERT INTO track (data_type, slots, frames, lost, subject, rate_numerator, "
                     "rate_denominator, space, rig, document) VALUES (?1, ?2, 0, 0, ?3, ?4, ?5, "
                     "?6, ?7, ?8)");
    const std::string space = description.space ? spaceLine(*description.space) : std::string();
    insert.bind(1, dataType).bind(2, slots).bind(3, description.subject);
    if (description.rate) {
        insert.bind(4, description.rate->numerator()).bind(5, description.rate->denominator());
    }
    if (description.space) {
        insert.bind(6, space);
    }
    if (description.rig) {
        insert.bind(7, idOf(description.rig));
    }
    insert.bind(8, description.document).run();
    const std::int64_t id = database_->lastId();
    Statement label(*database_, "INSERT INTO label (track, place, subject, name, description, "
                                "unit) VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
    std::int64_t place = 0;
    for (const Label& words : description.labels) {
        label.bind(1, id)
            .bind(2, place++)
            .bind(3, words.subject)
            .bind(4, words.name)
            .bind(5, words.description)
            .bind(6, words.unit)
            .run();
    }
    return id;
}

bool isRig(Database& database, std::int64_t rig) {
    try {
        readRig(database, rig);
        return true;
    } catch (const StoreError& error) {
        if (error.problem() != StoreProblem::Damaged) {
            throw;
        }
        return false;
    }
}

std::vector<StoredTrack> readTracks(Database& database) {
    std::vector<StoredTrack> tracks;
    std::map<std::int64_t, std::shared_ptr<const kit::Rig>> rigs;
    Statement rows(database, "SELECT id, data_type, frames, lost, subject, rate_numerator, "
                             "rate_denominator, space, rig, document FROM track ORDER BY id");
    while (rows.step()) {
        StoredTrack track;
        track.id = rows.integer(0);
        track.dataType = static_cast<int>(rows.integer(1));
        track.frames = rows.integer(2);
        track.lost = rows.integer(3);
        track.description.subject = rows.text(4);
        if (!rows.isNull(5)) {
            try {
                track.description.rate = kit::Rate(rows.integer(5), rows.integer(6));
            } catch (const std::invalid_argument& error) {
                failDamaged(database, error.what());
            }
        }
        if (!rows.isNull(7)) {
            track.description.space = spaceIn(rows.text(7));
        }
        if (!rows.isNull(8)) {
            auto& rig = rigs[rows.integer(8)];
            rig = rig ? rig : readRig(database, rows.integer(8));
            track.description.rig = rig;
        }
        track.description.document = rows.text(9);
        track.description.labels = readLabels(database, track.id);
        readSlots(database, track);
        tracks.push_back(std::move(track));
    }
    return tracks;
}

void place(Database& database, const char* sql, std::int64_t take, std::int64_t at,
           std::int64_t what, std::int64_t offset) {
    Statement(database, sql).bind(1, take).bind(2, at).bind(3, what).bind(4, offset).run();
}

void addNote(Database& database, const Note& note) {
    const std::string utc = note.utc.empty() ? utcNow() : note.utc;
    Statement(database, "INSERT INTO note (kind, frame, label, context, subject, text, utc) "
                        "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)")
        .bind(1, note.kind)
        .bind(2, note.frame)
        .bind(3, note.label)
        .bind(4, note.context)
        .bind(5, note.subject)
        .bind(6, note.text)
        .bind(7, utc)
        .run();
}

std::vector<Note> readNotes(Database& database) {
    std::vector<Note> notes;
    Statement rows(database, "SELECT kind, frame, label, context, subject, text, utc FROM note "
                             "ORDER BY id");
    while (rows.step()) {
        notes.push_back({rows.text(0), rows.maybeInteger(1), rows.text(2), rows.text(3),
                         rows.text(4), rows.text(5), rows.text(6)});
    }
    return notes;
}

void addLoss(Database& database, const Loss& loss) {
    Statement(database, "INSERT INTO loss (track, first, last, count, reason) VALUES (?1, ?2, ?3, "
                        "?4, ?5)")
        .bind(1, loss.track)
        .bind(2, loss.first)
        .bind(3, loss.last)
        .bind(4, loss.count)
        .bind(5, loss.reason)
        .run();
    Statement(database, "UPDATE track SET lost = lost + ?2 WHERE id = ?1")
        .bind(1, loss.track)
        .bind(2, loss.count)
        .run();
}

std::vector<Loss> readLosses(Database& database) {
    std::vector<Loss> losses;
    Statement rows(database, "SELECT track, first, last, count, reason FROM loss ORDER BY id");
    while (rows.step()) {
        losses.push_back(
            {rows.integer(0), rows.integer(1), rows.integer(2), rows.integer(3), rows.text(4)});
    }
    return losses;
}

} // namespace tarn::store
