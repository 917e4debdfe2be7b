// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "live/LiveView.h"
#include "markers/MarkerFrames.h"
#include "recording/Recording.h"
#include "session/StreamWatch.h"
#include "session/TakeComparison.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Interrupt.h"
#include "support/ProgressBar.h"
#include "takes/TakeRate.h"

#include <fmt/format.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/RecorderNode.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

struct StreamOptions {
    std::string take;
    double speed = 1; ///< how much faster than the take; 0 for as fast as it goes
    std::optional<FrameChoice> frames;
    SpaceChoice space;
    std::optional<kit::Rate> rate;     ///< of what is sent; that of the take if not given
    std::optional<std::string> record; ///< a take file
    LiveChoice view;
};

void printJitter(const StreamWatch::Instants& arrivals, double framesPerSecond) {
    if (arrivals.empty() || framesPerSecond <= 0) {
        fmt::print("  jitter    none: frames were not paced\n");
        return;
    }
    const Jitter jitter = jitterOf(arrivals, framesPerSecond);
    fmt::print("  jitter    median {:.3f} ms, 99 % within {:.3f} ms, largest {:.3f} ms\n",
               jitter.median, jitter.nearly, jitter.largest);
}

/// What both kinds of takes are streamed with.
struct Source {
    std::shared_ptr<Tracks> take;
    double rate;
    FrameRange range;
    int port;
    int dataType;
    std::uint64_t bytes; ///< that a recording takes
    std::function<void(Recording& recording, Recording::Port& port)> record;
    std::function<void(LiveView& view, Recording::Port& port)> show;
};

view::LiveMarkers liveMarkersOf(const kit::C3dTake& take) {
    constexpr double metresPerMillimetre = 0.001; // as laboratories measure, if nobody says
    view::LiveMarkers markers;
    markers.name = take.tracks->tracksName();
    markers.metresPerUnit = take.metresPerUnit > 0 ? take.metresPerUnit : metresPerMillimetre;
    markers.up = upAxisOf(take);
    for (const kit::C3dMarker& marker : take.markers) {
        markers.names.push_back(marker.label());
    }
    return markers;
}

Source openMarkers(kit::ReplayDevice& device, TakeFile& file, const StreamOptions& options) {
    const auto read = [&] {
        kit::C3dTake take = withSpace(file.readMarkers(), options.space);
        const FrameRange range = chosenFrames(options.frames, take);
        return options.rate ? atRate(std::move(take), range, *options.rate) : take;
    };
    const kit::C3dTake take = read();
    device.open(read());
    const FrameRange range =
        options.rate ? allFrames(take.frameCount) : chosenFrames(options.frames, take);
    std::uint64_t bytes = recordedBytes(*take.tracks, kit::markerDataType, range);
    if (take.analogTracks != nullptr) {
        bytes += recordedBytes(
            *take.analogTracks, kit::analogDataType,
            {range.first * take.samplesPerFrame, (range.last + 1) * take.samplesPerFrame - 1});
    }
    return {take.tracks,
            take.rate,
            range,
            kit::ReplayDevice::markerPort,
            kit::markerDataType,
            bytes,
            [take, range](Recording& recording, Recording::Port& port) {
                recording.addMarkers(port, take, take.tracks->tracksName(), range.first,
                                     range.last);
            },
            [markers = liveMarkersOf(take)](LiveView& view, Recording::Port& port) {
                view.addMarkers(port, markers);
            }};
}

/// The take, read on its own, and the device with another reading of it, with which the recording
/// is then compared.
Source open(kit::ReplayDevice& device, TakeFile& file, const StreamOptions& options) {
    if (file.holdsMarkers()) {
        return openMarkers(device, file, options);
    }
    const auto read = [&] {
        kit::BvhTake take = withSpace(file.read(), options.space);
        const FrameRange range = chosenFrames(options.frames, take.tracks->timeLength());
        return options.rate ? atRate(std::move(take), range, *options.rate) : take;
    };
    const kit::BvhTake take = read();
    device.open(read());
    const int length = take.tracks->timeLength();
    const FrameRange range =
        options.rate ? allFrames(length) : chosenFrames(options.frames, length);
    return {take.tracks,
            take.exactRate().value(),
            range,
            kit::ReplayDevice::posePort,
            kit::poseDataType,
            recordedBytes(*take.tracks, kit::poseDataType, range),
            [take, range](Recording& recording, Recording::Port& port) {
                recording.add(port, kit::poseDataType,
                              store::TrackDescription::of(take, take.tracks->tracksName()),
                              range.first, range.last);
            },
            [take](LiveView& view, Recording::Port& port) {
                view.addPoses(port, take.tracks->tracksName(), take.rig);
            }};
}

/// Throws unless some frames of what was recorded are those of the take.
void compare(Tracks& recording, const Source& source, FrameRange range) {
    const auto frame = source.port == kit::ReplayDevice::markerPort
                           ? firstMarkerDifference(recording, *source.take, range)
                           : firstDifference(recording, *source.take, range);
    if (frame) {
        throw std::runtime_error(
            fmt::format("the recording differs from the take at frame {}", *frame));
    }
}

/// From a replay device to a recorder; what was recorded has to be the take.
int stream(const StreamOptions& options) {
    TakeFile file(options.take);
    const auto clock = std::make_shared<kit::SteadyClock>();
    kit::ReplayDevice device("stream", clock);
    const Source source = open(device, file, options);
    const int count = countOf(source.range);

    kit::RecorderNode recorder(source.dataType, count);
    recorder.tieToIFramePort(kit::RecorderNode::framePort, device.oFramePort(source.port));
    const Interrupt interrupt; // a recording that is interrupted is ended, not broken off
    std::optional<Recording> recording;
    if (options.record) {
        recording.emplace(*options.record, source.bytes);
        source.record(*recording, device.oFramePort(source.port));
        recording->start();
    }
    device.setSpeed(options.speed);
    if (count > 0) {
        device.seek(source.range.first);
    }
    std::optional<LiveView> view;
    if (options.view.port) {
        view.emplace(options.view, takeNameOf(options.take), kit::Rate::nearest(source.rate));
        source.show(*view, device.oFramePort(source.port));
        fmt::print("watch at {}\n", view->start());
        std::fflush(stdout); // before the take has streamed
    }
    StreamWatch::Instants arrivals;
    bool isWhole = true; // nobody interrupted it
    if (count > 0) {
        ProgressBar bar(stderr, count);
        StreamWatch watch(
            device, clock, count, [&bar] { bar.advance(); }, source.port);
        device.start();
        isWhole = watch.waitForEnd([&interrupt] { return interrupt.isRequested(); });
        device.stop(); // the device has left its slots when it answers
        arrivals = watch.arrivals();
    }

    const int sent = isWhole ? count : static_cast<int>(arrivals.size());
    const std::string unrecorded = recording ? recording->end() : std::string();
    const auto streamed = static_cast<std::size_t>(recorder.frameCount());
    fmt::print("{}\n", kit::printable(options.take));
    fmt::print("  streamed  {} of {}\n", kit::counted(streamed, "frame"),
               source.take->timeLength());
    fmt::print("  lost      {}\n",
               static_cast<std::int64_t>(sent) - recorder.frameCount() + recorder.lostFrames());
    fmt::print("  duration  {:.3f} s\n", durationOf(arrivals));
    printJitter(arrivals, source.rate * options.speed);
    if (recording) {
        fmt::print("  file      {}\n", recording->summary());
    }
    const FrameRange came{source.range.first, source.range.first + sent - 1};
    compare(*recorder.take(0, came.last + 1), source, came);
    fmt::print("  recording identical to the take\n");
    if (!unrecorded.empty()) {
        reportError(unrecorded);
        return exitFailure;
    }
    if (!isWhole) {
        reportError("interrupted before the end of the take");
        return interrupt.exitCode();
    }
    return exitSuccess;
}

} // namespace

void addStream(CommandLine& line) {
    auto [command, options] = line.add("stream",
                                       "Stream a take from a replay device to a recorder, and "
                                       "compare the recording with the take",
                                       stream);
    addTake(command, options.take);
    addFrames(command, options.frames);
    addSpace(command, options.space);
    addRate(command, options.rate,
            "Frames sent per second, at most 1000; if not given, the rate of the take. The take "
            "keeps its speed: a lower rate skips frames, a higher one repeats them");
    addSpeed(command, options.speed);
    addRecord(command, options.record);
    addLiveView(command, options.view);
}

} // namespace tarn::capture
