// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/TimeAxis.h"
#include "data/TrackData.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

namespace tarn {

namespace {

template <class T>
using Placed = std::pair<std::shared_ptr<T>, int>; ///< a track or nested take and its offset

template <class T>
void removeEntries(std::vector<Placed<T>>& entries, const std::shared_ptr<T>& item) {
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&item](const Placed<T>& entry) { return entry.first == item; }),
                  entries.end());
}

template <class T>
auto findEntry(const std::vector<Placed<T>>& entries, const std::shared_ptr<T>& item) {
    return std::find_if(entries.begin(), entries.end(),
                        [&item](const Placed<T>& entry) { return entry.first == item; });
}

template <class T>
int offsetOf(const std::vector<Placed<T>>& entries, const std::shared_ptr<T>& item) {
    const auto found = findEntry(entries, item);
    return found == entries.end() ? 0 : found->second;
}

/// Offsets are free numbers of the host: sums with them are taken in 64 bits, so that none
/// overflows.
std::int64_t sum(int a, int b) { return std::int64_t{a} + b; }

int saturated(std::int64_t value) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

/// The slot of a placed track that stands at a frame index, or -1 where the track has none.
int slotAt(const Placed<Track>& entry, int index) {
    const std::int64_t slot = std::int64_t{index} - entry.second;
    return slot >= 0 && slot < entry.first->frameCount() ? static_cast<int>(slot) : -1;
}

} // namespace

struct Tracks::PrivateData {
    /// Calls `visit(sub-take, offset)` for each sub-take. Their slots may change this take: those
    /// they add are not visited, those they remove are not visited any more but live until the end.
    template <class Visit>
    void visitSubTracks(Visit visit) const {
        const auto entries = subTracks;
        for (const auto& entry : entries) {
            if (std::find(subTracks.begin(), subTracks.end(), entry) != subTracks.end()) {
                visit(*entry.first, entry.second);
            }
        }
    }

    auto findTrack(int dataType) {
        return std::find_if(tracks.begin(), tracks.end(), [dataType](const Placed<Track>& entry) {
            return entry.first->dataType() == dataType;
        });
    }

    /// Lays every track out on `axis`, offsets unchanged.
    void alignTo(const TimeAxis& axis) {
        times.resize(axis.size());
        for (auto& entry : tracks) {
            // An empty map gets the slots of the first track that places a frame.
            axis.align(entry.first, times, frameIndexMap.empty() ? &frameIndexMap : nullptr);
        }
    }

    std::string tracksName;
    std::vector<Placed<Track>> tracks;
    std::vector<Time> times;
    tsignal::Signal<int> onCurrentTimeChanged;
    int fps = 0;
    int currentTime = 0;
    int timeLength = 0;
    int frameCount = 0;
    std::vector<Placed<Tracks>> subTracks;
    tsignal::Signal<int, int> onWillUpdateTracks;
    tsignal::Signal<int, int> onTracksUpdated;
    tsignal::Signal<int, int> onWorkRangeChanged;
    int tracksVersion = 0;
    int updateBegin = 0;
    int updateEnd = 0;
    int workRangeBegin = 0;
    int workRangeEnd = 0;
    std::map<int, int> frameIndexMap;
};

Tracks::Tracks() : d_(std::make_unique<PrivateData>()) {}

Tracks::~Tracks() = default;

const std::string& Tracks::tracksName() const { return d_->tracksName; }

void Tracks::setTracksName(const std::string& name) { d_->tracksName = name; }

int Tracks::fps() const { return d_->fps; }

void Tracks::setFps(int fps) { d_->fps = fps; }

int Tracks::timeLength() const { return d_->timeLength; }

void Tracks::setTimeLength(int length) { d_->timeLength = length; }

int Tracks::frameCount() const { return d_->frameCount; }

void Tracks::setFrameCount(int count) { d_->frameCount = count; }

void Tracks::addTrack(std::shared_ptr<Track> track, int offset) {
    assert(track != nullptr);
    d_->tracks.emplace_back(std::move(track), offset);
}

void Tracks::removeTrack(std::shared_ptr<Track> track) { removeEntries(d_->tracks, track); }

int Tracks::trackCount() const { return static_cast<int>(d_->tracks.size()); }

std::shared_ptr<Track> Tracks::getTrack(int i) {
    return i >= 0 && i < trackCount() ? d_->tracks[static_cast<std::size_t>(i)].first : nullptr;
}

std::shared_ptr<Track> Tracks::findTrack(int dataType) {
    const auto found = d_->findTrack(dataType);
    return found == d_->tracks.end() ? nullptr : found->first;
}

int Tracks::trackOffset(std::shared_ptr<Track> track) { return offsetOf(d_->tracks, track); }

void Tracks::addSubTracks(std::shared_ptr<Tracks> subTracks, int offset) {
    assert(subTracks != nullptr);
    d_->subTracks.emplace_back(std::move(subTracks), offset);
}

void Tracks::removeSubTracks(std::shared_ptr<Tracks> subTracks) {
    removeEntries(d_->subTracks, subTracks);
}

int Tracks::subTracksCount() const { return static_cast<int>(d_->subTracks.size()); }

std::shared_ptr<Tracks> Tracks::subTracks(int i) {
    assert(i >= 0);
    return i < subTracksCount() ? d_->subTracks[static_cast<std::size_t>(i)].first : nullptr;
}

int Tracks::subTracksOffset(std::shared_ptr<Tracks> subTracks) {
    return offsetOf(d_->subTracks, subTracks);
}

std::shared_ptr<Frame> Tracks::getFrame(int index, int dataType) {
    const auto found = d_->findTrack(dataType);
    if (found == d_->tracks.end()) {
        return nullptr;
    }
    const int slot = slotAt(*found, index);
    return slot < 0 ? nullptr : found->first->getFrame(slot);
}

std::shared_ptr<Timeline> Tracks::getFrame(int index) {
    auto timeline = std::make_shared<Timeline>(getTime(index));
    timeline->entries_.reserve(d_->tracks.size());
    for (const auto& [track, offset] : d_->tracks) {
        const auto& frames = track->d_->frames;
        const std::int64_t slot = std::int64_t{index} - offset;
        if (slot < 0 || static_cast<std::size_t>(slot) >= frames.size()) {
            continue;
        }
        if (const auto& frame = frames[static_cast<std::size_t>(slot)]) {
            timeline->addFrame(frame);
        }
    }
    return timeline;
}

Time Tracks::getTime(int index) {
    if (index < 0) {
        return {};
    }
    const auto position = static_cast<std::size_t>(index);
    if (position < d_->times.size()) {
        return d_->times[position];
    }
    return d_->fps > 0 ? Time(static_cast<unsigned>(index), static_cast<unsigned>(d_->fps))
                       : Time();
}

void Tracks::setFrame(int index, int dataType, std::shared_ptr<Frame> frame) {
    auto found = d_->findTrack(dataType);
    if (found == d_->tracks.end()) {
        auto track = std::make_shared<Track>(dataType);
        track->setFrameCount(d_->timeLength);
        addTrack(std::move(track), 0);
        found = std::prev(d_->tracks.end());
    }
    const auto& [track, offset] = *found;
    const std::int64_t slot = sum(offset, index);
    const bool hasSlot = slot >= 0 && slot < track->frameCount();
    assert(hasSlot);
    if (hasSlot) {
        track->setFrame(static_cast<int>(slot), std::move(frame));
    }
}

int Tracks::currentTime() const { return d_->currentTime; }

int Tracks::currentFrameIndex() const { return d_->currentTime; }

void Tracks::setCurrentTime(int t) {
    d_->currentTime = t;
    d_->onCurrentTimeChanged.emit(t);
    d_->visitSubTracks([t](Tracks& take, int offset) {
        const std::int64_t moved = sum(offset, t);
        if (moved < take.timeLength()) {
            take.setCurrentTime(saturated(moved));
        }
    });
}

std::shared_ptr<Frame> Tracks::currentFrame(int index) { return getFrame(index, d_->currentTime); }

std::shared_ptr<Timeline> Tracks::currentFrame() { return getFrame(d_->currentTime); }

int Tracks::workRangeBegin() const { return d_->workRangeBegin; }

int Tracks::workRangeEnd() const { return d_->workRangeEnd; }

void Tracks::setWorkRange(int begin, int end) {
    if (begin != d_->workRangeBegin || end != d_->workRangeEnd) {
        d_->workRangeBegin = begin;
        d_->workRangeEnd = end;
        d_->onWorkRangeChanged.emit(begin, end);
    }
    d_->visitSubTracks([begin, end](Tracks& take, int offset) {
        take.setWorkRange(saturated(sum(offset, begin)), saturated(sum(offset, end)));
    });
}

void Tracks::beginUpdateTracks(int begin, int end) {
    d_->onWillUpdateTracks.emit(begin, end);
    d_->updateBegin = begin;
    d_->updateEnd = end;
}

void Tracks::endUpdateTracks() {
    // Counted without a sign, so that the highest version is followed by the lowest.
    d_->tracksVersion = static_cast<int>(static_cast<unsigned>(d_->tracksVersion) + 1);
    d_->onTracksUpdated.emit(d_->updateBegin, d_->updateEnd);
    if (d_->currentTime >= d_->updateBegin && d_->currentTime <= d_->updateEnd) {
        d_->onCurrentTimeChanged.emit(d_->currentTime);
    }
}

int Tracks::tracksVersion() const { return d_->tracksVersion; }

void Tracks::setTracksVersion(int version) { d_->tracksVersion = version; }

const std::map<int, int>& Tracks::frameIndexMap() const { return d_->frameIndexMap; }

void Tracks::setFrameIndexMap(int key, int value) { d_->frameIndexMap[key] = value; }

void Tracks::alignTracksByTime() {
    TimeAxis axis;
    const auto addTimes = [&axis](const PrivateData& take) {
        for (const auto& entry : take.tracks) {
            axis.addTimesOf(*entry.first);
        }
    };
    addTimes(*d_);
    for (const auto& entry : d_->subTracks) {
        addTimes(*entry.first->d_);
    }
    axis.complete();
    const int length = static_cast<int>(axis.size());

    d_->timeLength = length;
    setWorkRange(0, length - 1);
    d_->alignTo(axis);
    std::int64_t longest = 0;
    for (const auto& [track, offset] : d_->tracks) {
        longest = std::max(longest, std::int64_t{track->frameCount()} - offset);
    }

    d_->visitSubTracks([&axis, length](Tracks& take, int /*offset*/) {
        take.d_->timeLength = length;
        take.setWorkRange(0, length - 1);
        take.d_->alignTo(axis);
    });

    d_->timeLength = saturated(longest);
    setWorkRange(0, d_->timeLength - 1);
}

tsignal::Signal<int>& Tracks::onCurrentTimeChanged() { return d_->onCurrentTimeChanged; }

tsignal::Signal<int, int>& Tracks::onWillUpdateTracks() { return d_->onWillUpdateTracks; }

tsignal::Signal<int, int>& Tracks::onTracksUpdated() { return d_->onTracksUpdated; }

tsignal::Signal<int, int>& Tracks::onWorkRangeChanged() { return d_->onWorkRangeChanged; }

} // namespace tarn
