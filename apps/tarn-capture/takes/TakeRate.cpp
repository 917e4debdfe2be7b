// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/TakeRate.h"

#include "markers/MarkerFrames.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/session/TakeOf.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

std::shared_ptr<Tracks> shownAt(Tracks& take, int dataType, FrameRange range, const kit::Rate& own,
                                const kit::Rate& rate) {
    std::vector<std::shared_ptr<Frame>> frames;
    const kit::Instant end = own.at(countOf(range));
    for (std::int64_t step = 0; rate.at(step) < end; ++step) {
        const int index = range.first + static_cast<int>(own.frameAt(rate.at(step)));
        auto frame = std::make_shared<Frame>(*take.getFrame(index, dataType));
        frame->setTime(rate.time(step));
        frames.push_back(std::move(frame));
    }
    auto shown = kit::takeOf(dataType, std::move(frames), rate.fps());
    shown->setTracksName(take.tracksName());
    return shown;
}

} // namespace

kit::BvhTake atRate(kit::BvhTake take, FrameRange range, const kit::Rate& rate) {
    take.tracks = shownAt(*take.tracks, kit::poseDataType, range, take.exactRate(), rate);
    take.frameTime = rate.frameTime();
    return take;
}

kit::C3dTake atRate(kit::C3dTake take, FrameRange range, const kit::Rate& rate) {
    const double before = static_cast<double>(take.firstFrame - 1 + range.first) / take.rate;
    for (kit::C3dEvent& event : take.events) {
        event.time -= before;
    }
    take.tracks = shownAt(*take.tracks, kit::markerDataType, range, exactRateOf(take), rate);
    take.frameCount = take.tracks->timeLength();
    take.rate = rate.value();
    take.firstFrame = 1;
    take.channels.clear();
    take.analogTracks = nullptr;
    take.samplesPerFrame = 0;
    take.bodies.clear();
    take.bodyTracks = nullptr;
    take.bodiesPerFrame = 0;
    take.source = nullptr;
    return take;
}

} // namespace tarn::capture
