// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/GapFillingNode.h>

#include <tarn_kit/session/TakeOf.h>

#include "processing/cleaning/MarkerStage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <deque>
#include <stdexcept>
#include <vector>

namespace tarn::kit {

struct GapFillingNode::PrivateData : MarkerStage {
    PrivateData(tsignal::Signal<std::shared_ptr<Frame>>& out, const GapFillingOptions& how,
                double delaySeconds, double memorySeconds);

    void begin(std::size_t /*markers*/) override { letAllLeave(); }
    void next(const std::shared_ptr<Frame>& frame, const MarkerFrame& markers) override;
    void flush() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!isClosed()) {
            letAllLeave();
        }
    }
    std::int64_t counted(const std::int64_t& count) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return count;
    }
    void letAllLeave();
    /// Lets the oldest frame leave that is held back.
    void letLeave();
    bool hasGapThatEnds();
    void fill();
    const MarkerFrame& markersAt(std::size_t place) const {
        return payloadOf<MarkerFrame>(window[place]);
    }

    GapFillingOptions options;
    std::size_t delay = 0;  ///< frames
    std::size_t memory = 0; ///< frames that have left and are remembered
    std::deque<std::shared_ptr<Frame>> window;
    std::size_t left = 0; ///< how many of the window have left
    std::int64_t filled = 0;
    std::int64_t missing = 0;
};

GapFillingNode::PrivateData::PrivateData(tsignal::Signal<std::shared_ptr<Frame>>& out,
                                         const GapFillingOptions& how, double delaySeconds,
                                         double memorySeconds)
    : MarkerStage(out), options(how) {
    constexpr double mostFrames = 1e6;
    if (!(how.rate > 0) || !std::isfinite(how.rate)) {
        throw std::invalid_argument("the rate has to be greater than 0");
    }
    const double held = std::round(delaySeconds * how.rate);
    const double remembered = std::round(memorySeconds * how.rate);
    if (!(held >= 1) || !(remembered > held) || !(remembered <= mostFrames)) {
        throw std::invalid_argument("the delay has to be a frame at least, the memory longer than "
                                    "it, and of a million frames at most");
    }
    delay = static_cast<std::size_t>(held);
    memory = static_cast<std::size_t>(remembered);
    constexpr double half = 0.5; // so that rounding does not take the last frame
    const double longest = (held + half) / how.rate;
    options.longestGap = std::min(how.longestGap.value_or(longest), longest);
    options.longestEnd = 0;
}

void GapFillingNode::PrivateData::next(const std::shared_ptr<Frame>& frame,
                                       const MarkerFrame& /*markers*/) {
    window.push_back(frame);
    while (window.size() - left > delay) {
        letLeave();
    }
    while (left > memory) {
        window.pop_front();
        --left;
    }
}

void GapFillingNode::PrivateData::letAllLeave() {
    while (left < window.size()) {
        letLeave();
    }
    window.clear();
    left = 0;
}

/// Whether the oldest frame held back lacks a marker that was seen before it and is seen behind it.
bool GapFillingNode::PrivateData::hasGapThatEnds() {
    if (left == 0) {
        return false;
    }
    const MarkerFrame& oldest = markersAt(left);
    for (std::size_t marker = 0; marker < oldest.size(); ++marker) {
        if (oldest[marker].hasPosition() || !markersAt(left - 1)[marker].hasPosition()) {
            continue; // it is there, or its gap was looked at before
        }
        for (std::size_t place = left + 1; place < window.size(); ++place) {
            if (markersAt(place)[marker].hasPosition()) {
                return true;
            }
        }
    }
    return false;
}

void GapFillingNode::PrivateData::fill() {
    const auto take = takeOf(markerDataType, {window.begin(), window.end()},
                             static_cast<int>(std::lround(options.rate)));
    const std::shared_ptr<Tracks> changed = fillGaps(take, options).take;
    for (std::size_t place = left; place < window.size(); ++place) {
        window[place] = changed->getFrame(static_cast<int>(place), markerDataType);
    }
}

void GapFillingNode::PrivateData::letLeave() {
    if (hasGapThatEnds()) {
        fill();
    }
    const std::shared_ptr<Frame> frame = window[left];
    for (const Marker& marker : markersAt(left)) {
        filled += marker.state == MarkerState::Filled ? 1 : 0;
        missing += marker.hasPosition() ? 0 : 1;
    }
    ++left; // before the frame goes: a slot may throw
    emit(frame);
}

GapFillingNode::GapFillingNode(const GapFillingOptions& options, double delay, double memory)
    : d_(std::make_shared<PrivateData>(addOFramePort(framePort), options, delay, memory)) {
    addIFramePort(framePort, [d = d_](const std::shared_ptr<Frame>& frame) { d->add(frame); });
}

GapFillingNode::~GapFillingNode() { d_->close(); }

int GapFillingNode::delayFrames() const { return static_cast<int>(d_->delay); }

double GapFillingNode::delay() const { return delayFrames() / d_->options.rate; }

std::int64_t GapFillingNode::filledSamples() const { return d_->counted(d_->filled); }

std::int64_t GapFillingNode::missingSamples() const { return d_->counted(d_->missing); }

void GapFillingNode::flush() { d_->flush(); }

} // namespace tarn::kit
