// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tsignal/Signal.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tarn::capture {

/// The frames of a take that is still being made, in the order in which they came: what streams
/// cannot be rewound, so who wants to see its beginning again has it kept.
///
/// Threads: everything may be called from any thread.
class LiveFrames {
public:
    using FramePtr = std::shared_ptr<Frame>;

    /// With room for so many frames; what comes beyond that is left out.
    explicit LiveFrames(std::size_t most);

    void add(const FramePtr& frame);
    /// No more will come.
    void finish();
    /// Forgets the frames in front that have lower indexes. For before anybody asks for them.
    void beginAt(unsigned index);

    /// The frame that came as the one of this number, counted from 0; null where it has not come.
    FramePtr at(std::size_t number) const;
    /// Whether none of this number will come any more.
    bool isOverAt(std::size_t number) const;
    /// Whether no more will come.
    bool isFinished() const;
    /// Whether there was no room for some.
    bool isFull() const;
    /// Waits for the first frame, or until none will come. False if a stop was requested before.
    bool awaitFirst(const std::function<bool()>& stopRequested) const;

    /// After a frame was added, and after the last one.
    tsignal::Signal<>& onChanged() { return onChanged_; }

private:
    const std::size_t most_;
    mutable std::mutex mutex_; ///< guards what follows
    mutable std::condition_variable changed_;
    std::vector<FramePtr> frames_;
    bool isFinished_ = false;
    bool isFull_ = false;
    tsignal::Signal<> onChanged_;
};

} // namespace tarn::capture
