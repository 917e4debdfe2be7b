// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/writing/C3dSamples.h"

#include <algorithm>
#include <any>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace tarn::kit {

namespace {

/// The payload of a frame; throws if there is none of the type, or not of the size.
template <class Payload>
const Payload& payloadAt(Tracks& tracks, int index, int dataType, std::size_t size,
                         const char* what) {
    const std::shared_ptr<Frame> frame = tracks.getFrame(index, dataType);
    const auto* const payload = frame == nullptr ? nullptr : std::any_cast<Payload>(&frame->data());
    if (payload == nullptr || payload->size() != size) {
        refuseC3d("index " + std::to_string(index) + " shows no frame of " + std::to_string(size) +
                  " " + what);
    }
    return *payload; // the take keeps the frame
}

} // namespace

void refuseC3d(const std::string& reason) {
    throw std::invalid_argument("a C3D file cannot hold this take: " + reason);
}

C3dSamples::C3dSamples(const C3dTake& take) : take_(take) {
    if (take.tracks == nullptr) {
        refuseC3d("it has no tracks");
    }
    if (!std::isfinite(take.rate) || !(take.rate > 0)) {
        refuseC3d("it has no rate");
    }
    frames = take.tracks->timeLength();
    checkAnalog();
    checkBodies();
    for (int i = 0; i < frames; ++i) {
        markers(i);
    }
    for (int i = 0; i < samples; ++i) {
        analog(i);
    }
    for (int i = 0; i < bodySamples; ++i) {
        bodies(i);
    }
}

const MarkerFrame& C3dSamples::markers(int index) const {
    return payloadAt<MarkerFrame>(*take_.tracks, index, markerDataType, take_.markers.size(),
                                  "markers");
}

const AnalogFrame& C3dSamples::analog(int index) const {
    return payloadAt<AnalogFrame>(*take_.analogTracks, index, analogDataType, take_.channels.size(),
                                  "channels");
}

const RigidBodyFrame& C3dSamples::bodies(int index) const {
    return payloadAt<RigidBodyFrame>(*take_.bodyTracks, index, rigidBodyDataType,
                                     take_.bodies.size(), "rigid bodies");
}

void C3dSamples::checkAnalog() {
    if (take_.channels.empty()) {
        return;
    }
    const auto perFrame = static_cast<std::uint64_t>(std::max(take_.samplesPerFrame, 0));
    if (perFrame == 0) {
        refuseC3d("it has channels, but no samples to a frame");
    }
    samples = take_.analogTracks == nullptr ? 0 : take_.analogTracks->timeLength();
    if (static_cast<std::uint64_t>(samples) != static_cast<std::uint64_t>(frames) * perFrame) {
        refuseC3d("it has " + std::to_string(samples) + " analog samples for " +
                  std::to_string(frames) + " frames");
    }
}

void C3dSamples::checkBodies() {
    if (take_.bodies.empty()) {
        return;
    }
    bodySamples = take_.bodyTracks == nullptr ? 0 : take_.bodyTracks->timeLength();
    if (take_.bodiesPerFrame <= 0 || bodySamples % take_.bodiesPerFrame != 0) {
        refuseC3d("its rigid bodies do not come in whole frames");
    }
}

} // namespace tarn::kit
