// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/RecorderNode.h>

#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

using Frames = std::vector<std::shared_ptr<Frame>>;

/// A take that shows the frames by their indexes, counted from `first`, as far as it reaches.
std::shared_ptr<Tracks> laidOut(int dataType, const Frames& frames, unsigned first, int count) {
    Frames slots(static_cast<std::size_t>(count));
    for (const auto& frame : frames) {
        const unsigned index = frame->time().frameIndex();
        if (index >= first && index - first < slots.size()) {
            slots[index - first] = frame;
        }
    }
    const unsigned rate = frames.empty() ? 0 : frames.front()->time().fps();
    return takeOf(dataType, std::move(slots), static_cast<int>(rate));
}

} // namespace

struct RecorderNode::PrivateData {
    PrivateData(int type, int maxCount) : dataType(type), maxFrames(maxCount) {}

    /// The handler of the input port.
    void add(std::shared_ptr<Frame> frame);
    /// Whether the frame is the first one to be refused. The mutex is held.
    bool refuse();
    bool isFull() const { return frames.size() == static_cast<std::size_t>(maxFrames); }
    Frames copyOfFrames() const;
    void clear();
    /// When it returns nothing is recorded any more, and nothing said.
    void close();

    const int dataType;
    const int maxFrames;
    tsignal::Signal<> onFull; // emitted without the mutex, so that its slots may use the recorder

    mutable std::mutex mutex; // guards what follows
    Frames frames;
    std::int64_t lostFrames = 0;
    std::int64_t foreignFrames = 0;
    bool closed = false;
};

void RecorderNode::PrivateData::add(std::shared_ptr<Frame> frame) {
    bool isFirstRefused = false;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (closed) {
            return;
        }
        if (frame == nullptr || frame->dataType() != dataType) {
            ++foreignFrames;
        } else if (isFull()) {
            isFirstRefused = ++lostFrames == 1;
        } else {
            frames.push_back(std::move(frame));
        }
    }
    if (isFirstRefused) {
        onFull.emit();
    }
}

Frames RecorderNode::PrivateData::copyOfFrames() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return frames;
}

void RecorderNode::PrivateData::clear() {
    Frames released; // after the lock: payloads may do anything when they go
    const std::lock_guard<std::mutex> lock(mutex);
    released.swap(frames);
    lostFrames = 0;
    foreignFrames = 0;
}

void RecorderNode::PrivateData::close() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        closed = true;
    }
    onFull.disconnectAll(); // waits for an emission on another thread to be over
    clear();
}

RecorderNode::RecorderNode(int dataType, int maxFrames) {
    assert(maxFrames >= 0);
    d_ = std::make_shared<PrivateData>(dataType, maxFrames);
    addIFramePort(framePort, [d = d_](std::shared_ptr<Frame> frame) { d->add(std::move(frame)); });
}

RecorderNode::~RecorderNode() { d_->close(); }

int RecorderNode::dataType() const { return d_->dataType; }

int RecorderNode::maxFrames() const { return d_->maxFrames; }

int RecorderNode::frameCount() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return static_cast<int>(d_->frames.size());
}

bool RecorderNode::isFull() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->isFull();
}

std::int64_t RecorderNode::lostFrames() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->lostFrames;
}

std::int64_t RecorderNode::foreignFrames() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->foreignFrames;
}

std::vector<std::shared_ptr<Frame>> RecorderNode::frames() const { return d_->copyOfFrames(); }

std::shared_ptr<Tracks> RecorderNode::take() const {
    const Frames frames = d_->copyOfFrames();
    if (frames.empty()) {
        return takeOf(d_->dataType, {}, 0);
    }
    const auto [lowest, highest] =
        std::minmax_element(frames.begin(), frames.end(), [](const auto& a, const auto& b) {
            return a->time().frameIndex() < b->time().frameIndex();
        });
    const unsigned first = (*lowest)->time().frameIndex();
    const std::int64_t span = std::int64_t{(*highest)->time().frameIndex()} - first + 1;
    const auto count = std::min<std::int64_t>(span, d_->maxFrames);
    return laidOut(d_->dataType, frames, first, static_cast<int>(count));
}

std::shared_ptr<Tracks> RecorderNode::take(unsigned firstFrame, int frameCount) const {
    assert(frameCount >= 0);
    return laidOut(d_->dataType, d_->copyOfFrames(), firstFrame, frameCount);
}

void RecorderNode::clear() { d_->clear(); }

tsignal::Signal<>& RecorderNode::onFull() { return d_->onFull; }

} // namespace tarn::kit
