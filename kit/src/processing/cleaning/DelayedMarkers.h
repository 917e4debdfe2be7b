// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/body/Payload.h>

#include "processing/cleaning/MarkerStage.h"

#include <cstddef>
#include <deque>
#include <memory>

namespace tarn::kit {

/// What nodes have in common that hold frames of markers back for a fixed time, in which they see
/// what comes next, and remember for a while those that have left.
class DelayedMarkers : public MarkerStage {
public:
    /// In seconds, at so many frames per second. Throws `std::invalid_argument` without a rate, for
    /// a delay of less than a frame, and for a memory that is not longer than the delay or takes
    /// more than a million frames.
    DelayedMarkers(tsignal::Signal<std::shared_ptr<Frame>>& out, double rate, double delay,
                   double memory);

    /// Lets all frames leave, and what was before is forgotten.
    void flush();
    std::size_t delayFrames() const { return delay_; }
    double rate() const { return rate_; }
    /// Calls `use` while no frame is dealt with.
    template <class Use>
    auto locked(Use use) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return use();
    }

protected:
    void begin(std::size_t /*markers*/) override { letAllLeave(); }
    void next(const std::shared_ptr<Frame>& frame, const MarkerFrame& markers) override;

    /// Called before the oldest frame that is held back leaves, which may be changed until then.
    virtual void mendOldest() = 0;
    /// Called as it leaves.
    virtual void count(const MarkerFrame& oldest) = 0;

    /// The frames at hand: those that have left, then, from the place `left()` on, those that are
    /// held back, the oldest first.
    const std::deque<std::shared_ptr<Frame>>& window() const { return window_; }
    std::size_t left() const { return left_; }
    const MarkerFrame& markersAt(std::size_t place) const {
        return payloadOf<MarkerFrame>(window_[place]);
    }
    /// The window as a take, slot by slot; or a part of it, to before the place `end`.
    std::shared_ptr<Tracks> windowTake() const { return windowTake(0, window_.size()); }
    std::shared_ptr<Tracks> windowTake(std::size_t first, std::size_t end) const;
    /// Precondition: the frame at the place is held back.
    void replace(std::size_t place, std::shared_ptr<Frame> frame);

private:
    void letAllLeave();
    void letLeave();

    double rate_;
    std::size_t delay_ = 0;  ///< frames
    std::size_t memory_ = 0; ///< frames that have left and are remembered
    std::deque<std::shared_ptr<Frame>> window_;
    std::size_t left_ = 0;
};

} // namespace tarn::kit
