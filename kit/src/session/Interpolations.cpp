// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/Interpolations.h"

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/body/Rotations.h>

#include "body/Kinematics.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

double mix(float a, float b, double fraction) {
    const auto from = static_cast<double>(a);
    return from + fraction * (static_cast<double>(b) - from);
}

Vector3d mix(const Vector3d& a, const Vector3d& b, double fraction) {
    return a + fraction * (b - a);
}

Vector3f mix(const Vector3f& a, const Vector3f& b, double fraction) {
    return toSingle(mix(toDouble(a), toDouble(b), fraction));
}

std::any bodyBetween(const Frame& before, const Frame& after, double fraction) {
    const auto& a = payloadOf<BodyPose>(before).segments;
    const auto& b = payloadOf<BodyPose>(after).segments;
    if (a.size() != b.size()) {
        return before.data(); // another body: nothing lies between the two
    }
    BodyPose body;
    body.segments.reserve(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Quaterniond turned = slerp(normalized(toDouble(a[i].rotation)),
                                         normalized(toDouble(b[i].rotation)), fraction);
        body.segments.push_back({mix(a[i].position, b[i].position, fraction), toSingle(turned)});
    }
    return body;
}

Marker markerBetween(const Marker& a, const Marker& b, double fraction) {
    if (!a.hasPosition() || !b.hasPosition()) {
        return {};
    }
    Marker marker = a;
    marker.position = mix(a.position, b.position, fraction);
    marker.residual = toSingle(mix(a.residual, b.residual, fraction));
    marker.cameras = static_cast<std::uint8_t>(a.cameras & b.cameras);
    marker.state = std::max(a.state, b.state); // filled, if one of them is
    return marker;
}

std::any markersBetween(const Frame& before, const Frame& after, double fraction) {
    const auto& a = payloadOf<MarkerFrame>(before);
    const auto& b = payloadOf<MarkerFrame>(after);
    std::vector<Marker> markers;
    markers.reserve(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        markers.push_back(i < b.size() ? markerBetween(a[i], b[i], fraction) : Marker());
    }
    return MarkerFrame(std::move(markers));
}

std::any analogBetween(const Frame& before, const Frame& after, double fraction) {
    const auto& a = payloadOf<AnalogFrame>(before);
    const auto& b = payloadOf<AnalogFrame>(after);
    if (a.size() != b.size()) {
        return before.data();
    }
    std::vector<float> values;
    values.reserve(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        values.push_back(toSingle(mix(a[i], b[i], fraction)));
    }
    return AnalogFrame(std::move(values));
}

Pose poseBetween(const Rig& rig, const Pose& before, const Pose& after, double fraction) {
    Transforms local;
    Transforms next;
    setLocal(rig, before, local);
    setLocal(rig, after, next);
    for (std::size_t i = 0; i < local.size(); ++i) {
        local[i].rotation = slerp(local[i].rotation, next[i].rotation, fraction);
        local[i].position = mix(local[i].position, next[i].position, fraction);
    }
    makeWorld(rig, local);
    BodyPose body;
    body.segments.reserve(local.size());
    for (const Transform& transform : local) {
        body.segments.push_back({toSingle(transform.position), toSingle(transform.rotation)});
    }
    return poseOf(rig, body, before);
}

} // namespace

const std::map<int, Interpolation>& interpolationsOfTheKit() {
    static const std::map<int, Interpolation> all = {
        {bodyDataType, bodyBetween},
        {markerDataType, markersBetween},
        {analogDataType, analogBetween},
    };
    return all;
}

Interpolation poseInterpolation(std::shared_ptr<const Rig> rig) {
    return [rig = std::move(rig)](const Frame& before, const Frame& after, double fraction) {
        return std::any(
            poseBetween(*rig, payloadOf<Pose>(before), payloadOf<Pose>(after), fraction));
    };
}

} // namespace tarn::kit
