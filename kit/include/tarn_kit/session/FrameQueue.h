// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn_kit/Export.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace tarn::kit {

/// Frames on their way from a device's thread to the host's, in order. Where the host falls behind,
/// the device waits, so that memory stays bounded and nothing is lost on the way.
///
/// It is closed at first, lets frames in from `open()` on, and is over once `finish()` or
/// `close()` was called and all that is in it has been taken.
///
/// Threads: everything may be called from any thread.
class TARN_KIT_EXPORT FrameQueue {
public:
    /// Holds at most `capacity` frames. Precondition: that is greater than 0.
    explicit FrameQueue(std::size_t capacity);
    /// Precondition: nobody waits in it.
    ~FrameQueue();
    FrameQueue(const FrameQueue&) = delete;
    FrameQueue& operator=(const FrameQueue&) = delete;

    /// Empties the queue and lets frames in.
    void open();
    /// Lets nothing in any more: an `add` that waits returns, what it adds is dropped, and so does
    /// a `take` that waits.
    void close();
    /// No more frames are to come before the next `open()`: a `take` that waits returns.
    void finish();

    /// Waits while the queue is full. What is added to a closed queue is dropped.
    void add(std::shared_ptr<Frame> frame);
    /// Waits for frames, at most as long as `patience`, and takes all that are there. An empty list
    /// means that none came in time, or that none will.
    std::vector<std::shared_ptr<Frame>> take(std::chrono::milliseconds patience);
    /// Whether all has been taken and no more is to come.
    bool isOver() const;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
