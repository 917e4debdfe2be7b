// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "data/AlignModel.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace model {

namespace {

int clampedSum(int a, int b) {
    const std::int64_t sum = std::int64_t{a} + std::int64_t{b};
    return static_cast<int>(std::clamp<std::int64_t>(sum, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

bool isEmptySlot(const FramePtr& frame) { return frame == nullptr || frame->time.fps() == 0; }

} // namespace

void Take::setWorkRange(int begin, int end) {
    if (begin != workBegin || end != workEnd) {
        workBegin = begin;
        workEnd = end;
        log->push_back(rangeEntry(name, begin, end, timeLength, slotCount(*this),
                                  static_cast<int>(frameIndexMap.size())));
    }
    for (const auto& [subTake, offset] : subTakes) {
        subTake->setWorkRange(clampedSum(offset, begin), clampedSum(offset, end));
    }
}

void Take::collectTimes(TimeSet& axis) const {
    for (const auto& [track, offset] : tracks) {
        for (const auto& frame : track->slots) {
            if (!isEmptySlot(frame)) {
                axis.insert(frame->time);
            }
        }
    }
}

void Take::alignTracksByTime() {
    TimeSet axis;
    collectTimes(axis);
    for (const auto& [subTake, offset] : subTakes) {
        subTake->collectTimes(axis);
    }
    const int n = static_cast<int>(axis.size());

    timeLength = n;
    setWorkRange(0, n - 1);
    rebuildTracks(axis);
    std::int64_t largest = 0;
    for (const auto& [track, offset] : tracks) {
        const auto reach = static_cast<std::int64_t>(track->slots.size()) - offset;
        largest = reach > largest ? reach : largest;
    }
    for (const auto& [subTake, offset] : subTakes) {
        subTake->timeLength = n;
        subTake->setWorkRange(0, n - 1);
        subTake->rebuildTracks(axis);
    }
    timeLength = largest > std::numeric_limits<int>::max() ? std::numeric_limits<int>::max()
                                                           : static_cast<int>(largest);
    setWorkRange(0, timeLength - 1);
}

void Take::rebuildTracks(const TimeSet& axis) {
    times.resize(axis.size());
    std::map<int, int> workingMap;
    for (auto& entry : tracks) {
        entry.first = rebuilt(*entry.first, axis, workingMap);
        if (frameIndexMap.empty()) {
            frameIndexMap = workingMap;
        }
    }
}

std::shared_ptr<Track> Take::rebuilt(const Track& old, const TimeSet& axis,
                                     std::map<int, int>& workingMap) {
    auto result = std::make_shared<Track>();
    result->dataType = old.dataType;
    result->slots.resize(axis.size());
    const int count = static_cast<int>(old.slots.size());
    int k = 0;
    int j = 0;
    for (auto t = axis.begin(); t != axis.end();) {
        if (j >= count) {
            ++steps->steppedBackFromTheEnd;
            --j;
            continue; // the same time again
        }
        const auto slot = static_cast<std::size_t>(k);
        times[slot] = *t;
        const FramePtr frame = j < 0 ? nullptr : old.slots[static_cast<std::size_t>(j)];
        if (isEmptySlot(frame)) {
            ++(j < 0 ? steps->beforeTheFirstSlot : steps->emptySlots);
            ++k;
            ++j;
        } else if (frame->time == *t) {
            ++steps->shared;
            result->slots[slot] = frame;
            workingMap[k++] = j++;
        } else if (frame->time < *t) {
            ++steps->held;
            result->slots[slot] = std::make_shared<Frame>(Frame{*t, frame->payload, nullptr});
            workingMap[k++] = j++;
        } else if (frame->time > *t) {
            ++steps->steppedBackInTime;
            --j;
            continue; // the same time again
        } else {
            ++steps->incomparable;
        }
        ++t;
    }
    return result;
}

int slotCount(const Take& take) {
    std::size_t count = 0;
    for (const auto& [track, offset] : take.tracks) {
        count += track->slots.size();
    }
    return static_cast<int>(count);
}

std::string rangeEntry(const std::string& name, int begin, int end, int timeLength, int slotCount,
                       int mapSize) {
    return name + " " + motion::rangeText(begin, end) + ", length " + std::to_string(timeLength) +
           ", slots " + std::to_string(slotCount) + ", mapped " + std::to_string(mapSize);
}

} // namespace model
