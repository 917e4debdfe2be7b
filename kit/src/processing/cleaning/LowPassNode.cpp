// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/LowPassNode.h>

#include <tarn_kit/body/Rotations.h>

#include "processing/cleaning/Butterworth.h"
#include "processing/cleaning/MarkerStage.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

Butterworth checkedFilter(double rate, double cutoff, int order) {
    constexpr int most = 8;
    if (order < 1 || order > most) {
        throw std::invalid_argument("the order has to be from 1 to 8");
    }
    if (!(cutoff > 0 && cutoff < rate / 2)) {
        throw std::invalid_argument("the cut-off has to be between 0 and half the rate");
    }
    return {order, cutoff, rate};
}

} // namespace

struct LowPassNode::PrivateData : MarkerStage {
    PrivateData(tsignal::Signal<std::shared_ptr<Frame>>& out, double rate, double cutoff, int order)
        : MarkerStage(out), filter(checkedFilter(rate, cutoff, order)),
          delay(filter.delay() / rate) {}

    /// What the filter remembers of a marker.
    struct Memory {
        bool isRunning = false;
        std::array<Butterworth::State, 3> axes;
    };

    void begin(std::size_t markers) override { memories.assign(markers, Memory()); }
    void next(const std::shared_ptr<Frame>& frame, const MarkerFrame& markers) override;
    void filterMarker(Marker& marker, Memory& memory) const;

    const Butterworth filter;
    const double delay; ///< seconds
    std::vector<Memory> memories;
};

void LowPassNode::PrivateData::filterMarker(Marker& marker, Memory& memory) const {
    if (!marker.hasPosition()) {
        memory.isRunning = false;
        return;
    }
    Vector3d position = toDouble(marker.position);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (!memory.isRunning) {
            memory.axes.at(axis) = filter.atRest(position[axis]);
        }
        position[axis] = filter.next(position[axis], memory.axes.at(axis));
    }
    memory.isRunning = true;
    marker.position = toSingle(position);
}

void LowPassNode::PrivateData::next(const std::shared_ptr<Frame>& frame,
                                    const MarkerFrame& markers) {
    std::vector<Marker> filtered = markers.toVector();
    for (std::size_t i = 0; i < filtered.size(); ++i) {
        filterMarker(filtered[i], memories[i]);
    }
    emit(std::make_shared<Frame>(frame->time(), frame->dataType(),
                                 MarkerFrame(std::move(filtered))));
}

LowPassNode::LowPassNode(double rate, double cutoff, int order)
    : d_(std::make_shared<PrivateData>(addOFramePort(framePort), rate, cutoff, order)) {
    addIFramePort(framePort, [d = d_](const std::shared_ptr<Frame>& frame) { d->add(frame); });
}

LowPassNode::~LowPassNode() { d_->close(); }

double LowPassNode::delay() const { return d_->delay; }

} // namespace tarn::kit
