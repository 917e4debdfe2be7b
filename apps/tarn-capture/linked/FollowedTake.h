// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "linked/ReceivedStreams.h"
#include "recording/Recording.h"

#include <tarn_link/together/TakeFollower.h>
#include <tsignal/Signal.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// A recorder of streams that follows a take that somebody on the link leads: it has what was
/// captured from the instant on at which the take starts to the one at which it ends, and tells the
/// leader how it stands.
class FollowedTake {
public:
    using StopRequested = ReceivedStreams::StopRequested;

    /// The streams are connected, not started yet, and outlive this, as the recording does, which
    /// goes into `file`. Throws `link::LinkError`.
    FollowedTake(ReceivedStreams& streams, Recording& recording, std::string file);
    ~FollowedTake();
    FollowedTake(const FollowedTake&) = delete;
    FollowedTake& operator=(const FollowedTake&) = delete;

    /// Waits until a take was called for, and until it is over; says what goes on. False if a stop
    /// was requested before.
    bool follow(const StopRequested& stopRequested);
    /// Notes when the first frame was captured, by the leader's clock, so that files of one take
    /// can be put side by side. For after the streams have stopped.
    void note();
    /// Tells the leader that all is safe, or why it is not. For after the recording has ended.
    void conclude(const std::string& problem);

private:
    /// What is heard of a stream.
    struct Ear {
        link::LinkDevice* device = nullptr;
        std::atomic<link::TakePlace> place{link::TakePlace::Unknown}; ///< of the latest sample
        kit::Clock::Instant captured;                                 ///< for the device's thread
        tsignal::ScopedConnection samples;
    };
    struct First {
        kit::Clock::Instant captured;
        std::int64_t index = 0;
    };

    void hear(Ear& ear, const link::LinkSample& sample);
    bool isWanted(const Ear& ear, const Frame& frame);
    bool isOver() const;
    std::optional<First> first() const;
    void report(link::RecorderPhase phase, const std::string& text = {});

    const std::string file_;
    Recording& recording_;
    link::TakeFollower follower_;
    std::optional<link::TakeCall> take_; ///< the one that is followed
    mutable std::mutex mutex_;
    std::optional<First> first_; ///< frame of it; guarded by the mutex
    std::vector<std::unique_ptr<Ear>> ears_;
};

} // namespace tarn::capture
