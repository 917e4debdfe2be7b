// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/recording/TakeRecorder.h>

#include "recording/RecordingFile.h"
#include "recording/SpaceWatch.h"
#include "rows/Database.h"

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace tarn::store {

namespace fs = std::filesystem;

struct TakeRecorder::PrivateData {
    PrivateData(fs::path path, RecorderOptions chosen)
        : options(std::move(chosen)), space(path, options), file(std::in_place, path, options) {}

    /// The handler of an input port.
    void add(std::int64_t track, std::shared_ptr<Frame> frame);
    /// The thread that writes.
    void work();
    /// Waits for something to be written, and takes it; false when there is no more to come.
    bool takeBatch(RecordingBatch& batch);
    /// Whether it went well.
    bool write(RecordingBatch& batch);
    void announceSafe(const RecordingBatch& batch);
    void stop();

    const RecorderOptions options;
    SpaceWatch space;                                 // used by the thread that writes
    std::optional<RecordingFile> file;                // likewise, between start and end
    std::map<std::int64_t, std::int64_t> safeIndexes; // likewise: per track
    std::optional<std::int64_t> announced;            // likewise
    bool isFailing = false;                           // likewise
    std::optional<StoreError> failure;                // likewise: of the last try
    std::thread thread;

    tsignal::Signal<std::int64_t> onSafe;
    tsignal::Signal<std::int64_t> onLost;
    tsignal::Signal<std::string> onFailed;
    tsignal::Signal<int> onSpaceLow;

    mutable std::mutex mutex; // guards what follows
    std::condition_variable wake;
    std::condition_variable room;
    RecordingBatch waiting;
    std::size_t beingWritten = 0;
    std::int64_t safeFrames = 0;
    std::int64_t lostFrames = 0;
    bool isStuck = false; ///< whether writing fails: it may do so for ever
    bool isOpen = false;
    bool isEnding = false;

    bool isLastTry =
        false; ///< of the thread: whether it began to write after the end was asked for
};

void TakeRecorder::PrivateData::add(std::int64_t track, std::shared_ptr<Frame> frame) {
    std::unique_lock<std::mutex> lock(mutex);
    const auto hasRoom = [this] {
        return waiting.frames.size() + beingWritten < options.queueFrames;
    };
    if (options.whenFull == WhenFull::Wait) {
        room.wait(lock, [&] { return !isOpen || isStuck || hasRoom(); });
    }
    if (!isOpen || frame == nullptr) {
        return;
    }
    if (!hasRoom()) {
        ++lostFrames;
        waiting.losses.count(track, frame->time().frameIndex(), "no room to wait in");
        return;
    }
    waiting.frames.push_back({track, std::move(frame)});
    // The thread waits for the first frame, then for more, until there are many.
    if (waiting.frames.size() == 1 || waiting.frames.size() == options.queueFrames / 2) {
        wake.notify_one();
    }
}

bool TakeRecorder::PrivateData::takeBatch(RecordingBatch& batch) {
    std::unique_lock<std::mutex> lock(mutex);
    wake.wait(lock, [&] { return isEnding || !waiting.isEmpty() || !batch.isEmpty(); });
    // Half of what may be lost is spent on waiting, the rest is for writing.
    wake.wait_for(lock, options.maximumLoss / 2,
                  [this] { return isEnding || waiting.frames.size() >= options.queueFrames / 2; });
    batch.append(std::move(waiting));
    waiting = RecordingBatch();
    beingWritten = batch.frames.size();
    isLastTry = isEnding;
    return !isEnding || !batch.isEmpty();
}

bool TakeRecorder::PrivateData::write(RecordingBatch& batch) {
    try {
        file->write(batch);
        failure.reset();
        isFailing = false;
        return true;
    } catch (const StoreError& error) {
        failure = error;
    }
    if (!std::exchange(isFailing, true)) {
        onFailed.emit(failure->what());
    }
    return false;
}

void TakeRecorder::PrivateData::announceSafe(const RecordingBatch& batch) {
    for (const RecordingBatch::Item& item : batch.frames) {
        const std::int64_t index = item.frame->time().frameIndex();
        const auto known = safeIndexes.emplace(item.track, index).first;
        known->second = std::max(known->second, index);
    }
    const auto least =
        std::min_element(safeIndexes.begin(), safeIndexes.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    if (least != safeIndexes.end() && (!announced || least->second > *announced)) {
        announced = least->second;
        onSafe.emit(least->second);
    }
}

void TakeRecorder::PrivateData::work() {
    RecordingBatch batch;
    std::int64_t lostAnnounced = 0;
    while (takeBatch(batch)) {
        const bool isWritten = write(batch);
        std::int64_t lost = 0;
        bool isLast = false;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            isStuck = !isWritten;
            if (isWritten) {
                beingWritten = 0;
                safeFrames += static_cast<std::int64_t>(batch.frames.size() - batch.refused);
                lostFrames += static_cast<std::int64_t>(batch.refused);
            }
            isLast = isLastTry && !isWritten;
            if (isLast) {
                lostFrames +=
                    static_cast<std::int64_t>(batch.frames.size() + waiting.frames.size());
            }
            lost = lostFrames;
        }
        room.notify_all();
        if (isWritten) {
            announceSafe(batch);
        }
        if (lost > std::exchange(lostAnnounced, lost)) {
            onLost.emit(lost);
        }
        if (const auto seconds = space.check(batch.bytes)) {
            onSpaceLow.emit(*seconds);
        }
        if (isWritten) {
            batch = RecordingBatch();
        }
        if (isLast) {
            return; // there is no later in which it could be tried again
        }
    }
}

void TakeRecorder::PrivateData::stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isOpen = false;
        isEnding = true;
    }
    wake.notify_all();
    room.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

TakeRecorder::TakeRecorder(fs::path file, RecorderOptions options)
    : d_(std::make_shared<PrivateData>(std::move(file), std::move(options))) {}

TakeRecorder::~TakeRecorder() {
    try {
        end();
    } catch (const std::exception&) { // who wants to know ends it
        d_->file.reset();
    }
}

int TakeRecorder::addTrack(int dataType, const TrackDescription& description) {
    assert(!d_->thread.joinable() && d_->file);
    const std::int64_t track = d_->file->addTrack(dataType, description);
    const int port = static_cast<int>(supportIFramePorts().size());
    addIFramePort(
        port, [d = d_, track](std::shared_ptr<Frame> frame) { d->add(track, std::move(frame)); });
    return port;
}

void TakeRecorder::addScene(Scene& scene) {
    assert(!d_->thread.joinable() && d_->file);
    d_->file->addScene(scene);
}

void TakeRecorder::start() {
    assert(!d_->thread.joinable() && d_->file);
    d_->file->commitTracks();
    d_->thread = std::thread([d = d_.get()] { d->work(); });
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->isOpen = true;
}

void TakeRecorder::addNote(const Note& note) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->waiting.notes.push_back(note);
    d_->wake.notify_one();
}

void TakeRecorder::end() {
    d_->stop();
    if (!d_->file) {
        return;
    }
    if (d_->failure) {
        d_->file.reset();
        throw StoreError(*d_->failure);
    }
    d_->file->write(d_->waiting); // notes of a recording that never started
    d_->file->end();
    d_->file.reset();
}

std::int64_t TakeRecorder::safeFrames() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->safeFrames;
}

std::int64_t TakeRecorder::lostFrames() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->lostFrames;
}

tsignal::Signal<std::int64_t>& TakeRecorder::onSafe() { return d_->onSafe; }

tsignal::Signal<std::int64_t>& TakeRecorder::onLost() { return d_->onLost; }

tsignal::Signal<std::string>& TakeRecorder::onFailed() { return d_->onFailed; }

tsignal::Signal<int>& TakeRecorder::onSpaceLow() { return d_->onSpaceLow; }

} // namespace tarn::store
