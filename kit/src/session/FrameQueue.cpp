// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/FrameQueue.h>

#include <cassert>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace tarn::kit {

struct FrameQueue::PrivateData {
    explicit PrivateData(std::size_t most) : capacity(most) {}

    bool isAtEnd() const { return isFinished || !isOpen; }

    const std::size_t capacity;
    std::mutex mutex; // guards what follows
    std::condition_variable roomMade;
    std::condition_variable somethingCame;
    std::vector<std::shared_ptr<Frame>> frames;
    bool isOpen = false;
    bool isFinished = false;
};

FrameQueue::FrameQueue(std::size_t capacity) : d_(std::make_unique<PrivateData>(capacity)) {
    assert(capacity > 0);
}

FrameQueue::~FrameQueue() = default;

void FrameQueue::open() {
    std::vector<std::shared_ptr<Frame>> released; // after the lock: payloads may do anything
    const std::lock_guard<std::mutex> lock(d_->mutex);
    released.swap(d_->frames);
    d_->isOpen = true;
    d_->isFinished = false;
    d_->roomMade.notify_all();
}

void FrameQueue::close() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->isOpen = false;
    d_->roomMade.notify_all();
    d_->somethingCame.notify_all();
}

void FrameQueue::finish() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->isFinished = true;
    d_->somethingCame.notify_all();
}

void FrameQueue::add(std::shared_ptr<Frame> frame) {
    std::unique_lock<std::mutex> lock(d_->mutex);
    d_->roomMade.wait(lock, [this] { return !d_->isOpen || d_->frames.size() < d_->capacity; });
    if (d_->isOpen) {
        d_->frames.push_back(std::move(frame));
        d_->somethingCame.notify_one();
    }
}

std::vector<std::shared_ptr<Frame>> FrameQueue::take(std::chrono::milliseconds patience) {
    std::vector<std::shared_ptr<Frame>> taken;
    taken.reserve(d_->capacity);
    std::unique_lock<std::mutex> lock(d_->mutex);
    d_->somethingCame.wait_for(lock, patience,
                               [this] { return d_->isAtEnd() || !d_->frames.empty(); });
    taken.swap(d_->frames);
    d_->roomMade.notify_all();
    return taken;
}

bool FrameQueue::isOver() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->isAtEnd() && d_->frames.empty();
}

} // namespace tarn::kit
