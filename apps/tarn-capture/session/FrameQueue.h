// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace tarn::capture {

/// Frames on their way from a device's thread to the host's, in order. Where the host falls behind,
/// the device waits, so that memory stays bounded and nothing is lost.
///
/// Threads: one adds, one takes; `open` and `close` may be called by the one that takes.
class FrameQueue {
public:
    /// Precondition: `capacity` is greater than 0. The queue is closed at first.
    explicit FrameQueue(std::size_t capacity) : capacity_(capacity) {}

    /// Empties the queue and lets frames in.
    void open();
    /// Lets nothing in any more: a device that waits goes on, and what it adds is dropped.
    void close();

    /// Waits while the queue is full. What is added to a closed queue is dropped.
    void add(std::shared_ptr<Frame> frame);
    /// No more frames are to come before the next `open`.
    void finish();

    /// Waits for frames, at most as long as `patience`, and takes all that are there. An empty list
    /// means that none came in time, or that none will.
    std::vector<std::shared_ptr<Frame>> take(std::chrono::milliseconds patience);
    /// Whether all has been taken and no more is to come.
    bool isOver() const;

private:
    const std::size_t capacity_;
    mutable std::mutex mutex_; // guards what follows
    std::condition_variable roomMade_;
    std::condition_variable somethingCame_;
    std::vector<std::shared_ptr<Frame>> frames_;
    bool isOpen_ = false;
    bool isFinished_ = false;
};

} // namespace tarn::capture
