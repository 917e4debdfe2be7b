// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::kit {

/// A node that puts labels right that are exchanged for a while, and takes spikes out, as markers
/// come, for hosts that can wait a moment: it holds frames back for a fixed time, in which it sees
/// how a fault ends.
///
/// When a marker of the frame that is to leave next is off its way, the frames at hand (those held
/// back, and what is remembered of the past) are repaired as `repairMarkers` does with a take. What
/// it finds there is put right from that frame on; faults that begin later wait for their turn.
/// Where the frames at hand are those of a whole take, so are the changes. Otherwise the node
/// differs in this:
/// - Labels that stay exchanged for longer than it waits pass as they are, and are reported: nobody
///   knows yet whether they are not right from now on. Spikes have to end in that time, too.
/// - What is usual is learnt from the frames at hand: which neighbours are rigid, and how far off
///   its way a marker has to be.
/// - Frames that have left stay as they were.
///
/// Frames of markers arrive at the input frame port `framePort`, and each that arrives lets the one
/// leave, through the output frame port of the same number and on the same thread, that came
/// `delayFrames()` before it. A frame of another data type passes at once. Where frames are missing
/// (their indexes do not follow each other), all that is held back leaves first, and what was
/// before is forgotten. The frames that arrive are not altered: one with a change leaves as a new
/// one. A `GapFillingNode` behind this one closes the gaps that spikes leave.
///
/// A fault costs some ten milliseconds, in the frame with which it begins, and so does learning,
/// every few seconds; in between there is little to do.
///
/// Lifetime: the node may be destroyed while frames arrive; the destructor waits for the one that
/// is on its way, so that a slot of the output must not destroy the node. What is held back goes
/// with it: `flush()` lets it leave before.
///
/// Threads: frames may arrive on any thread; one at a time is dealt with. Everything declared here
/// may be called from any thread, but not from a slot of the output.
class TARN_KIT_EXPORT MarkerRepairNode : public StreamNode {
public:
    /// The input and the output frame port.
    static constexpr int framePort = 0;

    /// `delay` and `memory` are in seconds, `options.rate` is that of the frames.
    /// Throws `std::invalid_argument` without a rate, for a delay of less than a frame, and for a
    /// memory that is not longer than the delay or takes more than a million frames.
    explicit MarkerRepairNode(const MarkerRepairOptions& options, double delay = 0.5,
                              double memory = 3);
    ~MarkerRepairNode() override;
    MarkerRepairNode(const MarkerRepairNode&) = delete;
    MarkerRepairNode& operator=(const MarkerRepairNode&) = delete;

    /// By how many frames each frame leaves later than it came.
    int delayFrames() const;
    /// The same in seconds.
    double delay() const;

    /// What was found since the last call, in the order in which it left; of what nobody asked for,
    /// the latest `mostChanges`. `first` and `last` are indexes of the times of frames, where those
    /// of `repairMarkers` are slots.
    std::vector<MarkerChange> takeChanges();
    static constexpr std::size_t mostChanges = 1'000;
    /// How many positions left the node under another label than they came, and how many were taken
    /// out.
    std::int64_t relabelledSamples() const;
    std::int64_t removedSamples() const;

    /// Lets all frames leave that are held back; faults that have ended are put right. As if frames
    /// were missing, what comes next is a new beginning.
    void flush();

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the handlers of the ties, which may outlive it
};

} // namespace tarn::kit
