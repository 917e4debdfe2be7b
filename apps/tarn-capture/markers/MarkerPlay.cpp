// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerPlay.h"

#include "markers/MarkerFrames.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_draw/markers/MarkerSheet.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Playback.h>
#include <tarn_kit/session/TakeOf.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

std::shared_ptr<Tracks> framesOf(const kit::C3dTake& take, FrameRange range) {
    std::vector<std::shared_ptr<Frame>> frames;
    for (int frame = range.first; frame <= range.last; ++frame) {
        frames.push_back(take.tracks->getFrame(frame, kit::markerDataType));
    }
    return kit::takeOf(kit::markerDataType, std::move(frames), take.tracks->fps());
}

/// Plays a take with a progress bar; what it shows is told to those who listen.
void playWithProgress(Tracks& take, kit::Playback& playback, double speed) {
    ProgressBar bar(stderr, playback.stepCount());
    const tsignal::ScopedConnection connection(
        take.onCurrentTimeChanged().connect([&bar](int) { bar.advance(); }));
    playback.runAtSpeed(speed);
}

std::vector<std::string> notesOf(const kit::C3dInfo& take) {
    std::vector<std::string> notes;
    if (!statedUpAxis(take)) {
        notes.emplace_back("Guessed: Z is up");
    }
    if (!take.report.empty()) {
        notes.push_back(fmt::format("The file contradicts itself in {}: see 'info'",
                                    kit::counted(take.report.size(), "place")));
    }
    return notes;
}

draw::MarkerCloud cloudOf(const kit::C3dTake& take, FrameRange range,
                          std::shared_ptr<Tracks> tracks) {
    draw::MarkerCloud cloud;
    cloud.title = take.tracks->tracksName();
    for (const kit::C3dMarker& marker : take.markers) {
        cloud.markers.push_back({marker.name, marker.subject});
    }
    cloud.take = std::move(tracks);
    cloud.rate = take.rate;
    cloud.firstFrame = take.firstFrame + range.first;
    const auto known = kit::lengthUnitNamed(take.unit);
    cloud.unit.symbol = take.unit.empty() ? "unit" : kit::printable(take.unit);
    cloud.unit = known.value_or(cloud.unit);
    cloud.up = upAxisOf(take);
    return cloud;
}

} // namespace

void playMarkers(const kit::C3dTake& take, const MarkerPlay& options) {
    const FrameRange range = chosenFrames(options.frames, take);
    const kit::Rate exact = exactRateOf(take);
    const kit::Rate rate = options.rate.value_or(exact);
    const std::shared_ptr<Tracks> tracks = framesOf(take, range);
    kit::Playback playback(*tracks, exact, rate);
    playWithProgress(*tracks, playback, options.speed);

    const draw::Picture sheet = draw::markerSheet(cloudOf(take, range, tracks), notesOf(take));
    const draw::ScopedFonts fonts;
    OutputFile png(options.png);
    OutputFile svg(options.svg);
    png.write(draw::renderPng(sheet));
    svg.write(draw::renderSvg(sheet));
    png.commit();
    svg.commit();
    fmt::print("{} shown, {:.3f} s at {:.6g} per second: {}, {}\n",
               kit::counted(static_cast<std::size_t>(playback.stepCount()), "frame"),
               secondsAt(take, countOf(range)), rate.value(), kit::printable(options.png),
               kit::printable(options.svg));
}

} // namespace tarn::capture
