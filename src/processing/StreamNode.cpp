// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/StreamNode.h>

#include <map>
#include <utility>

namespace tarn {

namespace {

template <class Data>
using Handler = std::function<void(std::shared_ptr<Data>)>;
template <class Data>
using Output = tsignal::Signal<std::shared_ptr<Data>>;
/// By the input port's id, what ends its latest tie.
using Ties = std::map<int, tsignal::Disconnector>;

template <class Map>
bool hasPort(const Map& ports, int id) {
    return ports.find(id) != ports.end();
}

template <class Map>
void appendIds(const Map& ports, std::vector<int>& ids) {
    for (const auto& port : ports) {
        ids.push_back(port.first);
    }
}

/// The output port of an id, made if there is none. A port that exists is only looked up, which any
/// number of threads may do at once.
template <class Data>
Output<Data>& outputOf(std::map<int, Output<Data>>& outputs, int id) {
    const auto found = outputs.find(id);
    return found != outputs.end() ? found->second : outputs[id];
}

template <class Data>
bool tieInput(const std::map<int, Handler<Data>>& inputs, Ties& ties, int id,
              Output<Data>& output) {
    const auto input = inputs.find(id);
    if (input == inputs.end()) {
        return false;
    }
    ties[id] = output.connect(input->second);
    return true;
}

} // namespace

struct StreamNode::PrivateData {
    std::map<int, Output<Frame>> frameOutputs;
    std::map<int, Output<Sequence>> sequenceOutputs;
    std::map<int, Handler<Frame>> frameInputs;
    Ties frameTies;
    std::map<int, Handler<Sequence>> sequenceInputs;
    Ties sequenceTies;
};

StreamNode::StreamNode() : d_(std::make_unique<PrivateData>()) {}

StreamNode::~StreamNode() = default;

bool StreamNode::hasIFramePort(int id) const { return hasPort(d_->frameInputs, id); }

bool StreamNode::hasISequencePort(int id) const { return hasPort(d_->sequenceInputs, id); }

bool StreamNode::hasOFramePort(int id) const { return hasPort(d_->frameOutputs, id); }

bool StreamNode::hasOSequencePort(int id) const { return hasPort(d_->sequenceOutputs, id); }

std::vector<int> StreamNode::supportIFramePorts() const {
    std::vector<int> ids;
    ids.reserve(d_->frameInputs.size());
    appendIds(d_->frameInputs, ids);
    return ids;
}

std::vector<int> StreamNode::supportISequencePorts() const {
    std::vector<int> ids;
    appendIds(d_->sequenceInputs, ids);
    return ids;
}

std::vector<int> StreamNode::supportOFramePorts() const {
    std::vector<int> ids;
    ids.reserve(d_->frameOutputs.size());
    appendIds(d_->frameOutputs, ids);
    return ids;
}

std::vector<int> StreamNode::supportOSequencePorts() const {
    std::vector<int> ids;
    appendIds(d_->sequenceOutputs, ids);
    return ids;
}

tsignal::Signal<std::shared_ptr<Frame>>& StreamNode::oFramePort(int id) const {
    return outputOf(d_->frameOutputs, id);
}

tsignal::Signal<std::shared_ptr<Sequence>>& StreamNode::oSequencePort(int id) const {
    return outputOf(d_->sequenceOutputs, id);
}

bool StreamNode::tieToIFramePort(int id, tsignal::Signal<std::shared_ptr<Frame>>& signal) {
    return tieInput(d_->frameInputs, d_->frameTies, id, signal);
}

bool StreamNode::tieToISequencePort(int id, tsignal::Signal<std::shared_ptr<Sequence>>& signal) {
    return tieInput(d_->sequenceInputs, d_->sequenceTies, id, signal);
}

void StreamNode::untieFromIFramePort(int /*id*/,
                                     tsignal::Signal<std::shared_ptr<Frame>>& /*signal*/) {
    // Meant to do nothing: hosts count on frame ties that stay.
}

void StreamNode::untieFromISequencePort(int id,
                                        tsignal::Signal<std::shared_ptr<Sequence>>& /*signal*/) {
    // Out of the map before it is called: what the removed handler holds may use this node.
    const auto tied = d_->sequenceTies.extract(id);
    if (tied && tied.mapped()) {
        tied.mapped()();
    }
}

void StreamNode::addIFramePort(int id, std::function<void(std::shared_ptr<Frame>)> handler) {
    d_->frameInputs[id] = std::move(handler);
}

void StreamNode::addISequencePort(int id, std::function<void(std::shared_ptr<Sequence>)> handler) {
    d_->sequenceInputs[id] = std::move(handler);
}

tsignal::Signal<std::shared_ptr<Frame>>& StreamNode::addOFramePort(int id) {
    return oFramePort(id);
}

tsignal::Signal<std::shared_ptr<Sequence>>& StreamNode::addOSequencePort(int id) {
    return oSequencePort(id);
}

} // namespace tarn
