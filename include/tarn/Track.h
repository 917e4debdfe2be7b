// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Sequence.h>

#include <memory>

namespace tarn {

/// The frames of one data type laid out by frame index: slot i holds the frame shown at index i, or
/// an empty pointer where there is none. Indexes are not checked; `Tracks` checks before it asks.
class TARN_EXPORT Track {
public:
    /// A track without slots.
    explicit Track(int dataType);
    ~Track();
    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    int dataType() const;
    /// How many slots there are, empty ones included.
    int frameCount() const;
    /// New slots are empty; slots beyond `count` are released. Precondition: `count` is not
    /// negative.
    void setFrameCount(int count);

    /// The frame in a slot, which may be empty. Precondition: 0 <= `index` < `frameCount()`.
    std::shared_ptr<Frame> getFrame(int index);
    /// Replaces a slot. The frame's data type is not compared with the track's.
    /// Precondition: 0 <= `index` < `frameCount()`.
    void setFrame(int index, std::shared_ptr<Frame> frame);

    /// Takes over a sequence as it stands, frame k in slot k; the track gets as many slots as the
    /// sequence has frames. Times are not consulted. Precondition: `sequence` is not empty.
    void setSequence(std::shared_ptr<Sequence> sequence);
    /// Lays a sequence into the existing slots, frame k in slot `offset` + k. What does not fit is
    /// dropped; slots below `offset` stay, slots past the end of the sequence become empty.
    /// Precondition: `sequence` is not empty, `offset` is not negative.
    void setSequence(std::shared_ptr<Sequence> sequence, int offset);

private:
    friend class TimeAxis;
    friend class Tracks;
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
