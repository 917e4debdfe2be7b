// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/cleaning/MarkerTable.h"

#include <tarn_kit/body/Payload.h>
#include <tarn_kit/session/TakeOf.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarn::kit {

namespace {

/// The markers of a slot, or null where the take lacks the frame.
const MarkerFrame* markersIn(Track& track, int slot) {
    const std::shared_ptr<Frame> frame = track.getFrame(slot);
    return frame == nullptr ? nullptr : &payloadOf<MarkerFrame>(frame);
}

/// A position that is no number is as good as none.
bool isSomewhere(const Marker& marker) {
    return marker.hasPosition() && std::isfinite(marker.position.x) &&
           std::isfinite(marker.position.y) && std::isfinite(marker.position.z);
}

/// How many markers each frame has.
int markerCountOf(Track& track) {
    const MarkerFrame* first = nullptr;
    for (int slot = 0; slot < track.frameCount(); ++slot) {
        const MarkerFrame* const markers = markersIn(track, slot);
        if (first == nullptr) {
            first = markers;
        } else if (markers != nullptr && markers->size() != first->size()) {
            throw std::invalid_argument(
                "frame " + std::to_string(slot) + " has " + std::to_string(markers->size()) +
                " markers, the first one has " + std::to_string(first->size()));
        }
    }
    return first == nullptr ? 0 : static_cast<int>(first->size());
}

} // namespace

MarkerTable::MarkerTable(std::shared_ptr<Tracks> take) : original_(std::move(take)) {
    if (original_ == nullptr) {
        throw std::invalid_argument("there is no take");
    }
    track_ = original_->findTrack(markerDataType);
    if (track_ == nullptr) {
        return;
    }
    frames_ = track_->frameCount();
    markers_ = markerCountOf(*track_);
    values_.resize(static_cast<std::size_t>(frames_) * static_cast<std::size_t>(markers_));
    changed_.resize(static_cast<std::size_t>(frames_));
    for (int frame = 0; frame < frames_; ++frame) {
        if (const MarkerFrame* const markers = markersIn(*track_, frame)) {
            for (int marker = 0; marker < markers_; ++marker) {
                const Marker& value = (*markers)[static_cast<std::size_t>(marker)];
                if (isSomewhere(value)) {
                    values_[place(frame, marker)] = value;
                }
            }
        }
    }
}

std::shared_ptr<Frame> MarkerTable::changedFrame(int slot,
                                                 const std::shared_ptr<Frame>& original) const {
    std::vector<Marker> markers;
    markers.reserve(static_cast<std::size_t>(markers_));
    for (int marker = 0; marker < markers_; ++marker) {
        markers.push_back((*this)(slot, marker));
    }
    const Time time = original != nullptr
                          ? original->time()
                          : original_->getTime(slot + original_->trackOffset(track_));
    return std::make_shared<Frame>(time, markerDataType, MarkerFrame(std::move(markers)));
}

std::shared_ptr<Tracks> MarkerTable::take() const {
    auto result = std::make_shared<Tracks>();
    result->setTracksName(original_->tracksName());
    result->setFps(original_->fps());
    result->setTimeLength(original_->timeLength());
    result->setFrameCount(original_->frameCount());
    result->setWorkRange(original_->workRangeBegin(), original_->workRangeEnd());
    for (const auto& [key, value] : original_->frameIndexMap()) {
        result->setFrameIndexMap(key, value);
    }
    std::shared_ptr<Track> changed;
    if (track_ != nullptr) {
        std::vector<std::shared_ptr<Frame>> frames;
        frames.reserve(static_cast<std::size_t>(frames_));
        for (int slot = 0; slot < frames_; ++slot) {
            std::shared_ptr<Frame> frame = track_->getFrame(slot);
            frames.push_back(changed_[static_cast<std::size_t>(slot)] ? changedFrame(slot, frame)
                                                                      : std::move(frame));
        }
        changed = trackOf(markerDataType, std::move(frames));
    }
    for (int i = 0; i < original_->trackCount(); ++i) {
        const std::shared_ptr<Track> track = original_->getTrack(i);
        result->addTrack(track == track_ ? changed : track, original_->trackOffset(track));
    }
    for (int i = 0; i < original_->subTracksCount(); ++i) {
        const std::shared_ptr<Tracks> nested = original_->subTracks(i);
        result->addSubTracks(nested, original_->subTracksOffset(nested));
    }
    return result;
}

} // namespace tarn::kit
