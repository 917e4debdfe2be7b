// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerFrames.h"

#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

/// What is done to every position.
struct Change {
    double factor = 1;
    std::size_t shift = 0; ///< how many axes on each coordinate goes
    bool isNone() const { return factor == 1 && shift == 0; }
};

Change changeOf(const kit::C3dInfo& take, const SpaceChoice& choice) {
    Change change;
    change.factor = choice.scale * factorTo(choice.unit, take);
    if (choice.up) {
        const auto from = static_cast<std::size_t>(upAxisOf(take));
        change.shift = (static_cast<std::size_t>(*choice.up) + 3 - from) % 3;
    }
    return change;
}

kit::Marker changed(kit::Marker marker, const Change& change) {
    const std::array<float, 3> from = {marker.position.x, marker.position.y, marker.position.z};
    std::array<float, 3> to{};
    for (std::size_t i = 0; i < 3; ++i) {
        to.at((i + change.shift) % 3) =
            static_cast<float>(static_cast<double>(from.at(i)) * change.factor);
    }
    marker.position = {to[0], to[1], to[2]};
    marker.residual = static_cast<float>(static_cast<double>(marker.residual) * change.factor);
    return marker;
}

kit::MarkerFrame changed(const kit::MarkerFrame& markers, const Change& change) {
    std::vector<kit::Marker> all;
    all.reserve(markers.size());
    for (const kit::Marker& marker : markers) {
        all.push_back(changed(marker, change));
    }
    kit::MarkerFrame result(std::move(all));
    return result;
}

std::shared_ptr<Tracks> changed(const kit::C3dTake& take, const Change& change) {
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(take.frameCount));
    for (int i = 0; i < take.frameCount; ++i) {
        frames.push_back(
            std::make_shared<Frame>(take.tracks->getFrame(i, kit::markerDataType)->time(),
                                    kit::markerDataType, changed(markersAt(take, i), change)));
    }
    auto tracks = kit::takeOf(kit::markerDataType, std::move(frames), take.tracks->fps());
    tracks->setTracksName(take.tracks->tracksName());
    return tracks;
}

/// The frames of a take from one to before another one; of no take, none.
std::shared_ptr<Tracks> part(const std::shared_ptr<Tracks>& take, int dataType, int first,
                             int end) {
    if (take == nullptr) {
        return nullptr;
    }
    std::vector<std::shared_ptr<Frame>> frames;
    for (int i = first; i < std::min(end, take->timeLength()); ++i) {
        frames.push_back(take->getFrame(i, dataType));
    }
    auto result = kit::takeOf(dataType, std::move(frames), take->fps());
    result->setTracksName(take->tracksName());
    return result;
}

} // namespace

kit::C3dTake cut(kit::C3dTake take, FrameRange range) {
    const int end = range.last + 1;
    const auto cutOut = [&](std::shared_ptr<Tracks>& tracks, int dataType, int perFrame) {
        tracks = part(tracks, dataType, range.first * perFrame, end * perFrame);
    };
    cutOut(take.tracks, kit::markerDataType, 1);
    cutOut(take.analogTracks, kit::analogDataType, take.samplesPerFrame);
    cutOut(take.bodyTracks, kit::rigidBodyDataType, take.bodiesPerFrame);
    take.firstFrame += range.first;
    take.frameCount = countOf(range);
    return take;
}

FrameRange chosenFrames(const std::optional<FrameChoice>& choice, const kit::C3dInfo& take) {
    return chosenFrames(choice, take.frameCount, take.firstFrame);
}

const kit::MarkerFrame& markersAt(const kit::C3dTake& take, int frame) {
    // The take keeps the frame alive.
    return take.tracks->getFrame(frame, kit::markerDataType)->dataAs<kit::MarkerFrame>();
}

double factorTo(const std::optional<kit::LengthUnit>& unit, const kit::C3dInfo& take) {
    return unit && take.metresPerUnit > 0 ? take.metresPerUnit / unit->metres : 1;
}

std::optional<kit::UpAxis> statedUpAxis(const kit::C3dInfo& take) {
    const kit::C3dParameter* const screen = take.parameters.find("POINT", "Y_SCREEN");
    const std::string text = screen == nullptr ? std::string() : screen->text();
    return text.empty() ? std::nullopt : kit::parseUpAxis(text.substr(text.size() - 1));
}

kit::UpAxis upAxisOf(const kit::C3dInfo& take) {
    return statedUpAxis(take).value_or(kit::UpAxis::Z);
}

kit::C3dTake withSpace(kit::C3dTake take, const SpaceChoice& choice) {
    const Change change = changeOf(take, choice);
    if (!change.isNone()) {
        take.tracks = changed(take, change);
        take.source = nullptr;
    }
    if (choice.unit) {
        take.unit = choice.unit->symbol;
        take.metresPerUnit = choice.unit->metres;
    }
    if (choice.up) {
        take.parameters.set("POINT",
                            kit::C3dParameter::text("Y_SCREEN", "+" + kit::axisName(*choice.up)));
    }
    return take;
}

MarkerChange changeTo(const SpaceChoice& choice, const kit::C3dInfo& take) {
    return [change = changeOf(take, choice)](const kit::MarkerFrame& markers) {
        return change.isNone() ? markers : changed(markers, change);
    };
}

kit::Rate exactRateOf(const kit::C3dInfo& take) {
    return take.rate > 0 ? kit::Rate::nearest(std::clamp(take.rate, 1e-6, 1e6)) : kit::Rate();
}

double secondsAt(const kit::C3dInfo& take, int frame) {
    return static_cast<double>(frame) / take.rate;
}

} // namespace tarn::capture
