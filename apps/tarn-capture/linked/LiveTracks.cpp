// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveTracks.h"

#include "linked/LiveDevice.h"

#include <fmt/format.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_store/file/StoredTakes.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

using FramePtr = LiveFrames::FramePtr;

bool isBody(const link::LinkTrack& track) {
    return (track.dataType == kit::poseDataType || track.dataType == kit::bodyDataType) &&
           track.description.rig != nullptr;
}

/// Frames of solved bodies as the poses that they are in.
FramePtr poseOfBody(const kit::Rig& rig, const FramePtr& frame, const FramePtr& before) {
    const auto* const body = std::any_cast<kit::BodyPose>(&frame->data());
    if (body == nullptr) {
        return nullptr;
    }
    try {
        const kit::Pose pose = before == nullptr
                                   ? kit::poseOf(rig, *body)
                                   : kit::poseOf(rig, *body, before->dataAs<kit::Pose>());
        return std::make_shared<Frame>(frame->time(), kit::poseDataType, pose);
    } catch (const std::invalid_argument&) {
        return nullptr; // it is missed by the session
    }
}

TakeDevice bodyDevice(const link::LinkTrack& track, const std::shared_ptr<LiveFrames>& frames,
                      const LiveExtent& extent, const SpaceChoice& space, const std::string& name) {
    const kit::Rate rate = *track.description.rate;
    TakeDevice made;
    kit::BvhTake take;
    // The description was made for this receiver: its rig is nobody else's.
    take.rig = std::const_pointer_cast<kit::Rig>(track.description.rig);
    take.tracks = kit::takeOf(kit::poseDataType, {}, rate.fps());
    take.tracks->setTracksName(name);
    take.frameTime = rate.frameTime();
    made.take = withSpace(std::move(take), space);
    LiveDevice::Convert convert;
    if (track.dataType == kit::bodyDataType) {
        convert = [rig = made.take.rig](const FramePtr& frame, const FramePtr& before) {
            return poseOfBody(*rig, frame, before);
        };
    }
    made.device =
        std::make_unique<LiveDevice>(name, kit::ReplayDevice::posePort, frames, std::move(convert));
    made.live = extent;
    return made;
}

/// The take of markers as far as it has come, which is one frame at least.
kit::C3dTake beginningOf(const link::LinkTrack& track, const LiveFrames& frames) {
    constexpr std::size_t enough = 200; // to see who stands how
    kit::C3dTake take = store::markerTakeOf(track.description);
    std::vector<FramePtr> came;
    for (FramePtr frame = frames.at(0); frame != nullptr && came.size() < enough;
         frame = frames.at(came.size())) {
        came.push_back(std::move(frame));
    }
    take.firstFrame += came.front()->time().frameIndex();
    take.frameCount = static_cast<int>(came.size());
    take.tracks = kit::takeOf(kit::markerDataType, std::move(came), track.description.rate->fps());
    take.tracks->setTracksName(track.description.subject);
    return take;
}

FramePtr changedBy(const MarkerChange& change, const FramePtr& frame) {
    const auto* const markers = std::any_cast<kit::MarkerFrame>(&frame->data());
    return markers == nullptr
               ? nullptr
               : std::make_shared<Frame>(frame->time(), kit::markerDataType, change(*markers));
}

} // namespace

LiveTracks::LiveTracks(ReceivedStreams& streams, double minutes)
    : streams_(streams), minutes_(minutes) {
    for (const auto& device : streams.devices()) {
        add(*device);
    }
}

LiveTracks::~LiveTracks() = default;

void LiveTracks::add(link::LinkDevice& device) {
    int port = 0;
    std::vector<std::shared_ptr<LiveFrames>> added;
    for (link::LinkTrack& what : device.tracks()) {
        Track track;
        track.stream = device.id();
        const double rate = what.description.rate.value_or(kit::Rate()).value();
        track.most = static_cast<std::size_t>(std::clamp(std::ceil(minutes_ * 60 * rate), 1., 1e9));
        track.frames = std::make_shared<LiveFrames>(track.most);
        track.what = std::move(what);
        connections_.emplace_back(device.oFramePort(port++).connect(
            [frames = track.frames, type = track.what.dataType](const FramePtr& frame) {
                if (frame->dataType() == type) {
                    frames->add(frame);
                }
            }));
        added.push_back(track.frames);
        tracks_.push_back(std::move(track));
    }
    // A stream is busy until it has put out its last frame.
    connections_.emplace_back(device.onStateChanged().connect(
        [added, wasBusy = false](Device::DeviceState state) mutable {
            if (std::exchange(wasBusy, state == Device::Busy) && state != Device::Busy) {
                for (const auto& frames : added) {
                    frames->finish();
                }
            }
        }));
}

bool LiveTracks::start(const ReceivedStreams::StopRequested& stopRequested) {
    streams_.start();
    std::size_t track = 0;
    for (const auto& device : streams_.devices()) {
        const bool isOver = !device->isBusy(); // it has ended already, and says no more
        for (; track < tracks_.size() && tracks_[track].stream == device->id(); ++track) {
            if (isOver) {
                tracks_[track].frames->finish();
            }
        }
    }
    for (const Track& live : tracks_) {
        if (!live.frames->awaitFirst(stopRequested)) {
            return false;
        }
    }
    count();
    return true;
}

/// The frame that counts as the first one is that of the whole stream.
void LiveTracks::count() {
    std::map<std::string, unsigned> firsts;
    for (const Track& track : tracks_) {
        if (const FramePtr frame = track.frames->at(0)) {
            const unsigned index = frame->time().frameIndex();
            const auto first = firsts.emplace(track.stream, index).first;
            first->second = std::min(first->second, index);
        }
    }
    for (Track& track : tracks_) {
        track.extent = {static_cast<int>(track.most), firsts[track.stream]};
    }
}

std::string LiveTracks::problemOf(const Track& track) const {
    if (!isBody(track.what) && track.what.dataType != kit::markerDataType) {
        return "is neither a body nor markers";
    }
    if (!track.what.description.rate) {
        return "does not say at which rate it comes";
    }
    if (track.frames->at(0) == nullptr) {
        return "has no frames";
    }
    const bool hasPoses =
        track.what.dataType == kit::bodyDataType &&
        std::any_of(tracks_.begin(), tracks_.end(), [&track](const Track& other) {
            return other.stream == track.stream && other.what.dataType == kit::poseDataType &&
                   other.what.description.subject == track.what.description.subject;
        });
    return hasPoses ? "comes as poses, too, and those are used" : "";
}

SessionSource LiveTracks::sourceOf(const Track& track, const SpaceChoice& space) {
    const std::string& subject = track.what.description.subject;
    SessionSource source;
    source.from = track.stream;
    if (isBody(track.what)) {
        source.candidates.push_back({"", performerName(subject.empty() ? track.stream : subject)});
        source.body = [track, space](const std::string& name) {
            return bodyDevice(track.what, track.frames, track.extent, space, name);
        };
        return source;
    }
    source.markers = beginningOf(track.what, *track.frames);
    source.recordedAs = subject.empty() ? track.stream : subject;
    source.live = track.extent;
    for (const std::string& worn : subjectsIn(*source.markers)) {
        source.candidates.push_back({worn, performerName(!worn.empty()     ? worn
                                                         : subject.empty() ? track.stream
                                                                           : subject)});
    }
    source.markerDevice =
        [frames = track.frames](const std::string& name, const kit::C3dTake& /*take*/,
                                const MarkerChange& change) -> std::unique_ptr<Device> {
        return std::make_unique<LiveDevice>(
            name, kit::ReplayDevice::markerPort, frames,
            [change](const FramePtr& frame, const FramePtr& /*before*/) {
                return changedBy(change, frame);
            });
    };
    return source;
}

std::vector<SessionSource> LiveTracks::sources(const SpaceChoice& space) {
    std::vector<SessionSource> sources;
    passedOver_.clear();
    for (const Track& track : tracks_) {
        const std::string problem = problemOf(track);
        if (problem.empty()) {
            sources.push_back(sourceOf(track, space));
        } else {
            passedOver_.push_back(fmt::format("'{}' of '{}' {}",
                                              kit::printable(track.what.description.subject),
                                              track.stream, problem));
        }
    }
    if (sources.empty()) {
        throw std::runtime_error(
            fmt::format("nobody to capture: {}",
                        passedOver_.empty() ? "the streams have no tracks" : passedOver_.front()));
    }
    return sources;
}

bool LiveTracks::areFull() const {
    return std::any_of(tracks_.begin(), tracks_.end(),
                       [](const Track& track) { return track.frames->isFull(); });
}

} // namespace tarn::capture
