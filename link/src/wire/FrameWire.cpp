// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/FrameWire.h"

#include "wire/Refusal.h"

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/RigidBodies.h>

#include <algorithm>
#include <any>
#include <cmath>
#include <cstring>
#include <limits>

namespace tarn::link {

namespace {

constexpr std::size_t longestCodecName = 100;
constexpr std::uint32_t fastest = 1'000'000; // frames per second

/// Of what waits in a reader for a host that is busy.
constexpr std::size_t mostWaitingBytes = std::size_t(64) << 20;

/// What a packet of any network takes, a tunnel's as well, less the headers of the transport.
constexpr std::size_t partBytes = 1'200;
constexpr std::size_t itemOverhead = 48;

FrameItem itemIn(const tarn_wire_Item& from) {
    if (from.track >= maxTracks) {
        throw Refusal("a frame of a track that there cannot be");
    }
    if (from.frame_index > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max()) ||
        from.fps > fastest) {
        throw Refusal("a frame of a time that there cannot be");
    }
    const std::size_t nameSize = from.codec == nullptr ? 0 : std::strlen(from.codec);
    const bool isName =
        nameSize > 0 && nameSize <= longestCodecName &&
        std::all_of(from.codec, from.codec + nameSize, [](char c) { return c > ' ' && c <= '~'; });
    if (!isName) {
        throw Refusal("a frame by a codec without a name");
    }
    FrameItem item;
    item.track = from.track;
    item.number = from.number;
    item.time = Time(from.frame_index, from.fps);
    item.codec = {from.codec, from.codec_version};
    item.bytes.resize(from.bytes._length);
    if (!item.bytes.empty()) {
        std::memcpy(item.bytes.data(), from.bytes._buffer, item.bytes.size());
    }
    return item;
}

bool isFinite(const Vector3f& v) { return std::isfinite(v.x + v.y + v.z); }
bool isFinite(const Quaternionf& q) { return std::isfinite(q.x + q.y + q.z + q.w); }

/// Whether a payload of a kind that a description says something about is as it says. Sums of
/// numbers are finite only where all of them are.
bool isAsDescribed(const std::any& payload, const kit::TrackDescription& description) {
    const kit::Rig* const rig = description.rig.get();
    const std::size_t labels = description.labels.size();
    const auto isCount = [labels](std::size_t count) { return labels == 0 || count == labels; };
    if (const auto* const body = std::any_cast<kit::BodyPose>(&payload)) {
        return (rig == nullptr || body->segments.size() == rig->nodes().size()) &&
               std::all_of(body->segments.begin(), body->segments.end(),
                           [](const kit::Segment& segment) {
                               return isFinite(segment.position) && isFinite(segment.rotation);
                           });
    }
    if (const auto* const pose = std::any_cast<kit::Pose>(&payload)) {
        return (rig == nullptr || pose->values.size() == rig->valueCount()) &&
               std::all_of(pose->values.begin(), pose->values.end(),
                           [](float value) { return std::isfinite(value); });
    }
    if (const auto* const markers = std::any_cast<kit::MarkerFrame>(&payload)) {
        return isCount(markers->size()) &&
               std::all_of(markers->begin(), markers->end(), [](const kit::Marker& marker) {
                   return !marker.hasPosition() || isFinite(marker.position);
               });
    }
    if (const auto* const analog = std::any_cast<kit::AnalogFrame>(&payload)) {
        return isCount(analog->size());
    }
    if (const auto* const bodies = std::any_cast<kit::RigidBodyFrame>(&payload)) {
        return isCount(bodies->size());
    }
    return true; // the codec's own word
}

/// Whether a payload that is known here belongs to frames of the data type.
bool isOfType(const std::any& payload, int dataType) {
    const std::type_info& type = payload.type();
    switch (dataType) {
    case kit::poseDataType:
        return type == typeid(kit::Pose);
    case kit::bodyDataType:
        return type == typeid(kit::BodyPose);
    case kit::markerDataType:
        return type == typeid(kit::MarkerFrame);
    case kit::analogDataType:
        return type == typeid(kit::AnalogFrame);
    case kit::rigidBodyDataType:
        return type == typeid(kit::RigidBodyFrame);
    default:
        return true; // a host's own
    }
}

std::size_t sizeOf(const void* sample) {
    const auto& frame = *static_cast<const tarn_wire_Frame*>(sample);
    std::size_t bytes = sizeof frame;
    for (std::uint32_t i = 0; i < frame.items._length; ++i) {
        bytes += sizeof(tarn_wire_Item) + frame.items._buffer[i].bytes._length;
    }
    return bytes;
}

Bounds frameBounds(double samplesPerSecond) {
    Bounds bounds;
    bounds.perSecond = bounds.burst = samplesPerSecond;
    bounds.bytes = mostWaitingBytes;
    bounds.sizeOf = &sizeOf;
    return bounds;
}

/// The items from `first` on, up to `end`. Returns the middleware's code.
dds_return_t writeItems(const Writer& writer, const FrameSample& sample, std::size_t first,
                        std::size_t end) {
    std::vector<tarn_wire_Item> items(end - first);
    for (std::size_t i = 0; i < items.size(); ++i) {
        // The middleware only reads what it is given to write.
        const FrameItem& from = sample.items[first + i];
        tarn_wire_Item& to = items[i];
        to.track = static_cast<std::uint16_t>(from.track);
        to.number = from.number;
        to.frame_index = from.time.frameIndex();
        to.fps = from.time.fps();
        to.codec = const_cast<char*>(from.codec.name.c_str()); // NOLINT(*-const-cast)
        to.codec_version = from.codec.version;
        to.bytes._maximum = to.bytes._length = static_cast<std::uint32_t>(from.bytes.size());
        // NOLINTNEXTLINE(*-const-cast,*-reinterpret-cast)
        to.bytes._buffer =
            reinterpret_cast<std::uint8_t*>(const_cast<std::byte*>(from.bytes.data()));
    }
    tarn_wire_Frame frame{};
    frame.stream = sample.stream;
    frame.number = sample.number;
    frame.captured = sample.captured;
    frame.items._maximum = frame.items._length = static_cast<std::uint32_t>(items.size());
    frame.items._buffer = items.data();
    return writer.write(&frame);
}

} // namespace

EndSettings frameEnd(const std::string& stream, double samplesPerSecond) {
    return {&tarn_wire_Frame_desc,        frameTopic, Delivery::EveryFrame, stream, frameDepth,
            frameBounds(samplesPerSecond)};
}

EndSettings newestEnd(const std::string& stream, double samplesPerSecond) {
    return {&tarn_wire_Frame_desc,        newestTopic, Delivery::Newest, stream, frameDepth,
            frameBounds(samplesPerSecond)};
}

dds_return_t write(const Writer& writer, const FrameSample& sample) {
    return writeItems(writer, sample, 0, sample.items.size());
}

void writeParts(const Writer& writer, const FrameSample& sample) {
    std::size_t first = 0;
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < sample.items.size(); ++i) {
        const FrameItem& item = sample.items[i];
        const std::size_t more = item.bytes.size() + item.codec.name.size() + itemOverhead;
        if (i > first && bytes + more > partBytes) {
            writeItems(writer, sample, first, i);
            first = i;
            bytes = 0;
        }
        bytes += more;
    }
    writeItems(writer, sample, first, sample.items.size());
}

FrameSample frameSampleIn(const tarn_wire_Frame& sample) {
    if (sample.items._length > maxTracks) {
        throw Refusal("a sample of more tracks than there can be");
    }
    FrameSample to;
    to.stream = sample.stream;
    to.number = sample.number;
    to.captured = sample.captured;
    to.items.reserve(sample.items._length);
    for (std::size_t i = 0; i < sample.items._length; ++i) {
        to.items.push_back(itemIn(sample.items._buffer[i]));
    }
    return to;
}

std::shared_ptr<Frame> frameIn(const FrameItem& item, const StreamTrack& track,
                               const kit::Codecs& codecs) {
    std::any payload;
    try {
        payload = codecs.decode(item.codec, item.bytes.data(), item.bytes.size());
    } catch (const kit::CodecError& error) {
        throw Refusal(std::string("a frame that is broken: ") + error.what());
    }
    // What no codec here knows goes on as the bytes that it is.
    const bool isUnknown = std::any_cast<kit::EncodedPayload>(&payload) != nullptr;
    if (!isUnknown &&
        (!isOfType(payload, track.dataType) || !isAsDescribed(payload, track.description))) {
        throw Refusal("a frame that is not what its track was described to have");
    }
    return std::make_shared<Frame>(item.time, track.dataType, std::move(payload));
}

} // namespace tarn::link
