// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "data/MotionData.h"

#include <tarn/Frame.h>
#include <tarn/Time.h>
#include <tarn/Track.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// A take as plain records, aligned by walking through the procedure one step at a time. It shares
/// nothing with the library but `Time` and is what random takes are compared with.
namespace model {

struct Frame {
    tarn::Time time;
    int payload = 0;
    const tarn::Frame* real = nullptr; ///< null for a copy that an alignment made
};
using FramePtr = std::shared_ptr<const Frame>;

struct Track {
    int dataType = 0;
    std::vector<FramePtr> slots;
    const tarn::Track* real = nullptr; ///< null for a track that an alignment built
};

/// How often each way of filling a slot was taken.
struct Steps {
    int steppedBackFromTheEnd = 0;
    int emptySlots = 0;
    int beforeTheFirstSlot = 0;
    int shared = 0;
    int held = 0;
    int steppedBackInTime = 0;
    int incomparable = 0;
};

struct Take {
    std::string name;
    motion::Log* log = nullptr;
    Steps* steps = nullptr;
    std::vector<std::pair<std::shared_ptr<Track>, int>> tracks;
    std::vector<std::pair<std::shared_ptr<Take>, int>> subTakes;
    std::vector<tarn::Time> times;
    int timeLength = 0;
    int workBegin = 0;
    int workEnd = 0;
    std::map<int, int> frameIndexMap;

    /// Logs what a slot on `onWorkRangeChanged` can see.
    void setWorkRange(int begin, int end);
    void alignTracksByTime();

private:
    using TimeSet = std::set<tarn::Time>;

    void collectTimes(TimeSet& axis) const;
    void rebuildTracks(const TimeSet& axis);
    std::shared_ptr<Track> rebuilt(const Track& old, const TimeSet& axis,
                                   std::map<int, int>& workingMap);
};

/// The sum of the slot counts of all tracks.
int slotCount(const Take& take);

/// A log entry for a change of work range.
std::string rangeEntry(const std::string& name, int begin, int end, int timeLength, int slotCount,
                       int mapSize);

} // namespace model
