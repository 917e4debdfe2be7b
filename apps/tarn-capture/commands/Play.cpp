// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "markers/MarkerFrames.h"
#include "markers/MarkerPlay.h"
#include "session/EachTake.h"
#include "session/ShownFrames.h"
#include "session/Take.h"
#include "session/TakeFile.h"
#include "support/Flags.h"
#include "support/OutputPath.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/PoseSheet.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Playback.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

struct PlayOptions {
    std::vector<std::string> takes;
    std::string out; ///< the directory for the pictures
    std::optional<FrameChoice> frames;
    SpaceChoice space;
    kit::C3dOptions markers;
    std::optional<kit::Rate> rate; ///< the take's if not given
    double speed = 0;              ///< how much faster than the take; 0 for as fast as it goes
};

/// Plays the take with a progress bar; what it shows is told to those who listen.
void playWithProgress(Tracks& tracks, kit::Playback& playback, double speed) {
    ProgressBar bar(stderr, playback.stepCount());
    const tsignal::ScopedConnection connection(
        tracks.onCurrentTimeChanged().connect([&bar](int) { bar.advance(); }));
    playback.runAtSpeed(speed);
}

/// Some frames of a take as one that begins with the first of them.
std::unique_ptr<Tracks> framesOf(const Take& take, FrameRange range) {
    auto tracks = std::make_unique<Tracks>();
    tracks->setFps(take.rate());
    tracks->setTimeLength(countOf(range));
    for (int frame = range.first; frame <= range.last; ++frame) {
        tracks->setFrame(frame - range.first, kit::poseDataType,
                         take.tracks().getFrame(frame, kit::poseDataType));
    }
    return tracks;
}

/// What was shown of a take, each frame in its place.
draw::Subject shownOf(const Take& take, const ShownFrames& frames) {
    auto shown = std::make_shared<Tracks>();
    shown->setFps(take.rate());
    shown->setTimeLength(take.frameCount());
    for (const ShownFrame& at : frames.all()) {
        shown->setFrame(at.frame, kit::poseDataType,
                        take.tracks().getFrame(at.frame, kit::poseDataType));
    }
    return {take.name(), take.sharedRig(), shown, take.unit(), take.space().up, take.exactRate()};
}

std::vector<std::string> notesOf(const Take& take) {
    std::vector<std::string> notes;
    for (const std::string& guess : take.guesses()) {
        notes.push_back("Guessed: " + guess);
    }
    return notes;
}

/// The two files of one picture.
struct PictureFiles {
    std::string png;
    std::string svg;
};

/// "poses" of one take; of several, each with the name of its take before that.
std::vector<PictureFiles> picturesOf(const PlayOptions& options) {
    std::vector<PictureFiles> pictures;
    for (const std::string& name : uniqueTakeNames(options.takes)) {
        const std::string stem = options.takes.size() == 1 ? "poses" : name + ".poses";
        const fs::path directory = options.out;
        pictures.push_back({directory / (stem + ".png"), directory / (stem + ".svg")});
    }
    return pictures;
}

void draw(const Take& take, const ShownFrames& shown, const PictureFiles& files) {
    const draw::Picture sheet = draw::poseSheet({shownOf(take, shown)}, notesOf(take));
    const draw::ScopedFonts fonts;
    OutputFile png(files.png);
    OutputFile svg(files.svg);
    png.write(draw::renderPng(sheet));
    svg.write(draw::renderSvg(sheet));
    png.commit();
    svg.commit();
}

/// Draws what was shown.
void playTake(const std::string& name, const PictureFiles& files, const PlayOptions& options) {
    TakeFile source(name, options.markers);
    if (source.holdsMarkers()) {
        const kit::C3dTake markers = withSpace(source.readMarkers(), options.space);
        makeDirectory(options.out);
        playMarkers(markers, {options.frames, options.rate, options.speed, files.png, files.svg});
        return;
    }
    const Take take(withSpace(source.read(), options.space));
    const FrameRange range = chosenFrames(options.frames, take.frameCount());
    makeDirectory(options.out);

    const kit::Rate rate = options.rate.value_or(take.exactRate());
    const auto played = framesOf(take, range);
    const ShownFrames shown(*played, range.first);
    kit::Playback playback(*played, take.exactRate(), rate);
    playWithProgress(*played, playback, options.speed);

    draw(take, shown, files);
    const auto steps = static_cast<std::size_t>(playback.stepCount());
    fmt::print("{} shown, {:.3f} s at {:.6g} per second: {}, {}\n", kit::counted(steps, "frame"),
               take.secondsAt(range.last + 1) - take.secondsAt(range.first), rate.value(),
               kit::printable(files.png), kit::printable(files.svg));
}

int play(const PlayOptions& options) {
    checkInputs(options.takes);
    refuseStandardOutput(options.out, "--out");
    const auto pictures = picturesOf(options);
    for (const PictureFiles& files : pictures) {
        refuseToOverwrite(options.takes, {files.png, files.svg}, "--out");
    }
    return forEachTake(options.takes,
                       [&](std::size_t i) { playTake(options.takes[i], pictures[i], options); });
}

} // namespace

void addPlay(CommandLine& line) {
    auto [command, options] = line.add("play",
                                       "Play takes and draw a contact sheet of each: poses.png "
                                       "and poses.svg; of several takes, NAME.poses.png and so on",
                                       play);
    addTakes(command, options.takes);
    addOut(command, options.out, "DIR", "Directory for the pictures, created if it is not there");
    addFrames(command, options.frames);
    addSpace(command, options.space);
    addOrigin(command, options.markers);
    addRate(command, options.rate,
            "Frames shown per second, at most 1000; if not given, the rate of the take. The take "
            "keeps its speed: a lower rate skips frames, a higher one repeats them");
    addSpeed(command, options.speed);
}

} // namespace tarn::capture
