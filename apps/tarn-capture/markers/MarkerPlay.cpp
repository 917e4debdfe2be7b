// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerPlay.h"

#include "markers/MarkerFrames.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_draw/markers/MarkerSheet.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Playback.h>
#include <tarn_kit/session/TakeOf.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

using Frames = std::vector<std::shared_ptr<Frame>>;

std::shared_ptr<Tracks> framesOf(const kit::C3dTake& take, FrameRange range) {
    Frames frames;
    for (int frame = range.first; frame <= range.last; ++frame) {
        frames.push_back(take.tracks->getFrame(frame, kit::markerDataType));
    }
    return kit::takeOf(kit::markerDataType, std::move(frames), take.tracks->fps());
}

/// Plays a take with a progress bar and returns what it showed, each frame in its place.
std::shared_ptr<Tracks> played(Tracks& take, kit::Playback& playback, double speed) {
    Frames shown(static_cast<std::size_t>(take.timeLength()));
    ProgressBar bar(stderr, playback.stepCount());
    const tsignal::ScopedConnection connection(take.onCurrentTimeChanged().connect([&](int frame) {
        shown[static_cast<std::size_t>(frame)] = take.getFrame(frame, kit::markerDataType);
        bar.advance();
    }));
    playback.runAtSpeed(speed);
    return kit::takeOf(kit::markerDataType, std::move(shown), take.fps());
}

/// The axis that the file wants to point up on the screen; else the one that laboratories use.
draw::UpAxis upAxisOf(const kit::C3dInfo& take) {
    const kit::C3dParameter* const screen = take.parameters.find("POINT", "Y_SCREEN");
    const bool isY = screen != nullptr && screen->text().find('Y') != std::string::npos;
    return isY ? draw::UpAxis::Y : draw::UpAxis::Z;
}

std::vector<std::string> notesOf(const kit::C3dInfo& take) {
    std::vector<std::string> notes;
    if (take.parameters.find("POINT", "Y_SCREEN") == nullptr) {
        notes.emplace_back("Guessed: Z is up");
    }
    if (!take.report.empty()) {
        notes.push_back(fmt::format("The file contradicts itself in {}: see 'info'",
                                    kit::counted(take.report.size(), "place")));
    }
    return notes;
}

draw::MarkerCloud cloudOf(const kit::C3dTake& take, FrameRange range,
                          std::shared_ptr<Tracks> shown) {
    draw::MarkerCloud cloud;
    cloud.title = take.tracks->tracksName();
    for (const kit::C3dMarker& marker : take.markers) {
        cloud.markers.push_back({marker.name, marker.subject});
    }
    cloud.take = std::move(shown);
    cloud.rate = take.rate;
    cloud.firstFrame = take.firstFrame + range.first;
    cloud.unit.symbol = take.unit.empty() ? "unit" : kit::printable(take.unit);
    cloud.unit.name = take.unit.empty() ? "" : cloud.unit.symbol;
    cloud.up = upAxisOf(take);
    return cloud;
}

} // namespace

void playMarkers(const kit::C3dTake& take, const MarkerPlay& options) {
    const FrameRange range = chosenFrames(options.frames, take);
    const double rate = options.rate ? options.rate->value() : take.rate;
    const std::shared_ptr<Tracks> tracks = framesOf(take, range);
    kit::Playback playback(*tracks, rate);
    const std::shared_ptr<Tracks> shown = played(*tracks, playback, options.speed);

    const draw::Picture sheet = draw::markerSheet(cloudOf(take, range, shown), notesOf(take));
    const draw::ScopedFonts fonts;
    OutputFile png(options.png);
    OutputFile svg(options.svg);
    png.write(draw::renderPng(sheet));
    svg.write(draw::renderSvg(sheet));
    png.commit();
    svg.commit();
    fmt::print("{} shown, {:.3f} s at {:.6g} per second: {}, {}\n",
               kit::counted(static_cast<std::size_t>(playback.stepCount()), "frame"),
               secondsAt(take, countOf(range)), rate, kit::printable(options.png),
               kit::printable(options.svg));
}

} // namespace tarn::capture
