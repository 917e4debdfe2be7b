// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/codec/KitCodecs.h"

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/solving/MarkerFit.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

// A body at 120 frames per second is encoded thousands of times per second: what lies in memory as
// it is written goes over in one piece.
constexpr std::size_t segmentSize = 7 * sizeof(float);
static_assert(sizeof(Segment) == segmentSize && std::is_trivially_copyable_v<Segment>);

constexpr std::size_t markerSize = 4 * sizeof(float) + 2;
constexpr std::size_t rigidBodySize = 8 * sizeof(float) + 1;
constexpr std::size_t fittedMarkerSize = 4 * sizeof(double) + 1 + sizeof(std::uint64_t);

/// An enumerator that is written as a byte.
template <class Enum>
Enum getEnum(PayloadReader& from, Enum last) {
    const auto value = from.get<std::uint8_t>();
    if (value > static_cast<std::uint8_t>(last)) {
        throw CodecError("unknown state " + std::to_string(value));
    }
    return static_cast<Enum>(value);
}

template <class Values>
Values decodeBytes(PayloadReader& from) {
    Values values(from.left(), typename Values::value_type());
    from.copy(values.data(), values.size(), 1);
    return values;
}

void encodeMarkers(const MarkerFrame& markers, PayloadWriter& to) {
    for (const Marker& marker : markers) {
        to.putAll(&marker.position.x, 3);
        to.put(marker.residual);
        to.put(marker.cameras);
        to.put(static_cast<std::uint8_t>(marker.state));
    }
}

MarkerFrame decodeMarkers(PayloadReader& from) {
    std::vector<Marker> markers(from.countOf(markerSize));
    for (Marker& marker : markers) {
        from.copy(&marker.position, 3, sizeof(float));
        marker.residual = from.get<float>();
        marker.cameras = from.get<std::uint8_t>();
        marker.state = getEnum(from, MarkerState::Filled);
    }
    MarkerFrame frame(std::move(markers));
    return frame;
}

void encodeRigidBodies(const RigidBodyFrame& bodies, PayloadWriter& to) {
    for (const RigidBody& body : bodies) {
        to.append(&body.position, sizeof body.position);
        to.append(&body.rotation, sizeof body.rotation);
        to.put(body.residual);
        to.put(static_cast<std::uint8_t>(body.state));
    }
}

RigidBodyFrame decodeRigidBodies(PayloadReader& from) {
    std::vector<RigidBody> bodies(from.countOf(rigidBodySize));
    for (RigidBody& body : bodies) {
        from.copy(&body.position, 3, sizeof(float));
        from.copy(&body.rotation, 4, sizeof(float));
        body.residual = from.get<float>();
        body.state = getEnum(from, MarkerState::Filled);
    }
    RigidBodyFrame frame(std::move(bodies));
    return frame;
}

void encodeFit(const MarkerFit& fit, PayloadWriter& to) {
    to.put(static_cast<std::uint8_t>(fit.converged));
    to.put(static_cast<std::int32_t>(fit.iterations));
    to.put(fit.seconds);
    for (const FittedMarker& marker : fit) {
        to.append(&marker.position, sizeof marker.position);
        to.put(marker.residual);
        to.put(static_cast<std::uint8_t>(marker.verdict));
        to.put(static_cast<std::uint64_t>(marker.swappedWith));
    }
}

MarkerFit decodeFit(PayloadReader& from) {
    const auto converged = from.get<std::uint8_t>();
    const auto iterations = from.get<std::int32_t>();
    const auto seconds = from.get<double>();
    std::vector<FittedMarker> markers(from.countOf(fittedMarkerSize));
    for (FittedMarker& marker : markers) {
        from.copy(&marker.position, 3, sizeof(double));
        marker.residual = from.get<double>();
        marker.verdict = getEnum(from, MarkerVerdict::Swapped);
        marker.swappedWith = static_cast<std::size_t>(from.get<std::uint64_t>());
    }
    MarkerFit fit(std::move(markers));
    fit.converged = converged != 0;
    fit.iterations = iterations;
    fit.seconds = seconds;
    return fit;
}

} // namespace

void addKitCodecs(Codecs& codecs) {
    using Version = std::uint32_t;
    using Bytes = std::vector<std::byte>;
    codecs.add<Bytes>(
        "tarn.bytes", 1,
        [](const Bytes& bytes, PayloadWriter& to) { to.append(bytes.data(), bytes.size()); },
        [](PayloadReader& from, Version) { return decodeBytes<Bytes>(from); });
    codecs.add<std::string>(
        "tarn.text", 1,
        [](const std::string& text, PayloadWriter& to) { to.append(text.data(), text.size()); },
        [](PayloadReader& from, Version) { return decodeBytes<std::string>(from); });
    codecs.add<Pose>(
        "tarn.pose", 1,
        [](const Pose& pose, PayloadWriter& to) {
            to.putAll(pose.values.data(), pose.values.size());
        },
        [](PayloadReader& from, Version) {
            return Pose{from.getAll<float>(from.countOf(sizeof(float)))};
        });
    codecs.add<BodyPose>(
        "tarn.body", 1,
        [](const BodyPose& body, PayloadWriter& to) {
            to.append(body.segments.data(), body.segments.size() * segmentSize);
        },
        [](PayloadReader& from, Version) {
            BodyPose body;
            body.segments.resize(from.countOf(segmentSize));
            from.copy(body.segments.data(), body.segments.size(), segmentSize);
            return body;
        });
    codecs.add<MarkerFrame>("tarn.markers", 1, encodeMarkers,
                            [](PayloadReader& from, Version) { return decodeMarkers(from); });
    codecs.add<AnalogFrame>(
        "tarn.analog", 1,
        [](const AnalogFrame& samples, PayloadWriter& to) {
            to.putAll(samples.data(), samples.size());
        },
        [](PayloadReader& from, Version) {
            return AnalogFrame(from.getAll<float>(from.countOf(sizeof(float))));
        });
    codecs.add<RigidBodyFrame>(
        "tarn.rigidbodies", 1, encodeRigidBodies,
        [](PayloadReader& from, Version) { return decodeRigidBodies(from); });
    codecs.add<MarkerFit>("tarn.markerfit", 1, encodeFit,
                          [](PayloadReader& from, Version) { return decodeFit(from); });
}

} // namespace tarn::kit
