// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Time.h>

#include <memory>
#include <utility>

namespace tarn {

/// A run of frames of one data type, in the order in which they were added. It remembers the
/// earliest and the latest time it has seen and looks frames up by position and by time; look-ups
/// by time scan in stored order, since whoever shares a frame may change its time.
class TARN_EXPORT Sequence {
public:
    explicit Sequence(int dataType);
    ~Sequence();
    Sequence(const Sequence&) = delete;
    Sequence& operator=(const Sequence&) = delete;

    int dataType() const;

    /// Appends a frame and widens the time range to its time. Returns false, and changes nothing,
    /// if the frame has another data type. Precondition: `frame` is not empty.
    bool addFrame(std::shared_ptr<Frame> frame);
    int frameCount() const;
    /// The frame at a position; an empty pointer at or beyond the count.
    /// Precondition: `index` is not negative.
    std::shared_ptr<Frame> getFrame(int index);

    /// The earliest and the latest time added, never narrowed; both `Time()` in an empty sequence.
    const std::pair<Time, Time>& getTimeRange() const;
    /// The first stored frame whose time equals `t` in both fields, or an empty pointer.
    std::shared_ptr<Frame> findFrame(const Time& t);
    /// The first stored frame whose time is `>= t`, or an empty pointer. In a sequence that is not
    /// sorted this need not be the earliest such frame. A `t` outside the time range finds nothing,
    /// one before it included.
    std::shared_ptr<Frame> findFirstFrame(const Time& t);
    /// Orders the frames by time. Frames of the same second may end in any order; frames whose time
    /// is not a number (frame 0 at rate 0) end behind all others.
    void sortByTime();

    // Parts of the sequence: a new sequence that shares the chosen frames. An empty pointer means
    // that the bounds miss this sequence, which is not the same as a part without frames.

    /// The frames with a time `>= from` and `<= to`. An empty pointer if `from` is later than the
    /// time range, or `to` earlier.
    std::shared_ptr<Sequence> subSequence(const Time& from, const Time& to);
    /// The frames with a time `>= from`. An empty pointer if `from` is later than the time range.
    std::shared_ptr<Sequence> subSequence(const Time& from);
    /// The frames from position `first` on. An empty pointer if there is no such position.
    std::shared_ptr<Sequence> subSequence(int first);
    /// The frames from position `first` to position `last`, both included: (10, 15) are 6 frames.
    /// An empty pointer if `first` is negative or `last` is not a position; a new empty sequence if
    /// `first` is greater than `last`.
    std::shared_ptr<Sequence> subSequence(int first, int last);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
