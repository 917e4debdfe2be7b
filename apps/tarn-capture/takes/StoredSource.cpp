// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/StoredSource.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"

#include <fmt/format.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_store/file/StoredTakes.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

constexpr std::int64_t longestDelay = 10'000'000; ///< frames

bool isShown(const store::StoredTrack& track) {
    const int type = track.dataType;
    const bool isBody = (type == kit::poseDataType || type == kit::bodyDataType) &&
                        track.description.rig != nullptr;
    return (isBody || type == kit::markerDataType) && track.frames > 0;
}

double rateOf(const store::StoredTrack& track) {
    return track.description.rate.value_or(kit::Rate()).value();
}

double startOf(const store::StoredTrack& track) {
    return static_cast<double>(track.firstSlot) / rateOf(track);
}

/// The take with empty slots in front.
std::shared_ptr<Tracks> delayed(const std::shared_ptr<Tracks>& take, int dataType,
                                std::int64_t delay) {
    if (delay == 0) {
        return take;
    }
    std::vector<std::shared_ptr<Frame>> frames(static_cast<std::size_t>(delay));
    for (int i = 0; i < take->timeLength(); ++i) {
        frames.push_back(take->getFrame(i, dataType));
    }
    return kit::takeOf(dataType, std::move(frames), take->fps());
}

} // namespace

StoredSource::StoredSource(const std::string& file, std::string subject)
    : reader_(file), subject_(std::move(subject)), tracks_(reader_.tracks()),
      start_(std::numeric_limits<double>::infinity()) {
    tracks_.erase(std::remove_if(tracks_.begin(), tracks_.end(),
                                 [](const auto& track) { return !isShown(track); }),
                  tracks_.end());
    for (const store::StoredTrack& track : tracks_) {
        start_ = std::min(start_, startOf(track));
    }
}

bool StoredSource::isChosen(const std::string& subject) const {
    return subject_.empty() || subject == subject_;
}

const store::StoredTrack& StoredSource::trackOf(const std::string& subject,
                                                std::initializer_list<int> dataTypes) const {
    for (const int type : dataTypes) {
        for (const store::StoredTrack& track : tracks_) {
            if (track.dataType == type && track.description.subject == subject) {
                return track;
            }
        }
    }
    throw store::StoreError(reader_.file(), store::StoreProblem::Unsupported,
                            fmt::format("has no frames of '{}'", kit::printable(subject)));
}

std::int64_t StoredSource::delayOf(const store::StoredTrack& track) const {
    const double delay = std::round((startOf(track) - start_) * rateOf(track));
    if (!(delay <= static_cast<double>(longestDelay))) {
        throw store::StoreError(reader_.file(), store::StoreProblem::Unsupported,
                                fmt::format("'{}' begins {} s after the others",
                                            kit::printable(track.description.subject),
                                            startOf(track) - start_));
    }
    return static_cast<std::int64_t>(delay);
}

std::vector<kit::PerformerTake> StoredSource::performers(const SpaceChoice& space) {
    std::vector<kit::PerformerTake> performers;
    const std::string file = kit::printable(reader_.file().string());
    for (const std::string& subject : store::bodiesIn(reader_)) {
        if (!isChosen(subject)) {
            continue;
        }
        const store::StoredTrack& track = trackOf(subject, {kit::poseDataType, kit::bodyDataType});
        const kit::BvhTake take = withSpace(store::bodyTakeOf(reader_, subject), space);
        const std::int64_t delay = delayOf(track);
        performers.push_back({subject.empty() ? takeNameOf(file) : subject, take.rig,
                              delayed(take.tracks, kit::poseDataType, delay), take.exactRate(),
                              track.firstSlot - delay, file});
    }
    return performers;
}

std::vector<MarkerSource> StoredSource::markers(const SpaceChoice& space) {
    std::vector<MarkerSource> sources;
    for (const std::string& subject : store::markersIn(reader_)) {
        if (!isChosen(subject)) {
            continue;
        }
        const std::int64_t delay = delayOf(trackOf(subject, {kit::markerDataType}));
        const kit::C3dTake take = withSpace(store::markerTakeOf(reader_, subject), space);
        MarkerSource& source = sources.emplace_back(
            markersIn(take, subject.empty() ? takeNameOf(reader_.file().string()) : subject));
        source.cloud.take = delayed(source.cloud.take, kit::markerDataType, delay);
        source.cloud.firstFrame -= delay;
        for (view::Event& event : source.events) {
            event.seconds += static_cast<double>(delay) / source.cloud.rate.value();
        }
    }
    return sources;
}

std::vector<view::Event> StoredSource::notes() {
    std::vector<view::Event> events;
    for (const store::Note& note : reader_.notes()) {
        if (note.kind == "note" && note.frame && !tracks_.empty()) {
            events.push_back({static_cast<double>(*note.frame) / rateOf(tracks_.front()) - start_,
                              note.label.empty() ? note.text : note.label});
        }
    }
    return events;
}

} // namespace tarn::capture
