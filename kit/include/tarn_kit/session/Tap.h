// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>
#include <tarn_kit/Export.h>
#include <tsignal/Signal.h>

#include <memory>

namespace tarn::kit {

/// A tap between an output and an input port: it lets frames through while it is open, and can be
/// opened and closed as often as one likes, whatever else is tied to either port. So a host ends a
/// recording without cutting off its viewer, which a tie alone cannot.
///
///     kit::Tap recording(device, device.oFramePort(0), recorder, kit::RecorderNode::framePort);
///     recording.close(); // the viewer goes on
///
/// The tap may outlive the nodes, or they it, in any order: it closes for good when one of them is
/// destroyed.
///
/// Threads: frames may pass on any thread. Taps are opened, closed and destroyed from one thread at
/// a time, which may not hold what the frames' thread waits for: `close` waits for a frame that is
/// on its way, and after it none arrives. Where frames come on a thread of their own, close the tap
/// (or stop the source) before the receiving node is destroyed.
class TARN_KIT_EXPORT Tap {
public:
    /// Open from the start. `signal` is an output of `source` (a port, or any other signal of
    /// frames that lives as long as `source`); `port` is an input frame port of `sink`. Throws
    /// `std::invalid_argument`, naming the port, if the sink has none of that number.
    Tap(Object& source, tsignal::Signal<std::shared_ptr<Frame>>& signal, StreamNode& sink,
        int port);
    /// The same for sequences.
    Tap(Object& source, tsignal::Signal<std::shared_ptr<Sequence>>& signal, StreamNode& sink,
        int port);
    Tap(Tap&& other) noexcept;
    Tap& operator=(Tap&& other) noexcept;
    /// Closes.
    ~Tap();

    bool isOpen() const noexcept;
    /// Lets frames through from now on, behind whatever is connected to the source already. Does
    /// nothing if it is open, or if a node is gone.
    void open();
    void close();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_; ///< null once moved from
};

} // namespace tarn::kit
