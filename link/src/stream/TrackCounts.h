// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "stream/StreamNews.h"
#include "wire/FrameWire.h"
#include "wire/NumberCount.h"

#include <tarn_link/stream/LinkDevice.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::link {

/// What became of the frames of each track, by their numbers: what has come, what is missing, and
/// what came late or out of order. Tells what happens to them.
class TrackCounts {
public:
    /// `news` lives longer.
    TrackCounts(StreamNews& news, Wanted wanted) : news_(news), wanted_(wanted) {}

    /// Counts so many tracks; those that there were go on.
    void resize(std::size_t count) { tracks_.resize(count); }
    /// Counts anew.
    void restart() { tracks_.assign(tracks_.size(), {}); }
    /// The numbers of another publisher follow: counts on from where that one is.
    void followAnother();

    /// An item of one of the tracks has come. Returns whether it is to be put out.
    bool arrived(const FrameItem& item);
    /// What becomes of one that is.
    void putOut(std::size_t track) { ++tracks_[track].status.received; }
    void skipped(std::size_t track) { ++tracks_[track].status.skipped; }

    /// Whether the last frames have come of a stream that sent so many per track.
    bool isComplete(const std::vector<std::uint64_t>& sent) const;
    /// No more will come: what is missing of so many is lost.
    void end(const std::vector<std::uint64_t>& sent);

    std::size_t size() const noexcept { return tracks_.size(); }
    std::vector<LinkTrackStatus> statuses() const;

private:
    struct Track {
        NumberCount numbers;
        LinkTrackStatus status; ///< `lost` only of the publishers before
    };
    bool arrivedBehind(std::size_t track, std::uint64_t number);

    StreamNews& news_;
    const Wanted wanted_;
    std::vector<Track> tracks_;
};

} // namespace tarn::link
