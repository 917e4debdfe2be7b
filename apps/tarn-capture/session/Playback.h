// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/body/Rig.h>
#include <tsignal/Signal.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::capture {

/// Moves the current time of a take from its first frame to its last, as a player would: at its own
/// speed, whatever the rate at which frames are shown. A rate below the take's skips frames, one
/// above it shows frames more than once.
class Playback {
public:
    /// `rate` is in frames per second, greater than 0. The take must outlive the playback.
    Playback(Tracks& take, double rate);

    /// How many frames are shown from beginning to end, those counted twice that are shown twice.
    std::int64_t stepCount() const;
    /// Shows them all: in real time, which takes as long as the take lasts, or as fast as it goes.
    void run(bool realtime);

private:
    std::int64_t frameAt(std::int64_t step) const;

    Tracks& take_;
    double rate_;
};

/// Keeps what a take shows whenever its current time is moved.
class Recorder {
public:
    struct Shown {
        int frame;                         ///< frame index
        std::shared_ptr<const Frame> data; ///< a `kit::Pose`, shared with the take
    };

    /// The take must outlive the recorder.
    explicit Recorder(Tracks& take);

    /// What was shown, in order; a frame shown several times running is listed once.
    const std::vector<Shown>& shown() const { return shown_; }

private:
    void record(int frame);

    Tracks& take_;
    std::vector<Shown> shown_;
    tsignal::ScopedConnection connection_;
};

} // namespace tarn::capture
