// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Payload.h>
#include <tsignal/Signal.h>

#include <cstddef>
#include <memory>
#include <mutex>

namespace tarn::kit {

/// What nodes of markers have in common: frames are dealt with one at a time until the node goes,
/// others than those of markers pass, and it is noticed where frames are missing.
class MarkerStage {
public:
    explicit MarkerStage(tsignal::Signal<std::shared_ptr<Frame>>& out) : out_(&out) {}
    virtual ~MarkerStage() = default;
    MarkerStage(const MarkerStage&) = delete;
    MarkerStage& operator=(const MarkerStage&) = delete;

    /// The handler of the input port.
    void add(const std::shared_ptr<Frame>& frame) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (out_ == nullptr) {
            return;
        }
        const auto* const markers = payloadIf<MarkerFrame>(frame);
        if (markers == nullptr) {
            out_->emit(frame);
            return;
        }
        const unsigned index = frame->time().frameIndex();
        if (!started_ || index != index_ + 1 || markers->size() != size_) {
            begin(markers->size());
        }
        started_ = true;
        index_ = index;
        size_ = markers->size();
        next(frame, *markers);
    }
    /// When it returns nothing is emitted any more.
    void close() {
        const std::lock_guard<std::mutex> lock(mutex_);
        out_ = nullptr;
    }

protected:
    /// A run of frames without a missing one begins. All three with the mutex held.
    virtual void begin(std::size_t markers) = 0;
    virtual void next(const std::shared_ptr<Frame>& frame, const MarkerFrame& markers) = 0;
    void emit(const std::shared_ptr<Frame>& frame) { out_->emit(frame); }

    std::mutex mutex_;
    bool isClosed() const { return out_ == nullptr; }

private:
    tsignal::Signal<std::shared_ptr<Frame>>* out_; ///< null once the node has gone
    bool started_ = false;
    unsigned index_ = 0;
    std::size_t size_ = 0;
};

} // namespace tarn::kit
