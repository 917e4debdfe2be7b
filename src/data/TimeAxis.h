#pragma once

#include <tarn/Time.h>
#include <tarn/Track.h>

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace tarn {

/// The distinct times of the frames of several tracks in ascending order: the common axis that
/// `Tracks::alignTracksByTime` lays tracks out on. Times of the same second count as one; the first
/// one added stands for them all. Frames at rate 0 have no comparable time and count as empty
/// slots.
class TimeAxis {
public:
    void addTimesOf(Track& track);
    std::size_t size() const { return times_.size(); }

    /// A new track with one slot per time of the axis: the frame of `track` at that time, or the
    /// one before it as a copy stamped with that time, or nothing before the first. `times`, which
    /// must be as long as the axis, gets the time of each slot, and `indexMap` the old slot of each
    /// new one that holds a frame.
    std::shared_ptr<Track> align(Track& track, std::vector<Time>& times,
                                 std::map<int, int>& indexMap) const;

private:
    std::set<Time> times_;
};

} // namespace tarn
