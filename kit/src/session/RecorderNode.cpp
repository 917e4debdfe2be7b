// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/RecorderNode.h>

#include <cassert>
#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

using Frames = std::vector<std::shared_ptr<Frame>>;

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

std::shared_ptr<Tracks> RecorderNode::take() const {
    const Frames frames = d_->copyOfFrames();
    const int count = static_cast<int>(frames.size());
    const auto track = std::make_shared<Track>(d_->dataType);
    track->setFrameCount(count);
    for (int i = 0; i < count; ++i) {
        track->setFrame(i, frames[static_cast<std::size_t>(i)]);
    }
    auto tracks = std::make_shared<Tracks>();
    tracks->addTrack(track, 0);
    tracks->setTimeLength(count);
    tracks->setFrameCount(count);
    if (count > 0) {
        tracks->setFps(static_cast<int>(frames.front()->time().fps()));
        tracks->setWorkRange(0, count - 1);
    }
    return tracks;
}

void RecorderNode::clear() { d_->clear(); }

tsignal::Signal<>& RecorderNode::onFull() { return d_->onFull; }

} // namespace tarn::kit
