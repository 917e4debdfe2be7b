// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveFrames.h"

#include <algorithm>
#include <chrono>

namespace tarn::capture {

LiveFrames::LiveFrames(std::size_t most) : most_(most) {}

void LiveFrames::add(const FramePtr& frame) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isFinished_) {
            return;
        }
        if (frames_.size() < most_) {
            frames_.push_back(frame);
        } else {
            isFull_ = true;
            isFinished_ = true;
        }
        changed_.notify_all();
    }
    onChanged_.emit();
}

void LiveFrames::finish() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isFinished_ = true;
        changed_.notify_all();
    }
    onChanged_.emit();
}

void LiveFrames::beginAt(unsigned index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    frames_.erase(frames_.begin(),
                  std::find_if(frames_.begin(), frames_.end(), [index](const FramePtr& frame) {
                      return frame->time().frameIndex() >= index;
                  }));
}

bool LiveFrames::isFinished() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isFinished_;
}

LiveFrames::FramePtr LiveFrames::at(std::size_t number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return number < frames_.size() ? frames_[number] : nullptr;
}

bool LiveFrames::isOverAt(std::size_t number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isFinished_ && number >= frames_.size();
}

bool LiveFrames::isFull() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return isFull_;
}

bool LiveFrames::awaitFirst(const std::function<bool()>& stopRequested) const {
    constexpr auto beat = std::chrono::milliseconds(50); // how soon a request to stop is heard
    std::unique_lock<std::mutex> lock(mutex_);
    while (frames_.empty() && !isFinished_) {
        changed_.wait_for(lock, beat);
        if (stopRequested()) {
            return false;
        }
    }
    return true;
}

} // namespace tarn::capture
