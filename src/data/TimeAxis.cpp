#include "data/TimeAxis.h"

namespace tarn {

namespace {

/// The frame in a slot, if it has one that can be placed in time. Slot -1 stands before the first
/// slot and is always empty.
std::shared_ptr<Frame> placeableFrame(Track& track, int slot) {
    auto frame = slot < 0 ? nullptr : track.getFrame(slot);
    return frame != nullptr && frame->time().fps() != 0 ? frame : nullptr;
}

std::shared_ptr<Frame> stampedCopy(const Frame& frame, const Time& time) {
    auto copy = std::make_shared<Frame>(frame);
    copy->setTime(time);
    return copy;
}

} // namespace

void TimeAxis::addTimesOf(Track& track) {
    for (int slot = 0; slot < track.frameCount(); ++slot) {
        if (const auto frame = placeableFrame(track, slot)) {
            times_.insert(frame->time());
        }
    }
}

std::shared_ptr<Track> TimeAxis::align(Track& track, std::vector<Time>& times,
                                       std::map<int, int>& indexMap) const {
    auto aligned = std::make_shared<Track>(track.dataType());
    aligned->setFrameCount(static_cast<int>(times_.size()));
    int index = 0; // slot of the new track
    int old = 0;   // slot of the old one
    const int oldCount = track.frameCount();

    for (const Time& time : times_) {
        times[static_cast<std::size_t>(index)] = time;
        if (old >= oldCount) {
            old = oldCount - 1;
        }
        // Step back over frames that are still to come, to the one that this time holds.
        auto frame = placeableFrame(track, old);
        while (frame != nullptr && frame->time() > time) {
            frame = placeableFrame(track, --old);
        }
        if (frame != nullptr) {
            const bool same = frame->time() == time;
            if (!same && !(frame->time() < time)) {
                // The same second counted at another rate: no frame for this time, and the next one
                // takes its slot.
                continue;
            }
            aligned->setFrame(index, same ? frame : stampedCopy(*frame, time));
            indexMap[index] = old;
        }
        ++index;
        ++old;
    }
    return aligned;
}

} // namespace tarn
