// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Object.h>
#include <tarn/Sequence.h>
#include <tsignal/Signal.h>

#include <functional>
#include <memory>
#include <vector>

namespace tarn {

/// A processing node with numbered ports: input ports are handlers that consume frames or
/// sequences, output ports are signals that the node emits. A concrete node declares its ports; the
/// host ties the output of one node to the input of another. What a number means is up to the node,
/// and the four kinds (input or output, frames or sequences) are numbered independently.
///
/// A tie is a signal connection and nothing more: emitting an output runs the handlers tied to it
/// at once, on the emitting thread, and what they throw reaches the emitter. Ports stay for the
/// node's life.
///
/// Ownership: a tie belongs to the signal. A node that is destroyed leaves its ties connected, each
/// with its copy of the handler. Whoever wired a node whose handlers refer to it ends its ties
/// first: sequence ties with `untieFromISequencePort`, frame ties by destroying the emitting signal
/// or with its `disconnectAll`.
///
/// Threads: ports are made and inputs are tied and untied from one thread at a time, and nobody
/// else uses the node's ports then. Ports that exist may be looked up from any thread at once, and
/// their signals lock: a node that makes its outputs when it is constructed may emit them on a
/// thread of its own while hosts connect to them. An unknown id makes a port. Handlers run on the
/// thread that emits what they are tied to.
class TARN_EXPORT StreamNode : public Object {
public:
    /// A node without ports.
    StreamNode();
    ~StreamNode() override;
    StreamNode(const StreamNode&) = delete;
    StreamNode& operator=(const StreamNode&) = delete;

    bool hasIFramePort(int id) const;
    bool hasISequencePort(int id) const;
    bool hasOFramePort(int id) const;
    bool hasOSequencePort(int id) const;

    /// The ids of one kind of port, ascending; so for all four.
    std::vector<int> supportIFramePorts() const;
    std::vector<int> supportISequencePorts() const;
    std::vector<int> supportOFramePorts() const;
    std::vector<int> supportOSequencePorts() const;

    /// The signal of an output port, for the node's life. Never misses: an unknown id makes the
    /// port.
    tsignal::Signal<std::shared_ptr<Frame>>& oFramePort(int id) const;
    /// As `oFramePort`, for sequences.
    tsignal::Signal<std::shared_ptr<Sequence>>& oSequencePort(int id) const;

    /// Connects the handler that the input port has now to `signal`. Returns false, and does
    /// nothing, when there is no such input port. A port tied again stays connected to what it was
    /// tied to before, and that earlier tie can no longer be undone through the node.
    bool tieToIFramePort(int id, tsignal::Signal<std::shared_ptr<Frame>>& signal);
    /// As `tieToIFramePort`, for sequences.
    bool tieToISequencePort(int id, tsignal::Signal<std::shared_ptr<Sequence>>& signal);

    /// Does not end a tie: the handler stays connected. Both arguments are ignored.
    void untieFromIFramePort(int id, tsignal::Signal<std::shared_ptr<Frame>>& signal);
    /// Ends the latest tie of an input port, whichever signal it was made with; without a tie, does
    /// nothing. `signal` is ignored. Precondition: the tied signal still exists.
    void untieFromISequencePort(int id, tsignal::Signal<std::shared_ptr<Sequence>>& signal);

protected:
    /// Makes an input port, or replaces its handler; ties made before keep the handler they were
    /// made with. An emission that reaches an empty handler throws `std::bad_function_call`.
    void addIFramePort(int id, std::function<void(std::shared_ptr<Frame>)> handler);
    /// As `addIFramePort`, for sequences.
    void addISequencePort(int id, std::function<void(std::shared_ptr<Sequence>)> handler);
    /// Makes an output port, unless it exists, and returns its signal.
    tsignal::Signal<std::shared_ptr<Frame>>& addOFramePort(int id);
    /// As `addOFramePort`, for sequences.
    tsignal::Signal<std::shared_ptr<Sequence>>& addOSequencePort(int id);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
