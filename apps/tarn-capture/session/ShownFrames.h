// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tsignal/Signal.h>

#include <memory>
#include <vector>

namespace tarn::capture {

/// A frame of a take that was shown.
struct ShownFrame {
    int frame;                         ///< frame index
    std::shared_ptr<const Frame> data; ///< a `kit::Pose`, shared with the take
};

/// Keeps what a take shows whenever its current time is moved.
class ShownFrames {
public:
    /// The take must outlive this. Its first frame counts as `first`, where it is a part of one.
    explicit ShownFrames(Tracks& take, int first = 0);

    /// What was shown, in order; a frame shown several times running is listed once.
    const std::vector<ShownFrame>& all() const { return shown_; }

private:
    void add(int index);

    Tracks& take_;
    const int first_;
    std::vector<ShownFrame> shown_;
    tsignal::ScopedConnection connection_;
};

} // namespace tarn::capture
