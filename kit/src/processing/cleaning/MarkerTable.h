// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace tarn::kit {

/// The markers of a take as a table of frames and markers that can be changed, while the take stays
/// as it is.
class MarkerTable {
public:
    /// Of the first track of markers; without one, without markers. Throws `PayloadError` for a
    /// frame that holds something else, `std::invalid_argument` where frames differ in their number
    /// of markers, or without a take.
    explicit MarkerTable(std::shared_ptr<Tracks> take);

    int frameCount() const { return frames_; }
    int markerCount() const { return markers_; }

    const Marker& operator()(int frame, int marker) const { return values_[place(frame, marker)]; }
    bool has(int frame, int marker) const { return (*this)(frame, marker).hasPosition(); }
    Vector3d at(int frame, int marker) const { return toDouble((*this)(frame, marker).position); }
    /// An entry that is going to be changed.
    Marker& entry(int frame, int marker) {
        changed_[static_cast<std::size_t>(frame)] = true;
        return values_[place(frame, marker)];
    }
    void set(int frame, int marker, const Marker& value) { entry(frame, marker) = value; }

    /// A take like the one this was made of with what has been set: tracks, sub-takes, and frames
    /// in which nothing was set, are shared with it.
    std::shared_ptr<Tracks> take() const;

private:
    std::size_t place(int frame, int marker) const {
        return static_cast<std::size_t>(marker) * static_cast<std::size_t>(frames_) +
               static_cast<std::size_t>(frame);
    }
    std::shared_ptr<Frame> changedFrame(int slot, const std::shared_ptr<Frame>& original) const;

    std::shared_ptr<Tracks> original_;
    std::shared_ptr<Track> track_; ///< may be null
    int frames_ = 0;
    int markers_ = 0;
    std::vector<Marker> values_; ///< marker by marker
    std::vector<bool> changed_;  ///< by frame
};

} // namespace tarn::kit
