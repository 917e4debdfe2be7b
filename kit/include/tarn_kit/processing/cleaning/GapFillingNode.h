// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/processing/cleaning/GapFilling.h>

#include <cstdint>
#include <memory>

namespace tarn::kit {

/// A node that closes gaps of markers as they come, for hosts that can wait a moment: it holds
/// frames back for a fixed time, in which a gap can end, and fills it as `fillGaps` does, with what
/// it remembers of the past. Gaps that last longer than it waits, and those at the beginning, pass
/// as they are.
///
/// Frames of markers arrive at the input frame port `framePort`, and each that arrives lets the one
/// leave, through the output frame port of the same number and on the same thread, that came
/// `delayFrames()` before it. A frame of another data type passes at once. Where frames are missing
/// (their indexes do not follow each other), all that is held back leaves first, and what was
/// before is forgotten.
///
/// A gap costs some milliseconds, in the frame before which it is filled; in between there is
/// nothing to do.
///
/// Lifetime: the node may be destroyed while frames arrive; the destructor waits for the one that
/// is on its way, so that a slot of the output must not destroy the node. What is held back goes
/// with it: `flush()` lets it leave before.
///
/// Threads: frames may arrive on any thread; one at a time is dealt with. Everything declared here
/// may be called from any thread, but not from a slot of the output.
class TARN_KIT_EXPORT GapFillingNode : public StreamNode {
public:
    /// The input and the output frame port.
    static constexpr int framePort = 0;

    /// `delay` and `memory` are in seconds, `options.rate` is that of the frames. Of the options,
    /// those for the ends of a take have no meaning here.
    /// Throws `std::invalid_argument` without a rate, for a delay of less than a frame, and for a
    /// memory that is not longer than the delay or takes more than a million frames.
    explicit GapFillingNode(const GapFillingOptions& options, double delay = 0.25,
                            double memory = 5);
    ~GapFillingNode() override;
    GapFillingNode(const GapFillingNode&) = delete;
    GapFillingNode& operator=(const GapFillingNode&) = delete;

    /// By how many frames each frame leaves later than it came.
    int delayFrames() const;
    /// The same in seconds.
    double delay() const;
    /// How many positions have been filled, and how many left the node missing.
    std::int64_t filledSamples() const;
    std::int64_t missingSamples() const;

    /// Lets all frames leave that are held back; gaps that have ended are filled. As if frames were
    /// missing, what comes next is a new beginning.
    void flush();

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the handlers of the ties, which may outlive it
};

} // namespace tarn::kit
