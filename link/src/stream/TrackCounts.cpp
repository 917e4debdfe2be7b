// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/TrackCounts.h"

#include <string>

namespace tarn::link {

namespace {

std::string framesText(std::uint64_t count, std::uint64_t first) {
    return count == 1
               ? "frame " + std::to_string(first)
               : "frames " + std::to_string(first) + " to " + std::to_string(first + count - 1);
}

std::uint64_t sentOf(const std::vector<std::uint64_t>& sent, std::size_t track) {
    return track < sent.size() ? sent[track] : 0;
}

} // namespace

void TrackCounts::followAnother() {
    for (Track& track : tracks_) {
        track.status.lost += track.numbers.missing();
        track.numbers = {};
    }
}

bool TrackCounts::arrived(const FrameItem& item) {
    Track& track = tracks_[item.track];
    const bool isFirst = track.status.received == 0 && !track.numbers.hasBegun();
    const std::uint64_t expected = track.numbers.next();
    switch (track.numbers.arrived(item.number)) {
    case NumberCount::Place::Next:
        if (isFirst) {
            track.status.first = item.number;
        } else if (item.number > expected && expected > 0) {
            const std::uint64_t missed = item.number - expected;
            news_.tell(LinkEvent::Kind::Lost, framesText(missed, expected) + " did not come",
                       item.track, expected, missed);
        }
        return true;
    case NumberCount::Place::Missed:
        return arrivedBehind(item.track, item.number);
    case NumberCount::Place::Repeated:
        news_.refuse("a frame whose number was there before", static_cast<int>(item.track));
        return false;
    case NumberCount::Place::Absurd:
        news_.refuse("a frame whose number is far from all others", static_cast<int>(item.track));
        return false;
    }
    return false;
}

/// Who shows has shown newer ones.
bool TrackCounts::arrivedBehind(std::size_t track, std::uint64_t number) {
    LinkTrackStatus& status = tracks_[track].status;
    if (wanted_ == Wanted::NewestFrame) {
        ++status.late;
        news_.tell(LinkEvent::Kind::Late, framesText(1, number) + " came too late", track, number);
        return false;
    }
    ++status.outOfOrder;
    news_.tell(LinkEvent::Kind::OutOfOrder, framesText(1, number) + " came behind newer ones",
               track, number);
    return true;
}

bool TrackCounts::isComplete(const std::vector<std::uint64_t>& sent) const {
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        const NumberCount& numbers = tracks_[i].numbers;
        const std::uint64_t end = sentOf(sent, i);
        if (end > 0 && (!numbers.hasBegun() || numbers.next() < end)) {
            return false;
        }
    }
    return true;
}

void TrackCounts::end(const std::vector<std::uint64_t>& sent) {
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        NumberCount& numbers = tracks_[i].numbers;
        const std::uint64_t next = numbers.next();
        numbers.sentUpTo(sentOf(sent, i));
        if (const std::uint64_t missed = numbers.next() - next; missed > 0) {
            news_.tell(LinkEvent::Kind::Lost,
                       framesText(missed, next) + " did not come before the end", i, next, missed);
        }
    }
}

std::vector<LinkTrackStatus> TrackCounts::statuses() const {
    std::vector<LinkTrackStatus> statuses;
    statuses.reserve(tracks_.size());
    for (const Track& track : tracks_) {
        statuses.push_back(track.status);
        statuses.back().lost += track.numbers.missing();
    }
    return statuses;
}

} // namespace tarn::link
