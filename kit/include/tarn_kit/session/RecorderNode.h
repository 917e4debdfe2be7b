// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>
#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tsignal/Signal.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::kit {

/// A node that records the frames of one data type that arrive at its input frame port `framePort`,
/// up to a bound: beyond that it refuses frames, counts them and says so.
/// Frames are shared, not copied.
///
/// Lifetime: a tie to the port cannot be undone through the node, so the node may be destroyed
/// while it is tied, also while frames arrive: those that are late are ignored, and the destructor
/// waits for slots of `onFull` that run on another thread.
///
/// Threads: frames may arrive on any thread; everything declared here may be called from any
/// thread meanwhile.
class TARN_KIT_EXPORT RecorderNode : public StreamNode {
public:
    /// The input frame port.
    static constexpr int framePort = 0;

    /// Holds at most `maxFrames` frames. Precondition: that is not negative.
    RecorderNode(int dataType, int maxFrames);
    ~RecorderNode() override;
    RecorderNode(const RecorderNode&) = delete;
    RecorderNode& operator=(const RecorderNode&) = delete;

    int dataType() const;
    int maxFrames() const;

    /// How many frames have been recorded.
    int frameCount() const;
    /// Whether the next frame will be refused.
    bool isFull() const;
    /// How many frames of the data type were refused because the recorder was full.
    std::int64_t lostFrames() const;
    /// How many frames of other data types, or empty pointers, were passed over.
    std::int64_t foreignFrames() const;

    /// What has been recorded so far, in order of arrival.
    std::vector<std::shared_ptr<Frame>> frames() const;
    /// What has been recorded so far, as a new take: one track at offset 0, laid out by frame index
    /// with the lowest one in slot 0. So slots of frames that were lost on the way are empty, and
    /// what came after them stays at its place; of frames with one index the last that came is
    /// shown. Rate (that of the first frame to arrive, 0 without one), length, frame count and work
    /// range are set. It has no more than `maxFrames` slots: what lies behind them, because a
    /// counter jumped, is in `frames()` alone.
    std::shared_ptr<Tracks> take() const;
    /// The same with `frameCount` slots, of which the first is that of the frame index
    /// `firstFrame`: so that several recordings begin together, and what was lost at the beginning
    /// or at the end is seen. Precondition: `frameCount` is not negative.
    std::shared_ptr<Tracks> take(unsigned firstFrame, int frameCount) const;

    /// Lets go of all frames and sets the counts to 0; recording goes on.
    void clear();

    /// When the first frame is refused, once until `clear()`. Runs on the thread where the frame
    /// arrived; a slot may use the recorder, and may destroy it.
    tsignal::Signal<>& onFull();

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the handlers of the ties, which may outlive it
};

} // namespace tarn::kit
