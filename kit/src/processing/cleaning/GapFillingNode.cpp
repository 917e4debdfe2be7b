// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/GapFillingNode.h>

#include "processing/cleaning/DelayedMarkers.h"

#include <algorithm>
#include <cstddef>

namespace tarn::kit {

struct GapFillingNode::PrivateData : DelayedMarkers {
    PrivateData(tsignal::Signal<std::shared_ptr<Frame>>& out, const GapFillingOptions& how,
                double delay, double memory);

    void mendOldest() override;
    void count(const MarkerFrame& oldest) override;
    bool hasGapThatEnds() const;

    GapFillingOptions options;
    std::int64_t filled = 0;
    std::int64_t missing = 0;
};

GapFillingNode::PrivateData::PrivateData(tsignal::Signal<std::shared_ptr<Frame>>& out,
                                         const GapFillingOptions& how, double delay, double memory)
    : DelayedMarkers(out, how.rate, delay, memory), options(how) {
    constexpr double half = 0.5; // so that rounding does not take the last frame
    const double longest = (static_cast<double>(delayFrames()) + half) / how.rate;
    options.longestGap = std::min(how.longestGap.value_or(longest), longest);
    options.longestEnd = 0;
}

/// Whether the oldest frame held back lacks a marker that was seen before it and is seen behind it.
bool GapFillingNode::PrivateData::hasGapThatEnds() const {
    if (left() == 0) {
        return false;
    }
    const MarkerFrame& oldest = markersAt(left());
    for (std::size_t marker = 0; marker < oldest.size(); ++marker) {
        if (oldest[marker].hasPosition() || !markersAt(left() - 1)[marker].hasPosition()) {
            continue; // it is there, or its gap was looked at before
        }
        for (std::size_t place = left() + 1; place < window().size(); ++place) {
            if (markersAt(place)[marker].hasPosition()) {
                return true;
            }
        }
    }
    return false;
}

void GapFillingNode::PrivateData::mendOldest() {
    if (!hasGapThatEnds()) {
        return;
    }
    const std::shared_ptr<Tracks> changed = fillGaps(windowTake(), options).take;
    for (std::size_t place = left(); place < window().size(); ++place) {
        replace(place, changed->getFrame(static_cast<int>(place), markerDataType));
    }
}

void GapFillingNode::PrivateData::count(const MarkerFrame& oldest) {
    for (const Marker& marker : oldest) {
        filled += marker.state == MarkerState::Filled ? 1 : 0;
        missing += marker.hasPosition() ? 0 : 1;
    }
}

GapFillingNode::GapFillingNode(const GapFillingOptions& options, double delay, double memory)
    : d_(std::make_shared<PrivateData>(addOFramePort(framePort), options, delay, memory)) {
    addIFramePort(framePort, [d = d_](const std::shared_ptr<Frame>& frame) { d->add(frame); });
}

GapFillingNode::~GapFillingNode() { d_->close(); }

int GapFillingNode::delayFrames() const { return static_cast<int>(d_->delayFrames()); }

double GapFillingNode::delay() const { return delayFrames() / d_->rate(); }

std::int64_t GapFillingNode::filledSamples() const {
    return d_->locked([this] { return d_->filled; });
}

std::int64_t GapFillingNode::missingSamples() const {
    return d_->locked([this] { return d_->missing; });
}

void GapFillingNode::flush() { d_->flush(); }

} // namespace tarn::kit
