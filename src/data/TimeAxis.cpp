// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "data/TimeAxis.h"

#include "data/TrackData.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarn {

namespace {

/// Reads the slots of an old track while a new one is made of them. A frame that has been moved out
/// of its slot is remembered: the walk comes back to it to hold it.
class OldSlots {
public:
    OldSlots(std::vector<std::shared_ptr<Frame>>& slots, bool mayMove)
        : slots_(slots), mayMove_(mayMove) {}

    int count() const { return static_cast<int>(slots_.size()); }

    /// The frame in a slot; null if there is none. Slot -1 stands before the first and is empty.
    const Frame* at(int slot) const {
        if (slot == movedFrom_) {
            return moved_;
        }
        return slot < 0 ? nullptr : slots_[static_cast<std::size_t>(slot)].get();
    }

    std::shared_ptr<Frame> take(int slot) {
        auto& frame = slots_[static_cast<std::size_t>(slot)];
        if (!mayMove_) {
            return frame;
        }
        movedFrom_ = slot;
        moved_ = frame.get();
        return std::move(frame);
    }

private:
    std::vector<std::shared_ptr<Frame>>& slots_;
    bool mayMove_;
    int movedFrom_ = -1;
    const Frame* moved_ = nullptr;
};

std::shared_ptr<Frame> stampedCopy(const Frame& frame, const Time& time) {
    return std::make_shared<Frame>(time, frame.dataType(), frame.data());
}

} // namespace

const TimeAxis::Slots& TimeAxis::slotsOf(const Track& track) { return track.d_->frames; }

bool TimeAxis::areInLastRun(const Slots& slots) const {
    if (runs_.empty()) {
        return false;
    }
    auto next = runs_.back().begin();
    for (const auto& frame : slots) {
        if (!isPlaceable(frame.get())) {
            continue;
        }
        if (next == runs_.back().end() || next->time != frame->time()) {
            return false;
        }
        ++next;
    }
    return true;
}

void TimeAxis::addTimesOf(const Track& track) {
    const Slots& slots = slotsOf(track);
    if (areInLastRun(slots)) { // as tracks of one clock are
        return;
    }
    Moments run;
    run.reserve(slots.size());
    bool ascending = true;
    for (const auto& frame : slots) {
        if (isPlaceable(frame.get())) {
            const Moment moment{frame->time(), frame->time().toSecond()};
            ascending = ascending && (run.empty() || run.back() < moment);
            run.push_back(moment);
        }
    }
    if (!ascending) {
        std::stable_sort(run.begin(), run.end());
        const auto sameSecond = [](const Moment& a, const Moment& b) { return !(a < b); };
        run.erase(std::unique(run.begin(), run.end(), sameSecond), run.end());
    }
    runs_.push_back(std::move(run));
    // Runs of like lengths are merged, so that each moment takes part in few merges.
    while (runs_.size() > 1 && runs_[runs_.size() - 2].size() < 2 * runs_.back().size()) {
        mergeLastRuns();
    }
}

void TimeAxis::mergeLastRuns() {
    const Moments later = std::move(runs_.back());
    runs_.pop_back();
    Moments& earlier = runs_.back();
    Moments merged;
    merged.reserve(earlier.size() + later.size());
    // Of two moments of the same second the earlier one stays.
    std::set_union(earlier.begin(), earlier.end(), later.begin(), later.end(),
                   std::back_inserter(merged));
    earlier = std::move(merged);
}

void TimeAxis::complete() {
    while (runs_.size() > 1) {
        mergeLastRuns();
    }
    if (!runs_.empty()) {
        moments_ = std::move(runs_.back());
        runs_.clear();
    }
}

void TimeAxis::align(std::shared_ptr<Track>& track, std::vector<Time>& times,
                     IndexMap* indexMap) const {
    auto aligned = std::make_shared<Track>(track->dataType());
    Slots& slots = aligned->d_->frames;
    slots.resize(moments_.size());
    OldSlots oldSlots(track->d_->frames, track.use_count() == 1);
    std::size_t index = 0; // slot of the new track
    int old = 0;           // slot of the old one

    for (const auto& [time, seconds] : moments_) {
        times[index] = time;
        old = std::min(old, oldSlots.count() - 1);
        // Step back over frames that are still to come, to the one that this time holds.
        const Frame* frame = oldSlots.at(old);
        while (isPlaceable(frame) && frame->time() != time && frame->time().toSecond() > seconds) {
            frame = oldSlots.at(--old);
        }
        if (isPlaceable(frame)) {
            const bool same = frame->time() == time;
            if (!same && !(frame->time().toSecond() < seconds)) {
                // The same second counted at another rate: no frame for this time, and the next one
                // takes its slot.
                continue;
            }
            slots[index] = same ? oldSlots.take(old) : stampedCopy(*frame, time);
            if (indexMap != nullptr) {
                indexMap->emplace_hint(indexMap->end(), static_cast<int>(index), old);
            }
        }
        ++index;
        ++old;
    }
    track = std::move(aligned);
}

} // namespace tarn
