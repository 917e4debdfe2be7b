// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>
#include <tarn_kit/Export.h>

#include <memory>

namespace tarn::kit {

/// A node that low-passes markers as they come, which `lowPass` does better over a take: who does
/// not know what comes next pays with a delay.
///
/// Frames of markers arrive at the input frame port `framePort` and leave filtered, with their
/// times, through the output frame port of the same number, on the thread on which they arrived.
/// Frames of other data types pass as they are. The filter is a Butterworth of one pass; it begins
/// at rest where a marker appears, after each gap, and after frames that are missing (their indexes
/// do not follow each other), so that nothing is smeared across.
///
/// Lifetime: the node may be destroyed while frames arrive; the destructor waits for the one that
/// is on its way, so that a slot of the output must not destroy the node.
///
/// Threads: frames may arrive on any thread; one at a time is filtered. Everything declared here
/// may be called from any thread.
class TARN_KIT_EXPORT LowPassNode : public StreamNode {
public:
    /// The input and the output frame port.
    static constexpr int framePort = 0;

    /// `rate` is that of the frames, per second; a wave at the cut-off (in Hz) comes out at
    /// 1/sqrt(2) of its height. Throws `std::invalid_argument` unless the order is from 1 to 8 and
    /// the cut-off between 0 and half the rate.
    explicit LowPassNode(double rate, double cutoff = 6, int order = 2);
    ~LowPassNode() override;
    LowPassNode(const LowPassNode&) = delete;
    LowPassNode& operator=(const LowPassNode&) = delete;

    /// How much later a movement that is slow against the cut-off comes out than it went in, in
    /// seconds: 37 ms for second order at 6 Hz. Frames leave at once, with the times they came
    /// with.
    double delay() const;

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the handlers of the ties, which may outlive it
};

} // namespace tarn::kit
