// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/TakeTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace tarn::store {

namespace {

constexpr const char* tracksOf =
    "SELECT track, frame_offset FROM placement WHERE take = ?1 ORDER BY place";
constexpr const char* takesOf =
    "SELECT child, frame_offset FROM nested WHERE take = ?1 ORDER BY place";

/// At most so many slots for each frame that a file holds, and some more.
constexpr std::int64_t slotsPerFrame = 10'000;
constexpr std::int64_t slotsInAnyCase = 10'000'000;
constexpr int mostTakes = 10'000;
constexpr int deepest = 200;

int intOf(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

} // namespace

void TakeTree::failDamaged(const std::string& why) const {
    throw StoreError(database_->file(), StoreProblem::Damaged, "is damaged (" + why + ")");
}

void TakeTree::enter(std::int64_t take) {
    if (!entered_.insert(take).second || entered_.size() > deepest || ++count_ > mostTakes) {
        failDamaged("takes are nested without an end");
    }
}

std::vector<TakeTree::Child> TakeTree::children(const char* sql, std::int64_t take) {
    std::vector<Child> found;
    Statement rows(*database_, sql);
    rows.bind(1, take);
    while (rows.step()) {
        const std::int64_t offset = rows.integer(1);
        if (offset != intOf(offset)) {
            failDamaged("something stands too far off");
        }
        found.push_back({rows.integer(0), offset});
    }
    return found;
}

void TakeTree::count(std::int64_t slots, std::int64_t frames) {
    slots_ += slots;
    held_ += frames;
    if (slots_ > slotsInAnyCase && slots_ / slotsPerFrame > held_) {
        failDamaged("of " + std::to_string(slots_) + " slots " + std::to_string(held_) +
                    " have frames");
    }
}

std::int64_t TakeTree::slotIn(const Statement& row, int column) const {
    const std::int64_t slot = row.integer(column);
    if (slot < 0 || slot > std::numeric_limits<std::uint32_t>::max()) {
        failDamaged("a frame stands in no slot");
    }
    return slot;
}

TakeTree::Extent TakeTree::extentOf(std::int64_t take) {
    Statement row(*database_, "SELECT length FROM take WHERE id = ?1");
    row.bind(1, take);
    if (!row.step()) {
        failDamaged("a take is missing");
    }
    if (const auto length = row.maybeInteger(0)) {
        return {false, 0, std::max(intOf(*length), 0)};
    }
    Extent extent = {true, 0, 0};
    Statement slots(*database_,
                    "SELECT (SELECT min(first) FROM chunk WHERE track = ?1 AND late = 0), "
                    "(SELECT min(first) FROM chunk WHERE track = ?1 AND late = 1), "
                    "(SELECT last FROM chunk WHERE track = ?1 AND late = 0 ORDER BY first DESC "
                    "LIMIT 1), (SELECT max(last) FROM chunk WHERE track = ?1 AND late = 1)");
    std::optional<std::int64_t> first;
    std::int64_t last = -1;
    for (const Child& child : children(tracksOf, take)) {
        slots.bind(1, child.id);
        if (slots.step()) {
            for (const int column : {0, 1}) {
                if (!slots.isNull(column)) {
                    const std::int64_t slot = slotIn(slots, column);
                    first = first ? std::min(*first, slot) : slot;
                    last = std::max(last, slotIn(slots, column + 2));
                }
            }
        }
        slots.reset();
    }
    extent.base = first.value_or(0);
    extent.length = first ? last - *first + 1 : 0;
    return extent;
}

std::int64_t TakeTree::lengthOf(std::int64_t take) { return extentOf(take).length; }

std::int64_t TakeTree::baseOf(std::int64_t take) { return extentOf(take).base; }

void TakeTree::prove(std::int64_t take) {
    if (proven_.count(take) > 0) {
        return;
    }
    enter(take);
    const Extent extent = extentOf(take);
    Statement row(*database_, "SELECT slots, frames FROM track WHERE id = ?1");
    for (const Child& child : children(tracksOf, take)) {
        row.reset();
        row.bind(1, child.id);
        if (!row.step()) {
            failDamaged("a track is missing");
        }
        count(extent.isRecording ? extent.length : std::max(intOf(row.integer(0)), 0),
              row.integer(1));
    }
    for (const Child& child : children(takesOf, take)) {
        prove(child.id);
    }
    entered_.erase(take);
    proven_.insert(take);
}

std::shared_ptr<Tracks> TakeTree::blank(std::int64_t take, const Extent& extent) {
    Statement row(*database_, "SELECT name, fps, frame_count, current, work_begin, work_end, "
                              "version FROM take WHERE id = ?1");
    row.bind(1, take);
    if (!row.step()) {
        failDamaged("a take is missing");
    }
    auto tracks = std::make_shared<Tracks>();
    tracks->setTracksName(row.text(0));
    tracks->setFps(intOf(row.integer(1)));
    tracks->setTimeLength(intOf(extent.length));
    tracks->setFrameCount(intOf(extent.isRecording ? extent.length : row.integer(2)));
    tracks->setCurrentTime(intOf(row.integer(3)));
    tracks->setWorkRange(intOf(row.integer(4)),
                         intOf(extent.isRecording ? extent.length - 1 : row.integer(5)));
    tracks->setTracksVersion(intOf(row.integer(6)));
    return tracks;
}

std::shared_ptr<Track> TakeTree::trackPart(std::int64_t id, std::int64_t firstSlot,
                                           std::int64_t count) {
    Statement row(*database_, "SELECT data_type, frames FROM track WHERE id = ?1");
    row.bind(1, id);
    if (!row.step()) {
        failDamaged("a track is missing");
    }
    auto track = std::make_shared<Track>(intOf(row.integer(0)));
    const auto frames = frames_->between(id, firstSlot, firstSlot + count - 1);
    this->count(count, static_cast<std::int64_t>(frames.size()));
    track->setFrameCount(intOf(count));
    for (const auto& [slot, frame] : frames) {
        if (slot - firstSlot < track->frameCount()) {
            track->setFrame(static_cast<int>(slot - firstSlot), frame);
        }
    }
    return track;
}

std::shared_ptr<Track> TakeTree::track(std::int64_t id, const Extent& extent) {
    const auto known = tracks_.find(id);
    if (known != tracks_.end()) {
        return known->second;
    }
    std::int64_t count = extent.length;
    if (!extent.isRecording) {
        Statement row(*database_, "SELECT slots FROM track WHERE id = ?1");
        row.bind(1, id);
        count = row.step() ? std::max(intOf(row.integer(0)), 0) : 0;
    }
    auto track = trackPart(id, extent.isRecording ? extent.base : 0, count);
    return tracks_[id] = track;
}

std::shared_ptr<Tracks> TakeTree::whole(std::int64_t take) {
    const auto known = takes_.find(take);
    if (known != takes_.end()) {
        return known->second;
    }
    enter(take);
    const Extent extent = extentOf(take);
    auto tracks = blank(take, extent);
    Statement map(*database_, "SELECT key, value FROM index_map WHERE take = ?1");
    map.bind(1, take);
    while (map.step()) {
        tracks->setFrameIndexMap(intOf(map.integer(0)), intOf(map.integer(1)));
    }
    for (const Child& child : children(tracksOf, take)) {
        tracks->addTrack(track(child.id, extent), intOf(child.offset));
    }
    for (const Child& child : children(takesOf, take)) {
        tracks->addSubTracks(whole(child.id), intOf(child.offset));
    }
    entered_.erase(take);
    return takes_[take] = tracks;
}

int TakeTree::rateOf(std::int64_t take) {
    Statement row(*database_, "SELECT fps FROM take WHERE id = ?1");
    row.bind(1, take);
    return row.step() ? intOf(row.integer(0)) : 0;
}

/// Whether a nested take has another rate and goes on for as long as what it is nested in, as those
/// of recordings do: its frame indexes are then those of the same moments.
bool TakeTree::isAsLong(std::int64_t take, int rate, const Extent& parent, int parentRate) {
    if (rate <= 0 || parentRate <= 0 || rate == parentRate) {
        return false;
    }
    const Extent extent = extentOf(take);
    const double difference =
        static_cast<double>(extent.length) / rate - static_cast<double>(parent.length) / parentRate;
    return extent.isRecording || std::abs(difference) < 1.0 / std::min(rate, parentRate);
}

TakeStretch TakeTree::stretch(std::int64_t take, std::int64_t first, std::int64_t last) {
    enter(take);
    const Extent extent = extentOf(take);
    Statement row(*database_, "SELECT name, fps FROM take WHERE id = ?1");
    row.bind(1, take);
    if (!row.step()) {
        failDamaged("a take is missing");
    }
    TakeStretch stretch;
    stretch.id = take;
    stretch.name = row.text(0);
    stretch.fps = intOf(row.integer(1));
    stretch.first = first;
    stretch.count = last - first + 1;
    for (const Child& child : children(tracksOf, take)) {
        stretch.tracks.emplace_back(child.id, extent.base + first - child.offset);
    }
    for (const Child& child : children(takesOf, take)) {
        std::int64_t begin = first + child.offset;
        std::int64_t end = last + 1 + child.offset;
        const int rate = rateOf(child.id);
        if (child.offset == 0 && isAsLong(child.id, rate, extent, stretch.fps)) {
            begin = first * rate / stretch.fps;
            end = (last + 1) * rate / stretch.fps;
        }
        stretch.children.push_back(this->stretch(child.id, begin, std::max(end, begin + 1) - 1));
    }
    entered_.erase(take);
    return stretch;
}

std::shared_ptr<Tracks> TakeTree::made(const TakeStretch& stretch) {
    auto tracks = std::make_shared<Tracks>();
    tracks->setTracksName(stretch.name);
    tracks->setFps(stretch.fps);
    tracks->setTimeLength(intOf(stretch.count));
    tracks->setFrameCount(intOf(stretch.count));
    tracks->setWorkRange(0, intOf(stretch.count - 1));
    for (const auto& [id, firstSlot] : stretch.tracks) {
        tracks->addTrack(trackPart(id, firstSlot, stretch.count), 0);
    }
    for (const TakeStretch& child : stretch.children) {
        tracks->addSubTracks(made(child), 0);
    }
    return tracks;
}

std::shared_ptr<Tracks> TakeTree::part(std::int64_t take, std::int64_t first, std::int64_t last) {
    return made(stretch(take, first, last));
}

} // namespace tarn::store
