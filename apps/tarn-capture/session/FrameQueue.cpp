// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/FrameQueue.h"

#include <utility>

namespace tarn::capture {

void FrameQueue::open() {
    const std::lock_guard<std::mutex> lock(mutex_);
    frames_.clear();
    isOpen_ = true;
    isFinished_ = false;
}

void FrameQueue::close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isOpen_ = false;
    roomMade_.notify_all();
}

void FrameQueue::add(std::shared_ptr<Frame> frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    roomMade_.wait(lock, [this] { return !isOpen_ || frames_.size() < capacity_; });
    if (isOpen_) {
        frames_.push_back(std::move(frame));
        somethingCame_.notify_one();
    }
}

void FrameQueue::finish() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isFinished_ = true;
    somethingCame_.notify_one();
}

std::vector<std::shared_ptr<Frame>> FrameQueue::take(std::chrono::milliseconds patience) {
    std::vector<std::shared_ptr<Frame>> taken;
    taken.reserve(capacity_);
    std::unique_lock<std::mutex> lock(mutex_);
    somethingCame_.wait_for(lock, patience, [this] { return isFinished_ || !frames_.empty(); });
    taken.swap(frames_);
    roomMade_.notify_one();
    return taken;
}

bool FrameQueue::isOver() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isFinished_ && frames_.empty();
}

} // namespace tarn::capture
