// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Time.h>
#include <tarn/Track.h>

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace tarn {

/// The distinct times of the frames of several tracks in ascending order: the common axis that
/// `Tracks::alignTracksByTime` lays tracks out on. Times of the same second count as one; the first
/// one added stands for them all. Frames at rate 0 have no comparable time and count as empty
/// slots.
///
/// Cost: with n frames in k tracks, n where tracks share their times, n log k where each is sorted,
/// n log n at worst.
class TimeAxis {
public:
    /// Which slot of an old track each slot of its new one got its frame from, ascending.
    using IndexMap = std::map<int, int>;

    void addTimesOf(const Track& track);
    /// All times have been added: now the axis can be used.
    void complete();
    std::size_t size() const { return moments_.size(); }

    /// Replaces a track by a new one with one slot per time of the axis: the frame at that time, or
    /// the one before it as a copy stamped with that time, or nothing before the first. Where
    /// nobody else holds the old track its frames are moved. `times`, which must be as long as the
    /// axis, gets the time of each slot; `indexMap`, unless it is null, where frames come from.
    void align(std::shared_ptr<Track>& track, std::vector<Time>& times, IndexMap* indexMap) const;

private:
    /// A time with its seconds, so that they are computed once.
    struct Moment {
        Time time;
        float seconds;
        bool operator<(const Moment& other) const { return seconds < other.seconds; }
    };
    using Moments = std::vector<Moment>;
    using Slots = std::vector<std::shared_ptr<Frame>>;

    static const Slots& slotsOf(const Track& track);
    static bool isPlaceable(const Frame* frame) {
        return frame != nullptr && frame->time().fps() != 0;
    }
    bool areInLastRun(const Slots& slots) const;
    void mergeLastRuns();

    std::vector<Moments> runs_; ///< each ascending and distinct; longer ones first
    Moments moments_;           ///< the axis
};

} // namespace tarn
