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
#include <chrono>
#include <cmath>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tarn::capture {

namespace {

using FramePtr = LiveFrames::FramePtr;

/// A session has a slot for each frame that may come. How many a stream says that it will send must
/// not fill the memory: these are a day at 230 frames per second.
constexpr double mostFrames = 2e7;

constexpr auto beat = std::chrono::milliseconds(5); // how often it is looked whether something came

bool isBody(const link::LinkTrack& track) {
    return (track.dataType == kit::poseDataType || track.dataType == kit::bodyDataType) &&
           track.description.rig != nullptr;
}

/// Whether performers can come from it.
bool isPerformed(const link::LinkTrack& track) {
    return (isBody(track) || track.dataType == kit::markerDataType) && track.description.rate;
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
    Stream& stream = sent_.emplace_back();
    stream.device = &device;
    stream.firstTrack = tracks_.size();
    stream.trackCount = device.tracks().size();
    connections_.emplace_back(device.onSample().connect(
        [instants = stream.instants](const link::LinkSample& sample) { instants->hear(sample); }));
    for (link::LinkTrack& what : device.tracks()) {
        Track track;
        track.stream = device.id();
        const double rate = what.description.rate.value_or(kit::Rate()).value();
        track.most =
            static_cast<std::size_t>(std::clamp(std::ceil(minutes_ * 60 * rate), 1., mostFrames));
        track.frames = std::make_shared<LiveFrames>(track.most);
        track.what = std::move(what);
        connections_.emplace_back(device.oFramePort(port++).connect(
            [frames = track.frames, type = track.what.dataType,
             instants =
                 isPerformed(track.what) ? stream.instants : nullptr](const FramePtr& frame) {
                if (frame->dataType() == type) {
                    if (instants != nullptr) {
                        instants->add(*frame);
                    }
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
    const bool isCounted = count(stopRequested);
    for (const Stream& stream : sent_) {
        stream.instants->close();
    }
    return isCounted;
}

bool LiveTracks::isFinished(const Stream& stream) const {
    const auto begin = tracks_.begin() + static_cast<std::ptrdiff_t>(stream.firstTrack);
    return std::any_of(begin, begin + static_cast<std::ptrdiff_t>(stream.trackCount),
                       [](const Track& track) { return track.frames->isFinished(); });
}

/// Instants of other machines mean nothing before it is known how their clocks stand. One that does
/// not answer is not waited for long.
bool LiveTracks::awaitClocks(const ReceivedStreams::StopRequested& stopRequested) const {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (const Stream& stream : sent_) {
        const bool hasClock = stream.device->status().offer.clock != 0;
        while (hasClock && !stream.device->clock() && !isFinished(stream) &&
               std::chrono::steady_clock::now() < latest) {
            if (stopRequested()) {
                return false;
            }
            std::this_thread::sleep_for(beat);
        }
        stream.instants->tellBy(stream.device->clock());
    }
    return true;
}

/// Waits until a frame has come that was captured then or later, or until none will come.
bool LiveTracks::awaitInstant(const Stream& stream, StreamInstants::Instant instant,
                              const ReceivedStreams::StopRequested& stopRequested) const {
    while (stream.instants->last() < instant && !isFinished(stream)) {
        if (stopRequested()) {
            return false;
        }
        std::this_thread::sleep_for(beat);
    }
    return true;
}

/// The lowest index with which a track of a stream begins.
unsigned LiveTracks::firstOf(const Stream& stream) const {
    std::optional<unsigned> first;
    for (std::size_t i = stream.firstTrack; i < stream.firstTrack + stream.trackCount; ++i) {
        const FramePtr frame = tracks_[i].frames->at(0);
        if (frame != nullptr && isPerformed(tracks_[i].what)) {
            const unsigned index = frame->time().frameIndex();
            first = first ? std::min(*first, index) : index;
        }
    }
    return first.value_or(0);
}

/// Says with which frame each stream begins. False if a stop was requested before.
bool LiveTracks::count(const ReceivedStreams::StopRequested& stopRequested) {
    const bool areSeveral = std::count_if(sent_.begin(), sent_.end(), [](const Stream& stream) {
                                return stream.instants->first().has_value();
                            }) > 1;
    std::optional<StreamInstants::Instant> begin; // of all together
    if (areSeveral) {
        if (!awaitClocks(stopRequested)) {
            return false;
        }
        for (const Stream& stream : sent_) {
            begin = std::max(begin, stream.instants->first());
        }
    }
    for (const Stream& stream : sent_) {
        unsigned first = firstOf(stream);
        std::string problem;
        if (begin && stream.instants->first()) {
            if (!awaitInstant(stream, *begin, stopRequested)) {
                return false;
            }
            first = stream.instants->indexAt(*begin).value_or(first);
            problem = stream.instants->last() < begin ? "had ended before the others began" : "";
        }
        for (std::size_t i = stream.firstTrack; i < stream.firstTrack + stream.trackCount; ++i) {
            tracks_[i].extent = {static_cast<int>(tracks_[i].most), first};
            tracks_[i].problem = problem;
            if (begin && isPerformed(tracks_[i].what)) {
                tracks_[i].frames->beginAt(first);
                if (!tracks_[i].frames->awaitFirst(stopRequested)) {
                    return false;
                }
            }
        }
    }
    return true;
}

std::string LiveTracks::problemOf(const Track& track) const {
    if (!isBody(track.what) && track.what.dataType != kit::markerDataType) {
        return "is neither a body nor markers";
    }
    if (!track.what.description.rate) {
        return "does not say at which rate it comes";
    }
    if (!track.problem.empty()) {
        return track.problem;
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
